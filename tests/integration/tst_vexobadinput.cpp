#include "hostprocess.h"
#include "rawclient.h"

#include <QtTest>

/// What senseless and hostile clients get from the service with the context plug-in, and that nothing is
/// lost.
class VexoBadInputTest : public QObject
{
    Q_OBJECT

    HostProcess host{{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)}};

    static QByteArray request(const QByteArray &line, const QByteArray &body = {})
    {
        return line + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + QByteArray::number(body.size())
               + "\r\n\r\n" + body;
    }
    [[nodiscard]] QByteArray ask(const QByteArray &bytes) const
    {
        RawClient client(host.port());
        client.send(bytes);
        return client.readAnswer();
    }
    [[nodiscard]] bool isKept() const
    {
        return ask(request("GET /context/kept")).endsWith("\r\n\r\n{\n    \"a\": 1\n}\n");
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(ask(request("PUT /context/kept", R"({"a":1})")).startsWith("HTTP/1.1 201 "));
        QVERIFY(isKept());
    }

    // A creation tells what is wrong with its body. An update takes such a body for an empty document,
    // deliberately, and leaves what is stored.
    void bodiesThatAreNoJson_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("reason");
        QTest::newRow("empty") << QByteArray() << QByteArray("illegal value");
        QTest::newRow("malformed") << QByteArray(R"({"a":)") << QByteArray("unterminated object");
        QTest::newRow("a bare number") << QByteArray("5") << QByteArray("illegal value");
        QTest::newRow("text behind it")
            << QByteArray(R"({"a":2}x)") << QByteArray("garbage at the end of the document");
        QTest::newRow("nested arrays") << QByteArray(100000, '[') << QByteArray("too deeply nested document");
        QTest::newRow("nested objects")
            << QByteArray(R"({"a":)").repeated(100000) << QByteArray("too deeply nested document");
        QTest::newRow("invalid UTF-8") << QByteArray("{\"a\":\"\xff\"}") << QByteArray("invalid UTF8 string");
        QTest::newRow("surrogate in UTF-8")
            << QByteArray("{\"a\":\"\xed\xa0\x80\"}") << QByteArray("invalid UTF8 string");
        QTest::newRow("exponent too large") << QByteArray(R"({"a":1e400})") << QByteArray("illegal number");
        QTest::newRow("number too long")
            << "{\"a\":" + QByteArray(400, '9') + '}' << QByteArray("illegal number");
    }
    void bodiesThatAreNoJson()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, reason);
        const QByteArray created = ask(request("POST /context", body));
        QVERIFY2(created.startsWith("HTTP/1.1 400 "), created.constData());
        QVERIFY2(created.endsWith("\r\n\r\n" + reason), created.constData());
        QVERIFY(ask(request("PUT /context/kept", body)).startsWith("HTTP/1.1 200 "));
        QVERIFY(isKept());
    }

    void oddJsonIsStored_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("stored");
        QTest::newRow("duplicate key") << QByteArray(R"({"b":1,"b":2})") << QByteArray(R"("b": 2)");
        QTest::newRow("NUL") << QByteArray("{\"b\":\"x\0y\"}", 11) << QByteArray(R"("b": "x\u0000y")");
        QTest::newRow("escaped NUL") << QByteArray(R"({"b":"x\u0000y"})") << QByteArray(R"("b": "x\u0000y")");
        QTest::newRow("lone surrogate") << QByteArray(R"({"b":"\ud800"})") << QByteArray(R"("b": "\ud800")");
        QTest::newRow("large number") << QByteArray(R"({"b":1e300})") << QByteArray(R"("b": 1e+300)");
        QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf{\"b\":3}") << QByteArray(R"("b": 3)");
    }
    void oddJsonIsStored()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, stored);
        QVERIFY(ask(request("PUT /context/odd", body)).startsWith("HTTP/1.1 201 "));
        const QByteArray read = ask(request("GET /context/odd"));
        QVERIFY2(read.contains(stored), read.constData());
        QVERIFY(ask(request("DELETE /context/odd")).startsWith("HTTP/1.1 204 "));
        QVERIFY(isKept());
    }

    void targets_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<int>("status");
        QTest::newRow("all percent-encoded") << QByteArray("/%63%6f%6e%74%65%78%74/%6b%65%70%74") << 200;
        QTest::newRow("absolute") << QByteArray("http://elsewhere/context/kept") << 200;
        QTest::newRow("NUL") << QByteArray("/context/kept\0", 14) << 400;
        QTest::newRow("UTF-8") << QByteArray("/context/\xc3\xa9") << 400;
        QTest::newRow("percent-encoded NUL") << QByteArray("/context/kept%00") << 404;
        QTest::newRow("percent-encoded slash") << QByteArray("/context%2Fkept") << 404;
        QTest::newRow("percent-encoded invalid UTF-8") << QByteArray("/context/%ff") << 404;
        QTest::newRow("percent-encoded line end") << QByteArray("/context/kept%0d%0aX:%20y") << 404;
        QTest::newRow("percent sign alone") << QByteArray("/context/%") << 404;
        QTest::newRow("dot segments") << QByteArray("/context/../context/kept") << 404;
        QTest::newRow("looks like an authority") << QByteArray("//context/kept") << 404;
        QTest::newRow("long id") << "/context/" + QByteArray(16000, 'a') << 404;
        QTest::newRow("too long") << "/context/" + QByteArray(16384, 'a') << 414;
    }
    void targets()
    {
        QFETCH(QByteArray, target);
        QFETCH(int, status);
        const QByteArray answer = ask("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        QVERIFY2(answer.startsWith("HTTP/1.1 " + QByteArray::number(status) + ' '), answer.constData());
        QVERIFY(isKept());
    }

    void clientsThatResetWhileTheyAreAnswered()
    {
        const QByteArray body = "{\"text\":\"" + QByteArray(8 << 20, 'x') + "\"}";
        QVERIFY(ask(request("PUT /context/large", body)).startsWith("HTTP/1.1 201 "));
        for (int i = 0; i < 20; ++i) {
            RawClient client(host.port());
            client.send(request("GET /context/large"));
            QVERIFY(client.isReadable(30000));
            client.reset();
        }
        QVERIFY(ask(request("DELETE /context/large")).startsWith("HTTP/1.1 204 "));
        QVERIFY(isKept());
    }
};

QTEST_GUILESS_MAIN(VexoBadInputTest)
#include "tst_vexobadinput.moc"
