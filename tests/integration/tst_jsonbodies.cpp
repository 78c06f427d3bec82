#include "hostprocess.h"
#include "jsondocuments.h"
#include "rawclient.h"

#include <QJsonDocument>
#include <QtTest>

#include <optional>

Q_DECLARE_METATYPE(JsonDocument)

/// JSON that is deep or large, sent to the service with the context plug-in: it is judged as a small document
/// would be, and everybody else is served.
class JsonBodiesTest : public QObject
{
    Q_OBJECT

    static constexpr int largestBody = 67108864;

    HostProcess host{{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)}};
    std::optional<RawClient> other;
    std::optional<RawClient> poll;

    static QByteArray head(const QByteArray &line, int size)
    {
        return line + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + QByteArray::number(size)
               + "\r\n\r\n";
    }
    static QByteArray request(const QByteArray &line, const QByteArray &body = {})
    {
        return head(line, body.size()) + body;
    }
    static QByteArray bodyOf(const QByteArray &answer) { return answer.mid(answer.indexOf("\r\n\r\n") + 4); }
    /// `front`, as many `filling` as go in and `end`, padded with blanks to the largest body.
    static QByteArray filled(const QByteArray &front, const QByteArray &filling, const QByteArray &end)
    {
        const int count = (largestBody - front.size() - end.size()) / filling.size();
        return (front + filling.repeated(count) + end).leftJustified(largestBody);
    }
    [[nodiscard]] QByteArray ask(const QByteArray &bytes) const
    {
        RawClient client(host.port());
        client.send(bytes);
        return client.readAnswer();
    }
    /// Whether a client that has been there all along is served.
    [[nodiscard]] bool isOtherServed()
    {
        other->send(request("GET /context/kept"));
        return bodyOf(other->readAnswer()) == "{\n    \"a\": 1\n}\n";
    }
    /// Takes back what a POST has created, so that the next one need not wait for an id of its own.
    [[nodiscard]] bool isRemoved(const QByteArray &created) const
    {
        const QByteArray id = created.mid(created.indexOf("\"_id\": \"") + 8, 16);
        return ask(request("DELETE /context/" + id)).startsWith("HTTP/1.1 204 ");
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(ask(request("PUT /context/kept", R"({"a":1})")).startsWith("HTTP/1.1 201 "));
        other.emplace(host.port());
        QVERIFY(isOtherServed());
        // The first poll is answered at once, the second waits for a change.
        poll.emplace(host.port());
        poll->send(request("GET /context/kept/event"));
        QVERIFY(!poll->readAnswer().isEmpty());
        poll->send(request("GET /context/kept/event"));
        QVERIFY(poll->awaitReceipt());
    }

    void generatedDocuments_data()
    {
        QTest::addColumn<JsonDocument>("document");
        for (const JsonDocument &document : jsonDocuments(QDir(QStringLiteral(JSON_DOCUMENTS)))) {
            if (document.name.contains("_depth_") || document.name.contains("_long_"))
                QTest::newRow(document.name.constData()) << document;
        }
    }
    void generatedDocuments()
    {
        QFETCH(JsonDocument, document);
        const QByteArray created = ask(request("POST /context", document.bytes));
        const QByteArray put = ask(request("PUT /context/sent", document.bytes));
        QVERIFY2(put.startsWith("HTTP/1.1 201 "), put.left(200).constData());
        QCOMPARE(bodyOf(ask(request("GET /context/sent"))), bodyOf(put));
        if (document.isTaken()) {
            QVERIFY2(created.startsWith("HTTP/1.1 200 "), created.left(200).constData());
            QCOMPARE(QJsonDocument::fromJson(bodyOf(put)).toJson(QJsonDocument::Compact), document.stored);
            QVERIFY(isRemoved(created));
        } else {
            QVERIFY2(created.startsWith("HTTP/1.1 400 "), created.left(200).constData());
            QCOMPARE(bodyOf(created), document.verdict);
            QCOMPARE(bodyOf(put), QByteArray("{\n}\n"));
        }
        QVERIFY(ask(request("DELETE /context/sent")).startsWith("HTTP/1.1 204 "));
        QVERIFY(isOtherServed());
    }

    // Each value stands on a line of its own behind four blanks a level.
    void deepAndWide()
    {
        const int depth = 1020;
        const int count = 5000;
        const QByteArray document = "{\"a\":" + QByteArray(depth, '[') + '0'
                                    + QByteArray(",0").repeated(count - 1) + QByteArray(depth, ']') + '}';
        const QByteArray put = ask(request("PUT /context/wide", document));
        QVERIFY2(put.startsWith("HTTP/1.1 201 "), put.left(200).constData());
        QVERIFY(bodyOf(put).size() > count * 4 * depth);
        QCOMPARE(QJsonDocument::fromJson(bodyOf(put)).toJson(QJsonDocument::Compact), document);
        QVERIFY(ask(request("DELETE /context/wide")).startsWith("HTTP/1.1 204 "));
        QVERIFY(isOtherServed());
    }

    void largestBodyIsKeptWhole()
    {
        const QByteArray text(largestBody - 8, 'x');
        const QByteArray document = "{\"a\":\"" + text + "\"}";
        QCOMPARE(document.size(), largestBody);
        RawClient client(host.port());
        client.send(head("PUT /context/large", largestBody) + document.left(largestBody / 2));
        QVERIFY(isOtherServed());
        client.send(document.mid(largestBody / 2));
        const QByteArray put = client.readAnswer();
        QVERIFY2(put.startsWith("HTTP/1.1 201 "), put.left(200).constData());
        QVERIFY(bodyOf(put) == "{\n    \"a\": \"" + text + "\"\n}\n");
        QVERIFY(isOtherServed());
        QVERIFY(bodyOf(ask(request("GET /context/large"))) == bodyOf(put));
        QVERIFY(ask(request("DELETE /context/large")).startsWith("HTTP/1.1 204 "));
        const QByteArray created = ask(request("POST /context", document));
        QVERIFY2(created.startsWith("HTTP/1.1 200 "), created.left(200).constData());
        QVERIFY(isRemoved(created));
        QVERIFY(isOtherServed());
    }

    void bodyBeyondTheLargestIsNotRead()
    {
        const QByteArray answer = ask(head("PUT /context/kept", largestBody + 1));
        QVERIFY2(answer.startsWith("HTTP/1.1 413 "), answer.constData());
        QVERIFY(isOtherServed());
    }

    void largestBodiesThatAreNoJson_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("reason");
        QTest::newRow("brackets") << filled({}, "[", {}) << QByteArray("too deeply nested document");
        QTest::newRow("objects") << filled({}, "{\"a\":", {}) << QByteArray("too deeply nested document");
        QTest::newRow("blanks") << filled({}, " ", {}) << QByteArray("illegal value");
        QTest::newRow("NULs") << filled({}, QByteArray(1, '\0'), {}) << QByteArray("illegal value");
        QTest::newRow("open string") << filled("{\"a\":\"", "x", {}) << QByteArray("unterminated string");
        QTest::newRow("digits") << filled("{\"a\":", "9", "}") << QByteArray("illegal number");
        QTest::newRow("no UTF-8 at the end")
            << filled("{\"a\":\"", "x", "\xff\"}") << QByteArray("invalid UTF8 string");
        QTest::newRow("document and then garbage")
            << filled("{}", " ", "x") << QByteArray("garbage at the end of the document");
    }
    void largestBodiesThatAreNoJson()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, reason);
        const QByteArray created = ask(request("POST /context", body));
        QVERIFY2(created.startsWith("HTTP/1.1 400 "), created.left(200).constData());
        QCOMPARE(bodyOf(created), reason);
        QVERIFY(ask(request("PUT /context/kept", body)).startsWith("HTTP/1.1 200 "));
        QVERIFY(isOtherServed());
    }

    void pollHasSeenNothingAndIsStillServed()
    {
        QVERIFY(!poll->isReadable(0));
        QVERIFY(ask(request("PUT /context/kept", R"({"b":2})")).startsWith("HTTP/1.1 200 "));
        QVERIFY(bodyOf(poll->readAnswer()).contains("\"b\": 2"));
        QCOMPARE(host.process.state(), QProcess::Running);
    }
};

QTEST_GUILESS_MAIN(JsonBodiesTest)
#include "tst_jsonbodies.moc"
