#include "connectiondriver.h"

#include <http/server/answer.h>

#include <QtTest>

using namespace http::server;

namespace {

using RequestPointer = QSharedPointer<Request>;
using ResponsePointer = QSharedPointer<Response>;

const QByteArray host = "Host: localhost\r\n";
const QByteArray get = "GET /a HTTP/1.1\r\n" + host + "\r\n";
const QByteArray put = "PUT /a HTTP/1.1\r\n" + host + "Content-Length: 5\r\n\r\nhello";

/// Turns away with `status` whoever has a field "Stranger".
auto turningAway(int status)
{
    return [status](Request::HttpMethod /*method*/, const HeaderFields &headers) {
        Screening screening;
        if (headers.contains("Stranger"))
            screening.answer = problem(status, QStringLiteral("No."));
        return screening;
    };
}

QByteArray strange(QByteArray request)
{
    return request.replace("Host:", "Stranger: yes\r\nHost:");
}

} // namespace

class ScreeningTest : public QObject
{
    Q_OBJECT

    int served = 0;
    ConnectionDriver::Handler count = [this](const RequestPointer &, const ResponsePointer &response) {
        ++served;
        response->end("served");
    };

private Q_SLOTS:
    void init() { served = 0; }

    void theGuardSeesMethodAndFields()
    {
        ConnectionDriver driver(count);
        QVector<QPair<int, QByteArray>> seen;
        driver.screening = [&](Request::HttpMethod method, const HeaderFields &headers) {
            seen.append({static_cast<int>(method), headers.joined("host")});
            return Screening();
        };
        driver.feed(get + put);
        QCOMPARE(seen, (QVector<QPair<int, QByteArray>>{{1, "localhost"}, {4, "localhost"}}));
        QCOMPARE(served, 2);
    }

    void itIsAskedBeforeTheBodyIsRead()
    {
        ConnectionDriver driver(count);
        driver.screening = turningAway(421);
        driver.feed(strange("PUT / HTTP/1.1\r\n" + host + "Content-Length: 60000000\r\n\r\n"));
        QVERIFY(driver.output.startsWith("HTTP/1.1 421 Misdirected Request\r\n"));
        QVERIFY(driver.output.contains("\r\nConnection: close\r\n"));
        QVERIFY(driver.outputEnded);
        driver.feed(get); // which is the body
        QCOMPARE(driver.output.count("HTTP/1.1 "), 1);
        driver.endInput();
        QVERIFY(driver.closed);
        QCOMPARE(served, 0);
    }

    void noOneIsToldToContinueWithABodyThatNobodyWants()
    {
        ConnectionDriver driver(count);
        driver.screening = turningAway(403);
        driver.feed(
            strange("PUT / HTTP/1.1\r\n" + host + "Expect: 100-continue\r\nContent-Length: 5\r\n\r\n"));
        QVERIFY(driver.output.startsWith("HTTP/1.1 403 "));
        QVERIFY(!driver.output.contains("100 Continue"));
    }

    void aRequestWithoutABodyKeepsTheConnection()
    {
        ConnectionDriver driver(count);
        driver.screening = turningAway(401);
        driver.feed(strange(get) + get + strange(get) + get);
        QCOMPARE(driver.output.count("HTTP/1.1 401 "), 2);
        QCOMPARE(driver.output.count("HTTP/1.1 200 "), 2);
        QCOMPARE(driver.output.count("Connection: keep-alive"), 4);
        QCOMPARE(served, 2);
        QVERIFY(!driver.outputEnded);
    }

    void theClientMayAskToClose()
    {
        ConnectionDriver driver(count);
        driver.screening = turningAway(401);
        driver.feed(strange("GET / HTTP/1.1\r\n" + host + "Connection: close\r\n\r\n") + get);
        QVERIFY(driver.output.contains("Connection: close"));
        QVERIFY(driver.outputEnded);
        QCOMPARE(served, 0);
    }

    void anAnswerToHeadHasNoBody()
    {
        ConnectionDriver driver(count);
        driver.screening = turningAway(401);
        driver.feed(strange("HEAD / HTTP/1.1\r\n" + host + "\r\n"));
        QVERIFY(driver.output.startsWith("HTTP/1.1 401 "));
        QVERIFY(driver.output.endsWith("\r\n\r\n"));
    }

