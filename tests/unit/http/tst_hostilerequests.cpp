#include "connectiondriver.h"
#include "hostilerequests.h"
#include "plainrequests.h"

#include <QLoggingCategory>
#include <QtTest>

#include <algorithm>

using namespace http::server;

namespace {

const QByteArray marker = "GET /first/smuggled HTTP/1.1\r\nHost: a\r\n\r\n";

/// The limits that the table is written for, and times that tell apart what a connection waits for.
Limits limits()
{
    Limits limits;
    limits.maxTargetBytes = 300;
    limits.maxHeaderBytes = 1000;
    limits.maxBodyBytes = 1000;
    limits.headerTimeout = std::chrono::milliseconds(1);
    limits.bodyTimeout = std::chrono::milliseconds(2);
    limits.idleTimeout = std::chrono::milliseconds(3);
    return limits;
}

QByteArray methodName(Request::HttpMethod method)
{
    switch (method) {
    case Request::HttpMethod::Delete: return "DELETE";
    case Request::HttpMethod::Get: return "GET";
    case Request::HttpMethod::Head: return "HEAD";
    case Request::HttpMethod::Post: return "POST";
    case Request::HttpMethod::Put: return "PUT";
    case Request::HttpMethod::Connect: return "CONNECT";
    case Request::HttpMethod::Options: return "OPTIONS";
    case Request::HttpMethod::Trace: return "TRACE";
    case Request::HttpMethod::Patch: return "PATCH";
    case Request::HttpMethod::Unknown: break;
    }
    return "UNKNOWN";
}

/// A request as the table tells of it.
QByteArray told(const Request &request)
{
    const QUrl &url = request.url();
    QByteArray target = url.path(QUrl::FullyEncoded).toLatin1();
    if (url.hasQuery())
        target += '?' + url.query(QUrl::FullyEncoded).toLatin1();
    if (target.isEmpty())
        target = "-";
    return methodName(request.method()) + ' ' + target
           + (request.body().isEmpty() ? QByteArray() : ' ' + request.body());
}

/// One client's connection, and what came of what it sent.
class Attempt final
{
public:
    Attempt()
        : driver(
            [this](const auto &request, const auto &response) {
                read();
                outcomes.append(told(*request));
                response->writeHead(204);
                response->end({});
            },
            limits())
    {
    }

    /// Reads the answers that were written since the last time; those of the application are known already.
    void read()
    {
        while (!driver.output.isEmpty()) {
            const int status = driver.output.mid(9, 3).toInt();
            int end = driver.output.indexOf("\r\n\r\n") + 4;
            if (status >= 400)
                end = driver.output.size();
            if (status != 204)
                outcomes.append(QByteArray::number(status));
            else
                ++answered;
            driver.output.remove(0, end);
        }
    }

    void end()
    {
        read();
        if (driver.outputEnded) {
            if (outcomes.constLast().toInt() < 400)
                outcomes.append("closes");
        } else if (driver.timer != driver.limits.idleTimeout) {
            outcomes.append("waits");
        }
    }

    QVector<QByteArray> outcomes;
    int answered = 0;
    ConnectionDriver driver;
};

QByteArray shown(const QVector<QByteArray> &outcomes)
{
    QByteArray text;
    for (const QByteArray &outcome : outcomes)
        text += " [" + outcome.toPercentEncoding(" /?%*") + ']';
    return text;
}

} // namespace

/// Every entry of the table, however its bytes are cut.
class HostileRequestsTest : public QObject
{
    Q_OBJECT

    const QVector<HostileRequest> m_table = hostilerequests::all(QStringLiteral(HOSTILE_REQUESTS));

    /// Feeds `pieces` and tells the outcomes that are not those of `expected`, which is nothing if all are.
    static QByteArray wrongOutcomes(const QVector<QByteArray> &pieces, const HostileRequest &expected)
    {
        Attempt attempt;
        for (const QByteArray &piece : pieces) {
            if (!piece.isEmpty())
                attempt.driver.feed(piece);
        }
        attempt.end();
        const auto requests = std::count_if(expected.outcomes.cbegin(), expected.outcomes.cend(),
                                            &HostileRequest::isForApplication);
        if (attempt.outcomes == expected.outcomes && attempt.answered == requests)
            return {};
        return shown(attempt.outcomes) + " instead of" + shown(expected.outcomes);
    }

