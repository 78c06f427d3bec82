#include "bytesof.h"
#include "connectiondriver.h"
#include "logcapture.h"

#include <QRegularExpression>
#include <QtTest>

using namespace http::server;

namespace {

using RequestPointer = QSharedPointer<Request>;
using ResponsePointer = QSharedPointer<Response>;

const QByteArray getRequest = "GET /a?b=c HTTP/1.1\r\nHost: localhost\r\n\r\n";
const QByteArray putRequest = "PUT /x HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\n\r\nhello";
const QByteArray chunkedRequest = "POST /y HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n"
                                  "3\r\nhel\r\n2;ext=\"v\"\r\nlo\r\n0\r\nTrailer: t\r\n\r\n";

/// Answers every request at once with what it was.
void echo(const RequestPointer &request, const ResponsePointer &response)
{
    response->end(QByteArray::number(static_cast<int>(request->method())) + ' '
                  + request->url().toString(QUrl::FullyEncoded).toUtf8() + ' ' + request->body());
}

/// Status and body of each answer in a stream of answers that all have a Content-Length.
QVector<QPair<int, QByteArray>> answersIn(const QByteArray &stream)
{
    QVector<QPair<int, QByteArray>> answers;
    int at = 0;
    while (at < stream.size()) {
        const int headEnd = stream.indexOf("\r\n\r\n", at) + 4;
        const QByteArray head = stream.mid(at, headEnd - at);
        const int length = QRegularExpression(QStringLiteral("Content-Length: (\\d+)"))
                               .match(QString::fromLatin1(head))
                               .captured(1)
                               .toInt();
        answers.append({head.mid(9, 3).toInt(), stream.mid(headEnd, length)});
        at = headEnd + length;
    }
    return answers;
}

} // namespace

class ConnectionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void requestsArriveHoweverTheyAreCut_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("no body") << getRequest << QByteArray("1 /a?b=c ");
        QTest::newRow("length") << putRequest << QByteArray("4 /x hello");
        QTest::newRow("chunks") << chunkedRequest << QByteArray("3 /y hello");
        QTest::newRow("empty chunked body")
            << QByteArray("PUT /z HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n")
            << QByteArray("4 /z ");
        QTest::newRow("empty line in front") << "\r\n" + putRequest << QByteArray("4 /x hello");
        QTest::newRow("absolute target")
            << QByteArray("GET http://localhost:1/p%20q?r HTTP/1.1\r\nHost: a\r\n\r\n")
            << QByteArray("1 /p%20q?r ");
        QTest::newRow("absolute target without a path")
            << QByteArray("GET http://localhost?r HTTP/1.1\r\nHost: a\r\n\r\n") << QByteArray("1 /?r ");
        QTest::newRow("upgrade is not taken up")
            << QByteArray("GET /u HTTP/1.1\r\nHost: a\r\nConnection: Upgrade\r\nUpgrade: h2c\r\n\r\n")
            << QByteArray("1 /u ");
        QTest::newRow("upgrade with a body")
            << QByteArray("PUT /u HTTP/1.1\r\nHost: a\r\nConnection: upgrade\r\n"
                          "Upgrade: x\r\nContent-Length: 2\r\n\r\nhi")
            << QByteArray("4 /u hi");
    }
    void requestsArriveHoweverTheyAreCut()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, body);
        const QVector<QPair<int, QByteArray>> once{{200, body}};

        ConnectionDriver whole(echo);
        whole.feed(request);
        QCOMPARE(answersIn(whole.output), once);
        QVERIFY(!whole.closed);

        ConnectionDriver bytes(echo);
        bytes.feedByteByByte(request);
        QCOMPARE(answersIn(bytes.output), once);

        for (int cut = 1; cut < request.size(); ++cut) {
            ConnectionDriver halves(echo);
            halves.feed(request.left(cut));
            QVERIFY2(halves.output.isEmpty(), "answered before the request was complete");
            halves.feed(request.mid(cut));
            QCOMPARE(answersIn(halves.output), once);
        }
    }

    void requestsTruncatedAnywhereNeverReachTheApplication()
    {
        for (const QByteArray &request : {getRequest, putRequest, chunkedRequest}) {
            for (int cut = 0; cut < request.size(); ++cut) {
                int requests = 0;
                ConnectionDriver driver([&](const auto &...) { ++requests; });
                if (cut > 0)
                    driver.feed(request.left(cut));
                driver.endInput();
                QCOMPARE(requests, 0);
                QVERIFY(driver.closed);
            }
        }
    }

    void pipelinedRequestsAreAnsweredInOrder()
    {
        const QByteArray stream = getRequest + putRequest + chunkedRequest + getRequest;
        const QVector<QPair<int, QByteArray>> expected{
            {200, "1 /a?b=c "}, {200, "4 /x hello"}, {200, "3 /y hello"}, {200, "1 /a?b=c "}};
        for (int size = 1; size <= stream.size(); ++size) {
            ConnectionDriver driver(echo);
            for (int at = 0; at < stream.size(); at += size)
                driver.feed(stream.mid(at, size));
            QCOMPARE(answersIn(driver.output), expected);
        }
    }

    void aPipelinedRequestWaitsForTheAnswerBeforeItToLeave()
    {
        int requests = 0;
        ResponsePointer open;
        ConnectionDriver driver([&](const auto &, const ResponsePointer &response) {
            ++requests;
            open = response;
        });
        driver.feed(getRequest + getRequest);
        QCOMPARE(requests, 1);
        driver.holdsBack = true;
        open->end("1");
        driver.deliver();
        QCOMPARE(requests, 1);
        driver.flush();
        QCOMPARE(requests, 2);
    }

    void readingStopsWhileInputWaits()
    {
        ResponsePointer open;
        ConnectionDriver driver([&](const auto &, const ResponsePointer &response) { open = response; });
        driver.feed(getRequest);
        driver.feed(QByteArray(Connection::maxWaitingBytes, 'x'));
        QVERIFY(driver.reading);
        driver.feed("x");
        QVERIFY(!driver.reading);
        open->end({});
        // What waited was no request: it is refused, and reading goes on until the client has seen that.
        QCOMPARE(answersIn(driver.output).size(), 2);
        QVERIFY(driver.reading);
    }

    void manyPipelinedRequestsNeedNoMoreThanTheWaitingBytes()
    {
        int requests = 0;
        ConnectionDriver driver([&](const RequestPointer &request, const ResponsePointer &response) {
            ++requests;
            echo(request, response);
        });
        driver.holdsBack = true;
        QByteArray burst;
        while (burst.size() < 2 * Connection::maxWaitingBytes)
            burst += getRequest;
        driver.feed(burst);
        QVERIFY(!driver.reading);
        QCOMPARE(requests, 1);
        while (!driver.held.isEmpty())
            driver.flush();
        QCOMPARE(requests, burst.size() / getRequest.size());
        QVERIFY(driver.reading);
    }

    void continueIsSentBeforeTheBody()
    {
        const QByteArray head =
            "PUT /x HTTP/1.1\r\nHost: a\r\nExpect: 100-Continue\r\nContent-Length: 2\r\n\r\n";
        ConnectionDriver driver(echo);
        driver.feed(head);
        QCOMPARE(driver.output, QByteArray("HTTP/1.1 100 Continue\r\n\r\n"));
        driver.output.clear();
        driver.feed("hi");
        QCOMPARE(answersIn(driver.output).constFirst().second, QByteArray("4 /x hi"));
    }

    void aQueuedContinueLeavesBeforeTheAnswer()
    {
        ConnectionDriver driver(echo);
        driver.holdsBack = true;
        driver.feed("PUT /x HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n");
        driver.feed("hi" + getRequest);
        QVERIFY(driver.output.isEmpty());
        driver.flush();
        QVERIFY(driver.output.startsWith("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n"));
        driver.flush();
        QVERIFY(driver.output.endsWith("1 /a?b=c "));

        // One that leaves while the body is still awaited starts nothing.
        ConnectionDriver early(echo);
        early.holdsBack = true;
        early.feed("PUT /x HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n");
        early.flush();
        early.holdsBack = false;
        early.feed("hi");
        QVERIFY(early.output.endsWith("4 /x hi"));
    }

    void noContinueWhereNoneIsDue_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::newRow("no body") << QByteArray("GET / HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\n\r\n");
        QTest::newRow("empty body") << QByteArray(
            "PUT / HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: 0\r\n\r\n");
        QTest::newRow("HTTP/1.0") << QByteArray(
            "PUT / HTTP/1.0\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: 1\r\n\r\nx");
    }
    void noContinueWhereNoneIsDue()
    {
        QFETCH(QByteArray, request);
        ConnectionDriver driver(echo);
        driver.feed(request);
        QVERIFY(driver.output.startsWith("HTTP/1.1 200 "));
    }

    void refusalsAreAnsweredAndClosed_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("status");
        const QByteArray post = "POST / HTTP/1.1\r\nHost: a\r\n";
        const QByteArray chunked = post + "Transfer-Encoding: chunked\r\n\r\n";
        QTest::newRow("no Host") << QByteArray("GET / HTTP/1.1\r\n\r\n") << 400;
        QTest::newRow("bare LF") << QByteArray("GET / HTTP/1.1\n") << 400;
        QTest::newRow("NUL in the target") << bytesOf("GET /a\0 HTTP/1.1\r\n") << 400;
        QTest::newRow("folded") << post + " x: y\r\n" << 400;
        QTest::newRow("both framings") << post + "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n"
                                       << 400;
        QTest::newRow("TLS hello") << bytesOf("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\n") << 400;
        QTest::newRow("unknown method") << QByteArray("BREW / HTTP/1.1\r\n") << 501;
        QTest::newRow("other version") << QByteArray("GET / HTTP/3.0\r\n") << 505;
        QTest::newRow("target too long") << "GET /" + QByteArray(16384, 'a') << 414;
        QTest::newRow("headers too large") << post + "X: " + QByteArray(65536, 'a') << 431;
        QTest::newRow("blank after a chunk size") << chunked + "1 \r\n" << 400;
        QTest::newRow("blank before a chunk size") << chunked + " 1\r\n" << 400;
        QTest::newRow("prefixed chunk size") << chunked + "0x1\r\n" << 400;
        QTest::newRow("empty chunk size") << chunked + "\r\n" << 400;
        QTest::newRow("bare LF in an extension") << chunked + "1;a\nb\r\n" << 400;
        QTest::newRow("bare CR in an extension") << chunked + "1;a\rb\r\n" << 400;
        QTest::newRow("line end in a quoted extension") << chunked + "1;a=\"\r\n\"\r\n" << 400;
        QTest::newRow("bare LF after a chunk") << chunked + "1\r\na\n0\r\n\r\n" << 400;
        QTest::newRow("declared body too large") << post + "Content-Length: 67108865\r\n\r\n" << 413;
        QTest::newRow("declared chunk too large") << chunked + "4000001\r\n" << 413;
        QTest::newRow("chunk size beyond 64 bits") << chunked + "FFFFFFFFFFFFFFFFF\r\n" << 400;
        QTest::newRow("chunk size is no number") << chunked + "x\r\n" << 400;
        QTest::newRow("negative chunk size") << chunked + "-1\r\n" << 400;
        QTest::newRow("bare LF after a chunk size") << chunked + "1\na\r\n0\r\n\r\n" << 400;
        QTest::newRow("bare CR after a chunk size") << chunked + "1\ra" << 400;
        QTest::newRow("chunk longer than its size") << chunked + "1\r\nab\r\n" << 400;
        QTest::newRow("control character in an extension") << chunked + "1;a\x01\r\n" << 400;
        QTest::newRow("extensions too long") << chunked + "1;" + QByteArray(65537, 'a') << 400;
        QTest::newRow("bare CR in a trailer") << chunked + "0\r\nA: b\rC: d\r\n\r\n" << 400;
        QTest::newRow("trailers too large") << chunked + "0\r\nA: " + QByteArray(65536, 'a') << 431;
        QTest::newRow("unknown expectation") << post + "Expect: tea\r\nContent-Length: 1\r\n\r\n" << 417;
        QTest::newRow("target without a form")
            << QByteArray("GET context HTTP/1.1\r\nHost: a\r\n\r\n") << 400;
    }
    void refusalsAreAnsweredAndClosed()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, status);
        int requests = 0;
        const auto count = [&](const auto &...) { ++requests; };
        const LogCapture log("ch.tessel.http.server.connection");

        for (const bool whole : {true, false}) {
            ConnectionDriver driver(count);
            if (whole) {
                driver.feed(bytes);
            } else {
                for (int i = 0; i < bytes.size() && !driver.outputEnded; ++i)
                    driver.feed(bytes.mid(i, 1));
            }
            const QByteArray statusLine = "HTTP/1.1 " + QByteArray::number(status) + ' ';
            QVERIFY2(driver.output.startsWith(statusLine), driver.output.constData());
            QVERIFY(driver.output.contains("\r\nContent-Type: application/problem+json\r\n"));
            QVERIFY(driver.output.contains("\r\nConnection: close\r\n"));
            QCOMPARE(answersIn(driver.output).size(), 1);
            QVERIFY(driver.outputEnded);

            // The rest is never taken for a request, and the end of the client's input closes.
            const QByteArray output = driver.output;
            driver.feed(getRequest);
            QCOMPARE(driver.output, output);
            driver.endInput();
            QVERIFY(driver.closed);
        }
        QCOMPARE(requests, 0);
        QCOMPARE(log.lines().size(), 2);
        QCOMPARE(log.lines().constFirst().type, QtInfoMsg);
    }

    void theBodyLimitIsExact()
    {
        Limits limits;
        limits.maxBodyBytes = 5;
        const QByteArray chunked = "PUT /x HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n";
        ConnectionDriver fits(echo, limits);
        fits.feed(putRequest + chunked + "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n");
        const QVector<QPair<int, QByteArray>> expected{{200, "4 /x hello"}, {200, "4 /x abcde"}};
        QCOMPARE(answersIn(fits.output), expected);
        ConnectionDriver exceeds(echo, limits);
        exceeds.feed(chunked + "3\r\nabc\r\n3\r\n");
        QCOMPARE(answersIn(exceeds.output).constFirst().first, 413);
    }

    void theExtensionLimitIsExactAndOfOneBody()
    {
        Limits limits;
        limits.maxHeaderBytes = 100;
        const QByteArray request = "PUT /x HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n1;"
                                   + QByteArray(50, 'e') + "\r\na\r\n1;" + QByteArray(50, 'e')
                                   + "\r\nb\r\n0\r\n\r\n";
        ConnectionDriver fits(echo, limits);
        fits.feed(request + request);
        const QVector<QPair<int, QByteArray>> expected{{200, "4 /x ab"}, {200, "4 /x ab"}};
        QCOMPARE(answersIn(fits.output), expected);
        ConnectionDriver exceeds(echo, limits);
        exceeds.feed(QByteArray(request).replace("\r\nb\r\n", "e\r\nb\r\n"));
        QCOMPARE(answersIn(exceeds.output).constFirst().first, 400);
    }

    void aRefusedContinuationIsNotInvited()
    {
        ConnectionDriver driver(echo);
        driver.feed(
            "PUT / HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: 99999999999\r\n\r\n");
        QVERIFY(driver.output.startsWith("HTTP/1.1 413 "));
    }

    void answersOutsideTheHandlerArrive()
    {
        ResponsePointer open;
        ConnectionDriver driver([&](const auto &, const ResponsePointer &response) { open = response; });
        driver.feed(getRequest);
        QVERIFY(driver.output.isEmpty());
        QVERIFY(!driver.timer.has_value());
        open->setHeader(QStringLiteral("X"), QStringLiteral("y"));
        open->writeHead(201);
        open->end("late");
        const QRegularExpression wire(QStringLiteral(
            "^HTTP/1\\.1 201 Created\r\nX: y\r\nContent-Length: 4\r\n"
            "Date: (Mon|Tue|Wed|Thu|Fri|Sat|Sun), \\d\\d (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) "
            "\\d{4} \\d\\d:\\d\\d:\\d\\d GMT\r\nConnection: keep-alive\r\n\r\nlate$"));
        QVERIFY2(wire.match(QString::fromLatin1(driver.output)).hasMatch(), driver.output.constData());
        QVERIFY(driver.timer.has_value());
    }

    void theSecondAnswerIsIgnored()
    {
        ResponsePointer open;
        ConnectionDriver driver([&](const auto &, const ResponsePointer &response) { open = response; });
        driver.feed(getRequest);
        open->end("1");
        const QByteArray output = driver.output;
        open->end("2");
        QCOMPARE(driver.output, output);

        // Neither does a late second call answer the next request.
        const ResponsePointer first = open;
        driver.feed(getRequest);
        first->end("3");
        QCOMPARE(driver.output, output);
        open->end("4");
        QCOMPARE(answersIn(driver.output).size(), 2);
    }

    void answersAfterTheClientLeftAreIgnored_data()
    {
        QTest::addColumn<QByteArray>("how");
        for (const char *how : {"end", "reset", "hang-up", "destroyed"})
            QTest::newRow(how) << QByteArray(how);
    }
    void answersAfterTheClientLeftAreIgnored()
    {
        QFETCH(QByteArray, how);
        ResponsePointer open;
        int finished = 0;
        auto driver = std::make_unique<ConnectionDriver>(
            [&](const auto &, const ResponsePointer &response) { open = response; });
        driver->feed(getRequest);
        open->onFinished([&] { ++finished; });
        if (how == "end")
            driver->endInput();
        else if (how == "reset")
            driver->lose();
        else if (how == "hang-up")
            driver->hangUp();
        if (how == "destroyed") {
            driver.reset();
            QCOMPARE(finished, 0);
        } else {
            QCOMPARE(finished, 1);
            QVERIFY(driver->closed);
            QVERIFY(!open->isOpen());
        }
        open->end("late");
        QCOMPARE(finished, 1);
        QVERIFY(!driver || driver->output.isEmpty());
    }

    void aRequestCompleteBeforeTheEndStillGetsItsAnswer()
    {
        int requests = 0;
        ConnectionDriver driver([&](const RequestPointer &request, const ResponsePointer &response) {
            ++requests;
            echo(request, response);
        });
        // Everything arrives before the application is asked for the first time.
        const QByteArray stream = getRequest + putRequest + "GET /incompl";
        driver.connection.received({stream.constData(), static_cast<std::size_t>(stream.size())});
        driver.connection.endOfInput();
        driver.deliver();
        const QVector<QPair<int, QByteArray>> expected{{200, "1 /a?b=c "}, {200, "4 /x hello"}};
        QCOMPARE(answersIn(driver.output), expected);
        QCOMPARE(requests, 2);
        QVERIFY(driver.closed);
    }

    void anAnswerThatIsLeavingSurvivesTheEnd()
    {
        ConnectionDriver driver(echo);
        driver.holdsBack = true;
        driver.feed(getRequest + putRequest + "GET /incompl");
        driver.endInput();
        QVERIFY(!driver.closed);
        driver.flush();
        QVERIFY(!driver.closed);
        driver.flush();
        const QVector<QPair<int, QByteArray>> expected{{200, "1 /a?b=c "}, {200, "4 /x hello"}};
        QCOMPARE(answersIn(driver.output), expected);
        QVERIFY(driver.closed);
    }

    void theEndEndsAParkedPipeline()
    {
        QVector<ResponsePointer> responses;
        ConnectionDriver driver(
            [&](const auto &, const ResponsePointer &response) { responses.append(response); });
        driver.feed(getRequest + getRequest);
        driver.endInput();
        QCOMPARE(responses.size(), 1);
        QVERIFY(!responses.constFirst()->isOpen());
        QVERIFY(driver.closed);
    }

    void aDepartureBehindWaitingInputIsNotForgotten_data()
    {
        QTest::addColumn<bool>("queued");
        QTest::newRow("while the answer before it leaves") << true;
        QTest::newRow("just before the answer before it") << false;
    }
    void aDepartureBehindWaitingInputIsNotForgotten()
    {
        QFETCH(bool, queued);
        QVector<ResponsePointer> responses;
        ConnectionDriver driver(
            [&](const auto &, const ResponsePointer &response) { responses.append(response); });
        QByteArray burst;
        while (burst.size() <= Connection::maxWaitingBytes + 2 * getRequest.size())
            burst += getRequest;
        driver.feed(burst);
        QVERIFY(!driver.reading);
        if (queued) {
            driver.holdsBack = true;
            responses.constFirst()->end("1");
            driver.hangUp();
            driver.flush();
        } else {
            driver.connection.hungUp();
            responses.constFirst()->end("1");
            driver.deliver();
        }
        // The second request is served, and as nobody waits for it any more it does not stay open.
        QCOMPARE(responses.size(), 2);
        QVERIFY(!responses.constLast()->isOpen());
        QVERIFY(driver.closed);
    }

    void aLostRequestStillReachesTheApplicationOnce()
    {
        int requests = 0;
        int finished = 0;
        ConnectionDriver driver([&](const auto &, const ResponsePointer &response) {
            ++requests;
            response->onFinished([&] { ++finished; });
        });
        driver.connection.received({putRequest.constData(), static_cast<std::size_t>(putRequest.size())});
        driver.connection.lost();
        driver.deliver();
        QCOMPARE(requests, 1);
        QCOMPARE(finished, 1);
        QVERIFY(driver.closed);
    }

    void theConnectionStaysOpenAsAsked_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<bool>("stays");
        QTest::newRow("1.1") << QByteArray("GET / HTTP/1.1\r\nHost: a\r\n\r\n") << true;
        QTest::newRow("1.1 close") << QByteArray("GET / HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n")
                                   << false;
        QTest::newRow("1.1 Close among others")
            << QByteArray("GET / HTTP/1.1\r\nHost: a\r\nConnection: x, Close\r\n\r\n") << false;
        QTest::newRow("1.0") << QByteArray("GET / HTTP/1.0\r\n\r\n") << false;
        QTest::newRow("1.0 keep-alive")
            << QByteArray("GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n") << true;
    }
    void theConnectionStaysOpenAsAsked()
    {
        QFETCH(QByteArray, head);
        QFETCH(bool, stays);
        ConnectionDriver driver(echo);
        driver.feed(head + getRequest);
        QCOMPARE(answersIn(driver.output).size(), stays ? 2 : 1);
        QCOMPARE(driver.output.contains("Connection: close"), !stays);
        QCOMPARE(driver.outputEnded, !stays);
        QVERIFY(!driver.closed);
    }

    void aClosingConnectionLingersUntilTheClientEnds()
    {
        ConnectionDriver driver(echo);
        driver.feed("GET / HTTP/1.0\r\n\r\n");
        QCOMPARE(driver.timer.value(), Connection::lingerTime);
        driver.timeOut();
        QVERIFY(driver.closed);
    }

    void headAnswersHaveALengthAndNoBody()
    {
        ConnectionDriver driver(
            [](const auto &, const ResponsePointer &response) { response->end("12345"); });
        driver.feed("HEAD / HTTP/1.1\r\nHost: a\r\n\r\n");
        QVERIFY(driver.output.contains("\r\nContent-Length: 5\r\n"));
        QVERIFY(driver.output.endsWith("\r\n\r\n"));
        driver.output.clear();
        driver.feed(getRequest);
        QCOMPARE(answersIn(driver.output).constFirst().second, QByteArray("12345"));
    }

    void bodilessStatusesHaveNeitherLengthNorBody_data()
    {
        QTest::addColumn<int>("status");
        QTest::newRow("204") << 204;
        QTest::newRow("304") << 304;
    }
    void bodilessStatusesHaveNeitherLengthNorBody()
    {
        QFETCH(int, status);
        ConnectionDriver driver([status](const auto &, const ResponsePointer &response) {
            response->writeHead(status);
            response->end("not to be sent");
        });
        driver.feed(getRequest);
        QVERIFY(!driver.output.contains("Content-Length"));
        QVERIFY(driver.output.endsWith("\r\n\r\n"));
    }

    void resetContentHasALengthOfZeroAndNoBody()
    {
        ConnectionDriver driver([](const auto &, const ResponsePointer &response) {
            response->writeHead(205);
            response->end("not to be sent");
        });
        driver.feed(getRequest + getRequest);
        const QVector<QPair<int, QByteArray>> expected{{205, {}}, {205, {}}};
        QCOMPARE(answersIn(driver.output), expected);
        QVERIFY(driver.output.contains("\r\nContent-Length: 0\r\n"));
    }

    void methodsHaveTheirCodes_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<int>("code");
        QTest::newRow("DELETE") << QByteArray("DELETE") << 0;
        QTest::newRow("GET") << QByteArray("GET") << 1;
        QTest::newRow("HEAD") << QByteArray("HEAD") << 2;
        QTest::newRow("POST") << QByteArray("POST") << 3;
        QTest::newRow("PUT") << QByteArray("PUT") << 4;
        QTest::newRow("OPTIONS") << QByteArray("OPTIONS") << 6;
        QTest::newRow("TRACE") << QByteArray("TRACE") << 7;
        QTest::newRow("PATCH") << QByteArray("PATCH") << 28;
    }
    void methodsHaveTheirCodes()
    {
        QFETCH(QByteArray, method);
        QFETCH(int, code);
        int seen = -1;
        ConnectionDriver driver(
            [&](const RequestPointer &request, const auto &) { seen = static_cast<int>(request->method()); });
        driver.feed(method + " / HTTP/1.1\r\nHost: a\r\n\r\n");
        QCOMPARE(seen, code);
    }

    void connectIsARequestLikeOthers()
    {
        RequestPointer seen;
        ConnectionDriver driver([&](const RequestPointer &request, const ResponsePointer &response) {
            seen = request;
            response->end({});
        });
        driver.feed("CONNECT a:443 HTTP/1.1\r\nHost: a\r\n\r\n" + getRequest);
        QCOMPARE(answersIn(driver.output).size(), 2);
    }

    void urlsAreRelativeAndAsSent_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("text");
        QTest::newRow("plain") << QByteArray("/context/abc?x=1") << "/context/abc"
                               << "/context/abc?x=1";
        QTest::newRow("encoded slash") << QByteArray("/a%2Fb%20c") << "/a%2Fb%20c"
                                       << "/a%2Fb c";
        QTest::newRow("encoded letters") << QByteArray("/%63ontext") << "/context"
                                         << "/context";
        QTest::newRow("encoded NUL") << QByteArray("/a%00b") << "/a%00b"
                                     << "/a%00b";
        QTest::newRow("looks like an authority") << QByteArray("//evil/context/abc") << "//evil/context/abc"
                                                 << "";
        QTest::newRow("empty query") << QByteArray("/a?") << "/a"
                                     << "/a?";
        QTest::newRow("second question mark") << QByteArray("/a?b?c") << "/a"
                                              << "/a?b?c";
        QTest::newRow("absolute") << QByteArray("http://u:p@h:1/a?b") << "/a"
                                  << "/a?b";
        QTest::newRow("asterisk") << QByteArray("*") << "*"
                                  << "*";
    }
    void urlsAreRelativeAndAsSent()
    {
        QFETCH(QByteArray, target);
        QFETCH(QString, path);
        QFETCH(QString, text);
        RequestPointer seen;
        ConnectionDriver driver([&](const RequestPointer &request, const auto &) { seen = request; });
        driver.feed("GET " + target + " HTTP/1.1\r\nHost: a\r\n\r\n");
        QVERIFY(seen);
        QVERIFY(seen->url().host().isEmpty());
        QVERIFY(seen->url().scheme().isEmpty());
        QCOMPARE(seen->url().path(QUrl::PrettyDecoded | QUrl::EncodeSpaces), path);
        QCOMPARE(seen->url().toString(), text);
    }

    void headersReachTheApplication()
    {
        RequestPointer seen;
        ConnectionDriver driver([&](const RequestPointer &request, const auto &) { seen = request; });
        driver.feed("POST / HTTP/1.1\r\nHost: a\r\nPrefer:  wait=$.gr\xc3\xb6\xc3\x9f"
                    "e \t\r\nAccept: x\r\n"
                    "accept: y\r\nEmpty:\r\nTransfer-Encoding: chunked\r\n\r\n0\r\nAccept: z\r\n\r\n");
        QCOMPARE(seen->header(QStringLiteral("prefer")), QStringLiteral("wait=$.größe"));
        QCOMPARE(seen->header(QStringLiteral("ACCEPT")), QStringLiteral("x, y"));
        QVERIFY(seen->header(QStringLiteral("Absent")).isNull());
        QVERIFY(!seen->header(QStringLiteral("Empty")).isNull());
        QVERIFY(seen->header(QStringLiteral("Empty")).isEmpty());
    }

    void timersFollowWhatIsWaitedFor()
    {
        using std::chrono::milliseconds;
        Limits limits;
        limits.headerTimeout = milliseconds(1);
        limits.bodyTimeout = milliseconds(2);
        limits.idleTimeout = milliseconds(3);
        ResponsePointer open;
        ConnectionDriver driver([&](const auto &, const ResponsePointer &response) { open = response; },
                                limits);
        QCOMPARE(driver.timer.value(), limits.idleTimeout);
        driver.feed("P");
        QCOMPARE(driver.timer.value(), limits.headerTimeout);
        driver.timer = milliseconds(99);
        driver.feed("UT / HTTP/1.1\r\n");
        QCOMPARE(driver.timer.value(), milliseconds(99)); // Bytes of a header block do not put its end off.
        driver.feed("Host: a\r\nContent-Length: 2\r\n\r\n");
        QCOMPARE(driver.timer.value(), limits.bodyTimeout);
        driver.timer = milliseconds(99);
        driver.feed("x");
        QCOMPARE(driver.timer.value(), limits.bodyTimeout);
        driver.feed("y");
        QVERIFY(!driver.timer.has_value());
        driver.holdsBack = true;
        open->end("z");
        QCOMPARE(driver.timer.value(), limits.idleTimeout);
        driver.timer = milliseconds(99);
        driver.flush();
        QCOMPARE(driver.timer.value(), limits.idleTimeout);
    }

    void theTimeForAHeaderAlsoRunsForOneThatHasWaited()
    {
        Limits limits;
        limits.headerTimeout = std::chrono::milliseconds(1);
        ResponsePointer open;
        ConnectionDriver driver([&](const auto &, const ResponsePointer &response) { open = response; },
                                limits);
        driver.feed(getRequest + getRequest.chopped(1));
        QVERIFY(!driver.timer.has_value());
        open->end({});
        QCOMPARE(driver.timer.value(), limits.headerTimeout);
        driver.timeOut();
        QCOMPARE(answersIn(driver.output).constLast().first, 408);
    }

    void aTrailerThatComesBitByBitIsProgress()
    {
        ConnectionDriver driver(echo);
        driver.feed(chunkedRequest.chopped(3));
        driver.timer.reset();
        driver.feed("\n");
        QCOMPARE(driver.timer.value(), driver.limits.bodyTimeout);
    }

    void aClientThatDoesNotReadItsRefusalIsEnded()
    {
        ConnectionDriver driver(echo);
        driver.holdsBack = true;
        driver.feed("GET / HTTP/3.0\r\n");
        QVERIFY(!driver.held.isEmpty());
        driver.feed(QByteArray(Connection::maxWaitingBytes + 1, 'x'));
        QVERIFY(!driver.reading);
        driver.timeOut();
        QVERIFY(driver.closed);
    }

    void whatDawdlesIsEnded_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("status");
        QTest::newRow("idle") << QByteArray() << 0;
        QTest::newRow("idle after an answer") << getRequest << 0;
        QTest::newRow("one byte") << QByteArray("G") << 408;
        QTest::newRow("empty line") << QByteArray("\r\n") << 408;
        QTest::newRow("headers") << getRequest.chopped(1) << 408;
        QTest::newRow("body") << putRequest.chopped(1) << 408;
        QTest::newRow("chunk size") << chunkedRequest.left(70) << 408;
        QTest::newRow("trailers") << chunkedRequest.chopped(1) << 408;
    }
    void whatDawdlesIsEnded()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, status);
        ConnectionDriver driver(echo);
        if (!bytes.isEmpty())
            driver.feed(bytes);
        driver.output.clear();
        QVERIFY(driver.timer.has_value());
        driver.timeOut();
        if (status == 0) {
            QVERIFY(driver.output.isEmpty());
            QVERIFY(driver.closed);
        } else {
            QCOMPARE(answersIn(driver.output).constFirst().first, status);
            QVERIFY(driver.outputEnded);
        }
    }

    void anAnswerWithoutProgressEnds()
    {
        ConnectionDriver driver(
            [](const auto &, const ResponsePointer &response) { response->end("12345"); });
        driver.holdsBack = true;
        driver.feed(getRequest);
        driver.held.chop(1);
        driver.timeOut();
        QVERIFY(!driver.closed);
        QVERIFY(driver.timer.has_value());
        driver.timeOut();
        QVERIFY(driver.closed);
    }

    void aBrokenSocketEndsTheConnection()
    {
        bool finished = false;
        ConnectionDriver driver([&](const auto &, const ResponsePointer &response) {
            response->onFinished([&] { finished = true; });
            response->end("x");
        });
        driver.broken = true;
        driver.feed(getRequest);
        QVERIFY(finished);
        QVERIFY(driver.closed);
    }

    void connectionsThatAreTurnedAwayAreTold()
    {
        ConnectionDriver driver(echo);
        driver.connection.turnAway(503, QStringLiteral("There are too many connections."));
        QCOMPARE(answersIn(driver.output).constFirst().first, 503);
        driver.feed(getRequest);
        QCOMPARE(answersIn(driver.output).size(), 1);
        driver.endInput();
        QVERIFY(driver.closed);
    }
};

QTEST_GUILESS_MAIN(ConnectionTest)
#include "tst_connection.moc"