    void requestsThatWaitAreScreenedInTheirTurn()
    {
        ResponsePointer parked;
        ConnectionDriver driver([&](const RequestPointer &, const ResponsePointer &response) {
            ++served;
            parked = response;
        });
        driver.screening = turningAway(401);
        driver.feed(get + strange(get) + strange(get) + get);
        QCOMPARE(served, 1);
        QCOMPARE(driver.output, QByteArray());
        parked->end("first");
        driver.deliver();
        QCOMPARE(driver.output.count("HTTP/1.1 401 "), 2);
        QCOMPARE(served, 2);
    }

    void allThatCameBeforeAHalfCloseIsAnswered()
    {
        ConnectionDriver driver(count);
        driver.screening = turningAway(401);
        const QByteArray requests = get + strange(get) + get + strange(get);
        driver.connection.received({requests.constData(), static_cast<std::size_t>(requests.size())});
        driver.endInput();
        QCOMPARE(served, 2);
        QCOMPARE(driver.output.count("HTTP/1.1 401 "), 2);
        QVERIFY(driver.closed);
    }

    void anAnswerThatIsNotTakenHoldsTheNextRequestBack()
    {
        ConnectionDriver driver(count);
        driver.screening = turningAway(401);
        driver.holdsBack = true;
        driver.feed(strange(get) + get);
        QCOMPARE(served, 0);
        driver.flush();
        QCOMPARE(served, 1);
    }

    void theGuardsFieldsGoOutWithTheAnswer()
    {
        ConnectionDriver driver([](const RequestPointer &, const ResponsePointer &response) {
            response->setHeader(QStringLiteral("Own"), QStringLiteral("1"));
            response->end("served");
        });
        driver.screening = [first = true](auto, const auto &) mutable {
            Screening screening;
            if (std::exchange(first, false))
                screening.fields = {{"Vary", "Origin"}};
            return screening;
        };
        driver.feed(get + get);
        QVERIFY(driver.output.contains("\r\nOwn: 1\r\nVary: Origin\r\nContent-Length: 6\r\n"));
        QCOMPARE(driver.output.count("Vary"), 1); // and with no other answer
    }

    void theGuardsFieldsGoOutWithARefusalOfTheBody()
    {
        ConnectionDriver driver(count);
        driver.screening = [](auto, const auto &) { return Screening{{}, {{"Vary", "Origin"}}}; };
        driver.feed("PUT / HTTP/1.1\r\n" + host + "Transfer-Encoding: chunked\r\n\r\nno size\r\n");
        QVERIFY(driver.output.startsWith("HTTP/1.1 400 "));
        QVERIFY(driver.output.contains("\r\nVary: Origin\r\n"));
    }

    // Whoever has sent that need not be the page of the answer before.
    void theGuardsFieldsDoNotGoOutWithTheRefusalOfTheNextHead()
    {
        ConnectionDriver driver(count);
        driver.screening = [](auto, const auto &) { return Screening{{}, {{"Vary", "Origin"}}}; };
        driver.feed(get + "GET / HTTP/1.1\r\n\r\n"); // no Host
        QCOMPARE(driver.output.count("Vary"), 1);
        const QByteArray refusal = driver.output.mid(driver.output.lastIndexOf("HTTP/1.1 "));
        QVERIFY(refusal.startsWith("HTTP/1.1 400 "));
        QVERIFY(!refusal.contains("Vary"));
    }

    void itIsAskedBeforeTheSizeOfTheBody()
    {
        ConnectionDriver driver(count);
        driver.screening = [](auto, const HeaderFields &headers) {
            Screening screening = turningAway(421)(Request::HttpMethod::Put, headers);
            screening.fields = {{"Vary", "Origin"}};
            return screening;
        };
        const QByteArray request =
            "PUT / HTTP/1.1\r\n" + host + "Expect: 100-continue\r\nContent-Length: 60000000000\r\n\r\n";
        driver.feed(strange(request));
        QVERIFY(driver.output.startsWith("HTTP/1.1 421 "));

        ConnectionDriver admitted(count);
        admitted.screening = driver.screening;
        admitted.feed(request);
        QVERIFY(admitted.output.startsWith("HTTP/1.1 413 "));
        QVERIFY(admitted.output.contains("\r\nVary: Origin\r\n"));
        QVERIFY(admitted.outputEnded);
    }

    void whatIsMalformedIsNotScreened()
    {
        ConnectionDriver driver(count);
        driver.screening = turningAway(421);
        driver.feed("GET / HTTP/1.1\r\nStranger: yes\r\n\r\n"); // no Host
        QVERIFY(driver.output.startsWith("HTTP/1.1 400 "));
    }
};

QTEST_GUILESS_MAIN(ScreeningTest)
#include "tst_screening.moc"