    void addRows() const
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < m_table.size(); ++i)
            QTest::newRow(m_table.at(i).name.constData()) << i;
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Some hundred thousand refusals need not be told.
        QLoggingCategory::setFilterRules(QStringLiteral("ch.tessel.http.server.connection.info=false"));
    }

    void whole_data() { addRows(); }
    void whole()
    {
        QFETCH(int, index);
        const HostileRequest &request = m_table.at(index);
        const QByteArray wrong = wrongOutcomes({request.bytes}, request);
        QVERIFY2(wrong.isEmpty(), wrong.constData());
    }

    void byteByByte_data() { addRows(); }
    void byteByByte()
    {
        QFETCH(int, index);
        const HostileRequest &request = m_table.at(index);
        QVector<QByteArray> bytes;
        for (const char byte : request.bytes)
            bytes.append(QByteArray(1, byte));
        const QByteArray wrong = wrongOutcomes(bytes, request);
        QVERIFY2(wrong.isEmpty(), wrong.constData());
    }

    void cutInTwoAnywhere_data() { addRows(); }
    void cutInTwoAnywhere()
    {
        QFETCH(int, index);
        const HostileRequest &request = m_table.at(index);
        for (int cut = 1; cut < request.bytes.size(); ++cut) {
            const QByteArray wrong =
                wrongOutcomes({request.bytes.left(cut), request.bytes.mid(cut)}, request);
            QVERIFY2(wrong.isEmpty(),
                     qPrintable(QStringLiteral("cut at %1:").arg(cut) + QString::fromLatin1(wrong)));
        }
    }

    // The client sends all before the first answer has left; an interim answer may then be behind its
    // request.
    void behindAnswersThatAreLate_data() { addRows(); }
    void behindAnswersThatAreLate()
    {
        QFETCH(int, index);
        const HostileRequest &request = m_table.at(index);
        Attempt attempt;
        attempt.driver.holdsBack = true;
        attempt.driver.feed(request.bytes);
        while (!attempt.driver.held.isEmpty())
            attempt.driver.flush();
        attempt.end();
        QVector<QByteArray> expected = request.outcomes;
        QCOMPARE(attempt.outcomes.removeAll("100"), expected.removeAll("100"));
        QCOMPARE(shown(attempt.outcomes), shown(expected));
    }

    void nothingBehindTheEndIsARequest_data() { addRows(); }
    void nothingBehindTheEndIsARequest()
    {
        QFETCH(int, index);
        const HostileRequest &request = m_table.at(index);
        if (request.ends()) {
            const QByteArray together = wrongOutcomes({request.bytes + marker}, request);
            QVERIFY2(together.isEmpty(), together.constData());
            const QByteArray later = wrongOutcomes({request.bytes, marker, marker}, request);
            QVERIFY2(later.isEmpty(), later.constData());
        } else {
            // What is incomplete stays so when the client ends, and what is complete was served.
            Attempt attempt;
            attempt.driver.feed(request.bytes);
            attempt.end();
            const QVector<QByteArray> before = attempt.outcomes;
            attempt.driver.endInput();
            QVERIFY(attempt.driver.closed);
            attempt.read();
            QCOMPARE(attempt.outcomes, before);
        }
    }

    // A second opinion on where a request begins and ends.
    void aPlainReaderSeesTheSameRequests_data() { addRows(); }
    void aPlainReaderSeesTheSameRequests()
    {
        QFETCH(int, index);
        const HostileRequest &request = m_table.at(index);
        const QVector<PlainRequest> plain = PlainRequests(request.bytes).found();
        int seen = 0;
        for (const QByteArray &outcome : request.outcomes) {
            if (!HostileRequest::isForApplication(outcome))
                continue;
            QVERIFY2(seen < plain.size(), outcome.constData());
            const PlainRequest &found = plain.at(seen++);
            QVERIFY2(outcome.startsWith(found.method + ' '), found.method.constData());
            QVERIFY2(outcome.endsWith(found.body), found.body.constData());
            QCOMPARE(outcome.size() - found.body.size() - int(!found.body.isEmpty()),
                     found.method.size() + 1 + outcome.split(' ').at(1).size());
        }
    }
};

QTEST_GUILESS_MAIN(HostileRequestsTest)
#include "tst_hostilerequests.moc"
