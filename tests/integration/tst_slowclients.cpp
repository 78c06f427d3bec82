#include "hostlog.h"
#include "hostprocess.h"
#include "problem.h"
#include "processfigures.h"
#include "rawclient.h"
#include "wellbehavedclient.h"

#include <QElapsedTimer>
#include <QtTest>

#include <algorithm>
#include <optional>
#include <vector>

namespace {

constexpr int count = 500;
/// The default of http.maxHeaderBytes.
constexpr qint64 bytesABlock = 65536;

bool isTold(const RawClient &client)
{
    return client.isReadable(0);
}

} // namespace

/// Many clients that begin a request and do not get to its end, while one that does nothing wrong is served.
class SlowClientsTest final : public QObject
{
    Q_OBJECT

    std::optional<HostProcess> host;
    std::optional<ProcessFigures> figures;
    std::optional<WellBehavedClient> other;
    std::vector<RawClient> clients;
    qint64 memoryBefore = 0;
    int descriptorsBefore = 0;

    void startHost(const QByteArray &settings)
    {
        host.emplace(QStringList{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)}, settings);
        QVERIFY2(host->start(), host->readLog().constData());
        figures.emplace(host->process.processId());
        other.emplace(host->port());
        QCOMPARE(other->round(), QByteArray());
        descriptorsBefore = figures->openDescriptors();
        memoryBefore = figures->peakBytes();
    }
    template <typename Progress>
    void connectAll(const QByteArray &bytes, Progress &&makeProgress)
    {
        clients.reserve(count);
        for (int i = 0; i < count; ++i) {
            clients.emplace_back(host->port());
            clients.back().send(bytes);
            makeProgress();
        }
    }
    /// Has the clients that are not told anything yet go on, now and then, until all are.
    template <typename Progress>
    void goOnUntilAllAreTold(Progress &&makeProgress)
    {
        QElapsedTimer clock;
        clock.start();
        while (!std::all_of(clients.cbegin(), clients.cend(), &isTold)) {
            QVERIFY2(clock.elapsed() < 60000, "A client is not told that it is too slow.");
            makeProgress();
            QCOMPARE(other->round(), QByteArray());
            drainLog(*host);
            static_cast<void>(clients.back().isReadable(20));
        }
    }
    void verifyAllAreRefused(const QByteArray &reason)
    {
        for (RawClient &client : clients) {
            const QByteArray answer = client.readUntilClosed();
            QVERIFY2(isProblem(answer, 408), answer.constData());
            QVERIFY2(answer.contains(reason), answer.constData());
            QCOMPARE(answer.count("HTTP/1.1"), 1);
        }
        QVERIFY(waitForLog(*host, "Refused a request with 408 " + reason, count));
    }
    void verifyGrowth(qint64 bytesAClient)
    {
        verifyMemoryGrowth(figures->peakBytes() - memoryBefore, count * bytesAClient);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!raiseDescriptorLimit(count + 200))
            QSKIP("The limit of open files cannot be raised far enough.");
    }
    void cleanup()
    {
        clients.clear();
        other.reset();
        QVERIFY2(stopHost(*host), host->readLog().constData());
    }

    void headersThatNeverEnd_data()
    {
        QTest::addColumn<QByteArray>("begin");
        QTest::addColumn<qint64>("bytesAClient");
        const QByteArray begin = "GET /context/kept HTTP/1.1\r\nHost: localhost\r\nX: ";
        QTest::newRow("hardly begun") << QByteArray("G") << bytesAConnection;
        QTest::newRow("close to the limit")
            << begin + QByteArray(60000, 'x') << bytesABlock + bytesAConnection;
    }
    void headersThatNeverEnd()
    {
        QFETCH(QByteArray, begin);
        QFETCH(qint64, bytesAClient);
        startHost("http.headerTimeout=1");
        QElapsedTimer clock;
        clock.start();
        connectAll(begin, [] {});
        goOnUntilAllAreTold([this] {
            for (RawClient &client : clients) {
                if (!isTold(client))
                    static_cast<void>(client.sendSome("E", 0));
            }
        });
        QVERIFY(clock.elapsed() >= 990);
        verifyAllAreRefused("The headers took too long.");
        // Although nobody closes them from the other end.
        QTRY_COMPARE_WITH_TIMEOUT(figures->openDescriptors(), descriptorsBefore, 30000);
        verifyGrowth(bytesAClient);
    }

    // Each announces as much as a body may have.
    void bodiesThatStall_data()
    {
        QTest::addColumn<QByteArray>("announcement");
        QTest::newRow("length") << QByteArray("Content-Length: 67108864\r\n\r\n");
        QTest::newRow("chunk") << QByteArray("Transfer-Encoding: chunked\r\n\r\n4000000\r\n");
    }
    void bodiesThatStall()
    {
        QFETCH(QByteArray, announcement);
        constexpr int sent = 16384;
        startHost("http.bodyTimeout=1.5");
        RawClient slow(host->port());
        slow.send("PUT /context/slow HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10008\r\n\r\n{\"a\":\"");
        int left = 10000;
        const auto makeProgress = [&] { left -= slow.sendSome("x", 0); };
        QElapsedTimer clock;
        clock.start();
        connectAll("PUT /context/stalled HTTP/1.1\r\nHost: localhost\r\n" + announcement
                       + QByteArray(sent, 'x'),
                   makeProgress);
        // One that makes progress has all the time that it needs.
        goOnUntilAllAreTold(makeProgress);
        QVERIFY(clock.elapsed() >= 1485);
        verifyAllAreRefused("The body made no progress.");
        slow.send(QByteArray(left, 'x') + "\"}");
        const QByteArray answer = slow.readAnswer();
        QVERIFY2(answer.startsWith("HTTP/1.1 201 "), answer.constData());
        QVERIFY(answer.contains(QByteArray(10000, 'x')));
        slow.close();
        QTRY_COMPARE_WITH_TIMEOUT(figures->openDescriptors(), descriptorsBefore, 30000);
        // What grows piece by piece has up to twice the room that it needs.
        verifyGrowth(2 * sent + bytesAConnection);
    }
};

QTEST_GUILESS_MAIN(SlowClientsTest)
#include "tst_slowclients.moc"
