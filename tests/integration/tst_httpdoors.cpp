#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"

#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

/// Where the real host can be reached, and what it asks of a request before a plug-in sees it. Who may
/// connect is tst_sameuser's.
class HttpDoorsTest : public QObject
{
    Q_OBJECT

    static QStringList plugin() { return {QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)}; }
    static QByteArray get(const QByteArray &fields = {}, const QByteArray &host = "localhost")
    {
        return "GET /context/none HTTP/1.1\r\nHost: " + host + "\r\n" + fields + "\r\n";
    }
    static QByteArray put(const QByteArray &fields)
    {
        return "PUT /context/kept HTTP/1.1\r\n" + fields + "Content-Length: 7\r\n\r\n{\"a\":1}";
    }
    static QByteArray ask(const HostProcess &host, const QByteArray &request)
    {
        RawClient client(host.port());
        client.send(request);
        return client.readAnswer();
    }
    static int statusOf(const QByteArray &answer) { return answer.mid(9, 3).toInt(); }
    static bool hasIpv6()
    {
        QTcpServer probe;
        return probe.listen(QHostAddress::LocalHostIPv6);
    }

    struct Ended
    {
        int status;
        QByteArray error;
    };
    static Ended end(const QString &address, const QByteArray &settings)
    {
        HostProcess host(plugin() + QStringList{QStringLiteral("--listen"), address}, settings);
        host.process.start();
        if (!host.process.waitForFinished(30000))
            return {-1, host.readLog()};
        return {host.process.exitCode(), host.readLog()};
    }

