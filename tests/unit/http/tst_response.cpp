#include "logcapture.h"
#include "recordingsink.h"

#include <http/server/response.h>

#include <QtTest>

using http::server::Response;

class ResponseTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handsOverWhatWasSet()
    {
        RecordingSink sink;
        Response response(&sink);
        response.setHeader(QStringLiteral("X-A"), QStringLiteral("grün"));
        response.setHeader(QStringLiteral("x-a"), QStringLiteral("blau"));
        response.writeHead(201);
        QVERIFY(response.isOpen());
        response.end("body");
        QVERIFY(!response.isOpen());
        QCOMPARE(sink.last->status, 201);
        QCOMPARE(sink.last->headers.size(), 1);
        QCOMPARE(sink.last->headers.joined("X-A"), QByteArray("blau"));
        QCOMPARE(sink.last->body, QByteArray("body"));
    }

    void statusIs200IfNeverSet()
    {
        RecordingSink sink;
        Response response(&sink);
        response.end({});
        QCOMPARE(sink.last->status, 200);
    }

    void callsAfterEndDoNothing()
    {
        RecordingSink sink;
        Response response(&sink);
        response.end("first");
        response.setHeader(QStringLiteral("X"), QStringLiteral("y"));
        response.writeHead(500);
        response.end("second");
        response.abandon();
        QCOMPARE(sink.answers, 1);
        QCOMPARE(sink.departures, 0);
        QCOMPARE(sink.last->body, QByteArray("first"));
    }

    void callsAfterTheClientLeftDoNothing()
    {
        RecordingSink sink;
        Response response(&sink);
        response.abandon();
        response.end("late");
        QCOMPARE(sink.answers, 0);
        QCOMPARE(sink.departures, 1);
    }

    void finishIsToldOnceFromInside()
    {
        RecordingSink sink;
        int finished = 0;
        Response answered(&sink);
        answered.onFinished([&] { ++finished; });
        answered.end({});
        answered.abandon();
        QCOMPARE(finished, 1);
        Response left(&sink);
        left.onFinished([&] { ++finished; });
        left.abandon();
        left.end({});
        QCOMPARE(finished, 2);
    }

    void detachedResponseStillFinishes()
    {
        RecordingSink sink;
        Response response(&sink);
        bool finished = false;
        response.onFinished([&] { finished = true; });
        response.detach();
        response.end("x");
        QVERIFY(finished);
        QCOMPARE(sink.answers, 0);
    }

    void splittingHeadersAreRefusedWith500_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::newRow("line feed") << "X"
                                   << "a\nSet-Cookie: b";
        QTest::newRow("carriage return") << "X"
                                         << "a\rb";
        QTest::newRow("NUL") << "X" << QStringLiteral("a").append(QChar(0));
        QTest::newRow("delete") << "X"
                                << "a\x7f";
        QTest::newRow("colon in the name") << "X:"
                                           << "a";
        QTest::newRow("blank in the name") << "X Y"
                                           << "a";
        QTest::newRow("line feed in the name") << "X\n"
                                               << "a";
        QTest::newRow("empty name") << ""
                                    << "a";
    }
    void splittingHeadersAreRefusedWith500()
    {
        QFETCH(QString, name);
        QFETCH(QString, value);
        const LogCapture log("ch.tessel.http.server.response");
        RecordingSink sink;
        Response response(&sink);
        response.setHeader(name, value);
        response.setHeader(QStringLiteral("X-Good"), QStringLiteral("1"));
        response.writeHead(200);
        response.end("secret");
        QCOMPARE(sink.last->status, 500);
        QCOMPARE(sink.last->headers.joined("Content-Type"), QByteArray("application/problem+json"));
        QVERIFY(!sink.last->headers.contains("X-Good"));
        QVERIFY(!sink.last->body.contains("secret"));
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().type, QtWarningMsg);
    }

    void tabInAValueIsAllowed()
    {
        RecordingSink sink;
        Response response(&sink);
        response.setHeader(QStringLiteral("X"), QStringLiteral("a\tb"));
        response.end({});
        QCOMPARE(sink.last->status, 200);
        QCOMPARE(sink.last->headers.joined("X"), QByteArray("a\tb"));
    }

    void impossibleStatusIsRefusedWith500_data()
    {
        QTest::addColumn<int>("status");
        QTest::newRow("informational") << 199;
        QTest::newRow("too large") << 600;
        QTest::newRow("negative") << -1;
    }
    void impossibleStatusIsRefusedWith500()
    {
        QFETCH(int, status);
        const LogCapture log("ch.tessel.http.server.response");
        RecordingSink sink;
        Response response(&sink);
        response.writeHead(status);
        response.end({});
        QCOMPARE(sink.last->status, 500);
        QCOMPARE(log.lines().size(), 1);
    }

    void serversOwnHeadersAreLeftOut_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"Content-Length", "date", "CONNECTION", "Transfer-Encoding"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void serversOwnHeadersAreLeftOut()
    {
        QFETCH(QString, name);
        const LogCapture log("ch.tessel.http.server.response");
        RecordingSink sink;
        Response response(&sink);
        response.setHeader(name, QStringLiteral("5"));
        response.end({});
        QCOMPARE(sink.last->status, 200);
        QCOMPARE(sink.last->headers.size(), 0);
        QCOMPARE(log.lines().size(), 1);
    }

    void problemIsProblemJson()
    {
        const http::server::Answer answer = http::server::problem(404, QStringLiteral("why"));
        QCOMPARE(answer.status, 404);
        QCOMPARE(answer.body, QByteArray(R"({"detail":"why","status":404,"title":"Not Found"})"));
        QCOMPARE(http::server::problem(400).body, QByteArray(R"({"status":400,"title":"Bad Request"})"));
    }
};

QTEST_GUILESS_MAIN(ResponseTest)
#include "tst_response.moc"
