#include "hostlog.h"
#include "hostprocess.h"
#include "problem.h"
#include "rawclient.h"

#include <QtTest>

#include <vector>

/// What clients see of the service, with the plug-ins of tests/plugins behind it.
class VexoRequestsTest : public QObject
{
    Q_OBJECT

    static QStringList plugins()
    {
        return {QStringLiteral("--plugin"), QStringLiteral(TEST_PLUGIN_DIR "/libfirst.so"),
                QStringLiteral("--plugin"), QStringLiteral(TEST_PLUGIN_DIR "/libsecond.so")};
    }
    static QByteArray request(const QByteArray &line, const QByteArray &headers = {},
                              const QByteArray &body = {})
    {
        return line + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n" + body;
    }
    static QByteArray ask(const HostProcess &host, const QByteArray &bytes)
    {
        RawClient client(host.port());
        client.send(bytes);
        return client.readAnswer();
    }
    static QByteArray get(const HostProcess &host, const QByteArray &path)
    {
        return ask(host, request("GET " + path));
    }
    static QByteArray post(const HostProcess &host, const QByteArray &path, const QByteArray &body)
    {
        return ask(host, request("POST " + path,
                                 "Content-Length: " + QByteArray::number(body.size()) + "\r\n", body));
    }

private Q_SLOTS:
    void failuresOfTheHostAreProblems_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("status");
        QTest::newRow("malformed") << QByteArray("what is this\r\n\r\n") << 400;
        QTest::newRow("nobody's path") << request("GET /nowhere") << 404;
        QTest::newRow("known method that nobody takes") << request("PATCH /nowhere") << 404;
        QTest::newRow("unknown method") << request("FROBNICATE /first/hello") << 501;
        QTest::newRow("controller that throws") << request("GET /first/throw") << 500;
        QTest::newRow("controller that throws a number") << request("GET /first/throw-number") << 500;
        QTest::newRow("strategy that throws") << request("GET /first/strategy-throw") << 500;
    }
    void failuresOfTheHostAreProblems()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, status);
        HostProcess host(plugins());
        QVERIFY2(host.start(), host.readLog().constData());
        const QByteArray answer = ask(host, bytes);
        QVERIFY2(isProblem(answer, status), answer.constData());
        QVERIFY(get(host, "/first/hello").startsWith("HTTP/1.1 200 "));
    }

    void absoluteFormIsServedByItsPath()
    {
        HostProcess host(plugins());
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(get(host, "http://elsewhere:1/second/hello").endsWith("\r\n\r\nsecond"));
    }

    // Each row meets one limit, and its second request stays within it.
    void limitsAreSettings_data()
    {
        QTest::addColumn<QByteArray>("setting");
        QTest::addColumn<QByteArray>("beyond");
        QTest::addColumn<QByteArray>("within");
        QTest::addColumn<int>("status");
        QTest::newRow("target") << QByteArray("http.maxTargetBytes=20")
                                << request("GET /first/hello?" + QByteArray(8, 'x'))
                                << request("GET /first/hello?" + QByteArray(7, 'x')) << 414;
        QTest::newRow("header block")
            << QByteArray("http.maxHeaderBytes=200")
            << request("GET /first/hello", "X: " + QByteArray(200, 'x') + "\r\n")
            << request("GET /first/hello", "X: " + QByteArray(100, 'x') + "\r\n") << 431;
        QTest::newRow("body") << QByteArray("http.maxBodyBytes=10")
                              << request("POST /first/length", "Content-Length: 11\r\n", QByteArray(11, 'x'))
                              << request("POST /first/length", "Content-Length: 10\r\n", QByteArray(10, 'x'))
                              << 413;
        QTest::newRow("time for the header")
            << QByteArray("http.headerTimeout=0.2") << QByteArray("GET /first/hel")
            << request("GET /first/hello") << 408;
        QTest::newRow("time for the body")
            << QByteArray("http.bodyTimeout=0.2")
            << request("POST /first/length", "Content-Length: 2\r\n", "x")
            << request("POST /first/length", "Content-Length: 2\r\n", "xx") << 408;
    }
    void limitsAreSettings()
    {
        QFETCH(QByteArray, setting);
        QFETCH(QByteArray, beyond);
        QFETCH(QByteArray, within);
        QFETCH(int, status);
        HostProcess host(plugins(), setting);
        QVERIFY2(host.start(), host.readLog().constData());
        const QByteArray answer = ask(host, beyond);
        QVERIFY2(isProblem(answer, status), answer.constData());
        QVERIFY(ask(host, within).startsWith("HTTP/1.1 200 "));
    }

    void idleTimeIsASetting()
    {
        HostProcess host(plugins(), "http.idleTimeout=0.2");
        QVERIFY2(host.start(), host.readLog().constData());
        RawClient client(host.port());
        client.send(request("GET /first/hello"));
        QVERIFY(client.readAnswer().startsWith("HTTP/1.1 200 "));
        QVERIFY(client.isReadable(20000));
        QCOMPARE(client.readAnswer(), QByteArray());
    }

    void numberOfConnectionsIsASetting()
    {
        HostProcess host(plugins(), "http.maxConnections=2");
        QVERIFY2(host.start(), host.readLog().constData());
        std::vector<RawClient> clients;
        for (int i = 0; i < 2; ++i) {
            clients.emplace_back(host.port());
            clients.back().send(request("GET /first/hello"));
            QVERIFY(clients.back().readAnswer().startsWith("HTTP/1.1 200 "));
        }
        RawClient third(host.port());
        QVERIFY(isProblem(third.readAnswer(), 503));
        QCOMPARE(third.readAnswer(), QByteArray());
        clients.front().send(request("GET /first/hello"));
        QVERIFY(clients.front().readAnswer().startsWith("HTTP/1.1 200 "));
    }

    void controllerIsReleasedOnceAfterItsAnswer_data()
    {
        QTest::addColumn<QByteArray>("task");
        QTest::newRow("answers at once") << QByteArray("hello");
        QTest::newRow("throws") << QByteArray("throw");
    }
    void controllerIsReleasedOnceAfterItsAnswer()
    {
        QFETCH(QByteArray, task);
        HostProcess host(plugins());
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(!get(host, "/first/" + task).isEmpty());
        QVERIFY(stopHost(host));
        QCOMPARE(pluginLog(host).filter(QStringLiteral("release")),
                 QStringList{QStringLiteral("first release ") + QString::fromUtf8(task)});
    }

    void parkedControllersAreReleasedOnceAfterALateAnswer()
    {
        HostProcess host(plugins());
        QVERIFY2(host.start(), host.readLog().constData());
        RawClient plain(host.port());
        RawClient selfEnding(host.port());
        plain.send(request("GET /first/park"));
        selfEnding.send(request("GET /first/park-self"));
        QVERIFY(waitForLog(host, "first parks", 2));
        QVERIFY(!plain.isReadable(0));
        QVERIFY(get(host, "/first/wake").startsWith("HTTP/1.1 200 "));
        QVERIFY(plain.readAnswer().endsWith("\r\n\r\nwoken"));
        QVERIFY(selfEnding.readAnswer().endsWith("\r\n\r\nwoken"));
        QVERIFY(waitForLog(host, "first release park\n"));
        QVERIFY(waitForLog(host, "first destroyed park-self"));
        QVERIFY(stopHost(host));
        QStringList ends =
            pluginLog(host).filter(QRegularExpression(QStringLiteral("release|destroyed park")));
        ends.sort();
        QCOMPARE(ends,
                 (QStringList{QStringLiteral("first destroyed park-self"),
                              QStringLiteral("first release park"), QStringLiteral("first release wake")}));
    }

    void departureReleasesAtOnceWithoutAnAnswer_data()
    {
        QTest::addColumn<QByteArray>("task");
        QTest::addColumn<QByteArray>("way");
        for (const char *task : {"park", "park-self"}) {
            for (const char *way : {"close", "reset", "half-close"})
                QTest::addRow("%s, %s", task, way) << QByteArray(task) << QByteArray(way);
        }
    }
    void departureReleasesAtOnceWithoutAnAnswer()
    {
        QFETCH(QByteArray, task);
        QFETCH(QByteArray, way);
        HostProcess host(plugins());
        QVERIFY2(host.start(), host.readLog().constData());
        RawClient client(host.port());
        client.send(request("GET /first/" + task));
        QVERIFY(waitForLog(host, "first parks"));
        if (way == "close")
            client.close();
        else if (way == "reset")
            client.reset();
        else
            client.halfClose();
        QVERIFY(waitForLog(host, "first release " + task));
        if (way == "half-close")
            QCOMPARE(client.readAnswer(), QByteArray());
        QVERIFY(get(host, "/first/wake").startsWith("HTTP/1.1 200 "));
        QVERIFY(stopHost(host));
        QCOMPARE(host.readLog().count("first release " + task), 1);
    }

    void nestedLoopInAControllerStallsNobody()
    {
        HostProcess host(plugins());
        QVERIFY2(host.start(), host.readLog().constData());
        RawClient nesting(host.port());
        nesting.send(request("GET /first/nested"));
        QVERIFY(waitForLog(host, "first nested loop begins"));

        RawClient kept(host.port());
        for (int i = 0; i < 3; ++i) {
            kept.send(request("GET /second/hello"));
            QVERIFY(kept.readAnswer().endsWith("\r\n\r\nsecond"));
        }
        RawClient parked(host.port());
        parked.send(request("GET /first/park"));
        QVERIFY(waitForLog(host, "first parks"));
        parked.close();
        QVERIFY(waitForLog(host, "first release park"));
        QVERIFY(!nesting.isReadable(0));

        QVERIFY(get(host, "/first/unnest").startsWith("HTTP/1.1 200 "));
        QVERIFY(nesting.readAnswer().endsWith("\r\n\r\nfirst"));
        QVERIFY(stopHost(host));
        QCOMPARE(pluginLog(host).filter(QStringLiteral("nested")),
                 (QStringList{QStringLiteral("first nested loop begins"),
                              QStringLiteral("first nested loop has ended"),
                              QStringLiteral("first release nested")}));
    }

    void clientThatLeavesDuringItsNestedLoopIsReleasedAfterIt()
    {
        HostProcess host(plugins());
        QVERIFY2(host.start(), host.readLog().constData());
        RawClient nesting(host.port());
        nesting.send(request("GET /first/nested"));
        QVERIFY(waitForLog(host, "first nested loop begins"));
        nesting.close();
        QVERIFY(get(host, "/second/hello").startsWith("HTTP/1.1 200 "));
        QVERIFY(get(host, "/first/unnest").startsWith("HTTP/1.1 200 "));
        QVERIFY(waitForLog(host, "first release nested"));
        QVERIFY(stopHost(host));
        QCOMPARE(pluginLog(host).filter(QStringLiteral("nested")),
                 (QStringList{QStringLiteral("first nested loop begins"),
                              QStringLiteral("first nested loop has ended"),
                              QStringLiteral("first release nested")}));
    }

    void chunksReachTheOtherPluginsOnly()
    {
        HostProcess host(plugins());
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(post(host, "/first/publish", R"({"n":1})").startsWith("HTTP/1.1 200 "));
        QVERIFY(post(host, "/second/publish", R"({"n":2})").startsWith("HTTP/1.1 200 "));
        QVERIFY(waitForLog(host, "first chunk"));
        QVERIFY(stopHost(host));
        QCOMPARE(
            pluginLog(host).filter(QStringLiteral("chunk {")),
            (QStringList{QStringLiteral("second chunk {\"n\":1}"), QStringLiteral("first chunk {\"n\":2}")}));
        QVERIFY(!host.readLog().contains("published"));
    }

    void chunksShowAtDebugLevel()
    {
        HostProcess host(plugins());
        QProcessEnvironment environment = host.process.processEnvironment();
        environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                           QStringLiteral("ch.tessel.vexo-service.bus.debug=true"));
        host.process.setProcessEnvironment(environment);
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(post(host, "/first/publish", R"({ "n" : 1 })").startsWith("HTTP/1.1 200 "));
        QVERIFY(waitForLog(host, " debug ch.tessel.vexo-service.bus: first published {\"n\":1}\n"));
    }

    void createdContextShowsOnTheBus()
    {
        HostProcess host({QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)});
        QProcessEnvironment environment = host.process.processEnvironment();
        environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                           QStringLiteral("ch.tessel.vexo-service.bus.debug=true"));
        host.process.setProcessEnvironment(environment);
        QVERIFY2(host.start(), host.readLog().constData());
        const QByteArray answer = ask(
            host, request("POST /context", "Content-Type: application/json\r\nContent-Length: 2\r\n", "{}"));
        QVERIFY2(answer.startsWith("HTTP/1.1 200 "), answer.constData());
        QVERIFY(waitForLog(host, "ch.tessel.vexo-service.bus: contextplugin published {"));
        QVERIFY2(host.readLog().contains("context-created"), host.readLog().constData());
    }
};

QTEST_GUILESS_MAIN(VexoRequestsTest)
#include "tst_vexorequests.moc"
