#include "hostlog.h"
#include "hostprocess.h"
#include "processfigures.h"
#include "rawclient.h"
#include "wellbehavedclient.h"

#include <QElapsedTimer>
#include <QtTest>

#include <optional>
#include <vector>

namespace {

constexpr int clientCount = 200;
/// What is left of the host's descriptors for them.
constexpr int freeDescriptors = 50;

const QByteArray request = "GET /context/kept HTTP/1.1\r\nHost: localhost\r\n\r\n";

} // namespace

/// More clients than the service has descriptors for, although its own cap is not reached.
class DescriptorsUsedUpTest final : public QObject
{
    Q_OBJECT

    std::optional<HostProcess> host;
    std::optional<ProcessFigures> figures;
    std::optional<WellBehavedClient> other;
    std::vector<RawClient> clients;
    int served = 0; ///< of the clients, in their order; the others wait in the kernel's queue
    qint64 memoryBefore = 0;

    void verifyAnswer(RawClient &client)
    {
        const QByteArray answer = client.readAnswer();
        QVERIFY2(answer.endsWith("\r\n\r\n{\n    \"kept\": true\n}\n"), answer.constData());
    }
    void verifyThatTheOpenOnesAreServed()
    {
        for (int i = 0; i < served; ++i) {
            clients[static_cast<std::size_t>(i)].send(request);
            verifyAnswer(clients[static_cast<std::size_t>(i)]);
        }
        QCOMPARE(other->round(), QByteArray());
    }
    /// Two seconds in which nothing becomes free: nobody who waits is dropped, and nothing spins.
    void verifyThatTheOthersWaitInPeace()
    {
        QElapsedTimer clock;
        clock.start();
        const auto before = figures->processorTime();
        QVERIFY(!clients.back().isReadable(2000));
        const auto used = figures->processorTime() - before;
        QVERIFY2(used.count() <= clock.elapsed() / 10, qPrintable(QString::number(used.count())));
        for (int i = served; i < clientCount; ++i)
            QVERIFY(!clients[static_cast<std::size_t>(i)].isReadable(0));
    }

private Q_SLOTS:
    void init()
    {
        host.emplace(QStringList{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)});
        QVERIFY2(host->start(), host->readLog().constData());
        figures.emplace(host->process.processId());
        other.emplace(host->port());
        QCOMPARE(other->round(), QByteArray());
        const int descriptors = figures->openDescriptors();
        RawClient first(host->port());
        first.send(
            "PUT /context/kept HTTP/1.1\r\nHost: localhost\r\nContent-Length: 13\r\n\r\n{\"kept\":true}");
        QVERIFY(first.readAnswer().startsWith("HTTP/1.1 201 "));
        first.close();
        QTRY_COMPARE(figures->openDescriptors(), descriptors);
        memoryBefore = figures->residentBytes();

        QVERIFY(figures->limit(RLIMIT_NOFILE, static_cast<rlim_t>(descriptors + freeDescriptors)));
        for (int i = 0; i < clientCount; ++i) {
            clients.emplace_back(host->port());
            clients.back().send(request);
            // They are to wait in their order.
            QVERIFY(clients.back().awaitReceipt());
        }
        QVERIFY2(waitForLog(*host, " warning ch.tessel.http.server: Accepting pauses: too many open files\n"),
                 host->readLog().constData());
        served = figures->openDescriptors() - descriptors;
        QVERIFY2(served >= freeDescriptors && served < clientCount, qPrintable(QString::number(served)));
        for (int i = 0; i < served; ++i)
            verifyAnswer(clients[static_cast<std::size_t>(i)]);
    }
    void cleanup()
    {
        clients.clear();
        other.reset();
        QVERIFY2(stopHost(*host), host->readLog().constData());
    }

    void openConnectionsAreServedAndTheOthersWait()
    {
        verifyThatTheOpenOnesAreServed();
        verifyThatTheOthersWaitInPeace();
        verifyThatTheOpenOnesAreServed();
        QCOMPARE(host->readLog().count("Accepting"), 1);

        QVERIFY(figures->limit(RLIMIT_NOFILE, RLIM_INFINITY));
        for (int i = served; i < clientCount; ++i)
            verifyAnswer(clients[static_cast<std::size_t>(i)]);
        QVERIFY(waitForLog(*host, " info ch.tessel.http.server: Accepting resumes.\n"));
        served = clientCount;
        verifyThatTheOpenOnesAreServed();
        QCOMPARE(host->readLog().count("Accepting"), 2);
        verifyMemoryGrowth(figures->peakBytes() - memoryBefore, clientCount * bytesAConnection);
    }

    // Each makes room for one that waits. After the last of these as many are open as can be.
    void clientsThatLeaveMakeRoomForThoseThatWait()
    {
        const int lastRound = clientCount - served;
        for (int i = 0; i < clientCount; ++i) {
            if (i >= served)
                verifyAnswer(clients[static_cast<std::size_t>(i)]);
            if (i < lastRound)
                clients[static_cast<std::size_t>(i)].close();
            if (i % 10 == 0)
                QCOMPARE(other->round(), QByteArray());
        }
        QCOMPARE(host->readLog().count("Accepting"), 1); // however often it paused meanwhile

        // Nobody connects any more: it is enough that there is room for somebody.
        clients[static_cast<std::size_t>(lastRound)].close();
        QVERIFY(waitForLog(*host, " info ch.tessel.http.server: Accepting resumes.\n"));
        QCOMPARE(host->readLog().count("Accepting"), 2);
    }
};

QTEST_GUILESS_MAIN(DescriptorsUsedUpTest)
#include "tst_descriptorsusedup.moc"