private Q_SLOTS:
    void bothLoopbackAddressesAreServed()
    {
        if (!hasIpv6())
            QSKIP("There is no IPv6 here.");
        HostProcess host(plugin());
        QVERIFY2(host.start(), host.readLog().constData());
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHostIPv6, host.port());
        QVERIFY(socket.waitForConnected());
        socket.write(get({}, "[::1]:" + QByteArray::number(host.port())));
        QTRY_VERIFY(socket.bytesAvailable() > 0);
        QCOMPARE(statusOf(socket.readAll()), 404);
        QVERIFY(ask(host, get()).startsWith("HTTP/1.1 404 "));
    }

    void aTakenSecondAddressIsAWarning()
    {
        QTcpServer other;
        if (!other.listen(QHostAddress::LocalHostIPv6))
            QSKIP("There is no IPv6 here.");
        const QString address = QStringLiteral("127.0.0.1:%1").arg(other.serverPort());
        HostProcess host(plugin() + QStringList{QStringLiteral("--listen"), address});
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(
            waitForLog(host, QStringLiteral("warning ch.tessel.vexo-service: Not listening on [::1]:%1 as "
                                            "well: address already in use\n")
                                 .arg(host.port())
                                 .toUtf8()));
        QVERIFY(host.readLog().contains("Listening on " + address.toUtf8() + " with the plug-ins"));
        QVERIFY(ask(host, get()).startsWith("HTTP/1.1 404 "));
    }

    void anotherLoopbackAddressIsServedAlone()
    {
        HostProcess host(plugin() + QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.2:0")});
        host.process.start();
        QVERIFY2(waitForLog(host, " with the plug-ins "), host.readLog().constData());
        static const QRegularExpression alone(QStringLiteral(R"(Listening on 127\.0\.0\.2:\d+ with )"));
        QVERIFY2(QString::fromUtf8(host.readLog()).contains(alone), host.readLog().constData());
    }

    void otherMachinesAreServedWithATokenOnly()
    {
        // An address of nobody's, so that nothing is ever listened to.
        const QString address = QStringLiteral("192.0.2.1:8750");
        const Ended without = end(address, {});
        QCOMPARE(without.status, 1);
        QCOMPARE(without.error,
                 QByteArray(
                     "vexo-service: cannot listen on 192.0.2.1:8750: other machines reach it, which takes an "
                     "access token; set http.tokenFile, or listen on 127.0.0.1\n"));

        const QTemporaryDir directory;
        const Ended with =
            end(address, "http.tokenFile=" + directory.filePath(QStringLiteral("token")).toUtf8());
        QCOMPARE(with.status, 1);
        QCOMPARE(with.error,
                 QByteArray("vexo-service: cannot listen on 192.0.2.1:8750: address not available\n"));
    }

    void aTokenIsMadeAndAskedFor()
    {
        const QTemporaryDir directory;
        const QString file = directory.filePath(QStringLiteral("token"));
        const QByteArray setting = "http.tokenFile=" + file.toUtf8();
        QByteArray token;
        for (int start = 0; start < 2; ++start) {
            HostProcess host(plugin(), setting);
            QVERIFY2(host.start(), host.readLog().constData());
            const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
            QCOMPARE(QFileInfo(file).permissions(), owner);
            QFile made(file);
            QVERIFY(made.open(QFile::ReadOnly));
            const QByteArray read = made.readAll().trimmed();
            QVERIFY(read.size() >= 43); // 256 bits
            QVERIFY(token.isEmpty() || token == read);
            token = read;

            const QByteArray refused = ask(host, get());
            QCOMPARE(statusOf(refused), 401);
            QVERIFY(refused.contains("\r\nWWW-Authenticate: Bearer realm=\"vexo-service\"\r\n"));
            QVERIFY(refused.contains("\r\nContent-Type: application/problem+json\r\n"));
            QCOMPARE(statusOf(ask(host, get("Authorization: Bearer " + token.left(42) + "\r\n"))), 401);
            QCOMPARE(statusOf(ask(host, get("Authorization: Bearer " + token + "\r\n"))), 404);
            QVERIFY(waitForLog(host, "Request refused with 401"));
            QVERIFY(!host.readLog().contains(token.left(42)));
        }
    }

    void refusedRequestsReachNoPlugin_data()
    {
        QTest::addColumn<QByteArray>("fields");
        QTest::addColumn<int>("status");
        QTest::newRow("the name of a page's own host") << QByteArray("Host: rebound.example\r\n") << 421;
        QTest::newRow("another port") << QByteArray("Host: localhost:1\r\n") << 421;
        QTest::newRow("a foreign page")
            << QByteArray("Host: localhost\r\nOrigin: http://page.example\r\n") << 403;
        QTest::newRow("a foreign page without an Origin")
            << QByteArray("Host: localhost\r\nSec-Fetch-Site: cross-site\r\n") << 403;
        QTest::newRow("a page of another port")
            << QByteArray("Host: localhost\r\nSec-Fetch-Site: same-site\r\n") << 403;
        QTest::newRow("a page without an origin") << QByteArray("Host: localhost\r\nOrigin: null\r\n") << 403;
        QTest::newRow("the Host comes first")
            << QByteArray("Host: rebound.example\r\nOrigin: http://page.example\r\n") << 421;
    }
    void refusedRequestsReachNoPlugin()
    {
        QFETCH(QByteArray, fields);
        QFETCH(int, status);
        HostProcess host(plugin());
        QVERIFY2(host.start(), host.readLog().constData());
        const QByteArray refused = ask(host, put(fields));
        QCOMPARE(statusOf(refused), status);
        QVERIFY(refused.contains("\r\nContent-Type: application/problem+json\r\n"));
        QVERIFY(refused.contains("\r\nConnection: close\r\n"));
        QVERIFY(!refused.contains("Access-Control-"));
        QVERIFY(waitForLog(host, "warning ch.tessel.vexo-service.access: Request refused with "
                                     + QByteArray::number(status)));
        QCOMPARE(statusOf(ask(host, "GET /context/kept HTTP/1.1\r\nHost: localhost\r\n\r\n")), 404);
        QCOMPARE(statusOf(ask(host, put("Host: localhost\r\n"))), 201);
    }

    void aBodyThatIsNotWantedIsNotAwaited()
    {
        HostProcess host(plugin());
        QVERIFY2(host.start(), host.readLog().constData());
        const QByteArray answer =
            ask(host, "PUT /context/a HTTP/1.1\r\nHost: rebound.example\r\nContent-Length: 60000000\r\n\r\n");
        QCOMPARE(statusOf(answer), 421);
    }

    void theHostsOwnPageIsServed()
    {
        HostProcess host(plugin());
        QVERIFY2(host.start(), host.readLog().constData());
        const QByteArray port = QByteArray::number(host.port());
        const QByteArray own = "Origin: http://localhost:" + port + "\r\nSec-Fetch-Site: same-origin\r\n";
        QCOMPARE(statusOf(ask(host, get(own, "localhost:" + port))), 404);
    }

    void aListedPageIsServedAndMayReadTheAnswer()
    {
        const QTemporaryDir directory;
        HostProcess host(plugin(), "http.allowedOrigins=https://ui.example, null\nhttp.tokenFile="
                                       + directory.filePath(QStringLiteral("token")).toUtf8());
        QVERIFY2(host.start(), host.readLog().constData());
        const QByteArray origin = "Origin: https://ui.example\r\n";
        const QByteArray mayRead = "\r\nAccess-Control-Allow-Origin: https://ui.example\r\n";
        RawClient client(host.port());
        client.send("OPTIONS /context/kept HTTP/1.1\r\nHost: localhost\r\n" + origin
                    + "Access-Control-Request-Method: PUT\r\nAccess-Control-Request-Headers: prefer\r\n"
                      "Connection: close\r\n\r\n");
        const QByteArray preflight = client.readUntilClosed(); // a 204 has no length
        QCOMPARE(statusOf(preflight), 204);
        QVERIFY(preflight.contains(mayRead));
        QVERIFY(preflight.contains("\r\nAccess-Control-Allow-Methods: DELETE, GET, POST, PUT\r\n"));
        QVERIFY(
            preflight.contains("\r\nAccess-Control-Allow-Headers: Authorization, Content-Type, Prefer\r\n"));

        const QByteArray refused = ask(host, get(origin));
        QCOMPARE(statusOf(refused), 401);
        QVERIFY(refused.contains(mayRead));
        QVERIFY(refused.contains("\r\nVary: Origin\r\n"));
        const QByteArray anonymous = ask(host, get("Origin: null\r\n"));
        QCOMPARE(statusOf(anonymous), 401);
        QVERIFY(anonymous.contains("\r\nAccess-Control-Allow-Origin: null\r\n"));
        QCOMPARE(statusOf(ask(host, get("Origin: https://ui.example.evil\r\n"))), 403);
    }
};

QTEST_GUILESS_MAIN(HttpDoorsTest)
#include "tst_httpdoors.moc"
