#include "hostlog.h"
#include "hostprocess.h"
#include "problem.h"
#include "processfigures.h"
#include "rawclient.h"
#include "wellbehavedclient.h"

#include <QtTest>

#include <vector>

namespace {

constexpr int cap = 1000;
constexpr int attemptsAWave = 1000;
constexpr int waves = 19;
/// Those beyond the cap that are told so at one time.
constexpr int toldAtOnce = 64;

const QByteArray request = "GET /context/absent HTTP/1.1\r\nHost: localhost\r\n\r\n";

} // namespace

/// Many more clients than the service takes.
class ConnectionCapTest final : public QObject
{
    Q_OBJECT

    HostProcess host{{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)},
                     "http.maxConnections=" + QByteArray::number(cap)};
    std::vector<RawClient> served;

    /// Adds connections until there are so many, and has each served once.
    void serve(std::size_t connections)
    {
        while (served.size() < connections) {
            served.emplace_back(host.port());
            served.back().send(request);
            const QByteArray answer = served.back().readAnswer();
            QVERIFY2(answer.startsWith("HTTP/1.1 404 "), answer.constData());
        }
    }

    /// A wave of attempts, none of which is served, while `other` is. Counts those that are told why.
    void attempt(WellBehavedClient &other, int *told) const
    {
        std::vector<RawClient> attempts;
        for (int i = 0; i < attemptsAWave; ++i) {
            attempts.emplace_back(host.port());
            // One that has been closed already takes nothing any more.
            static_cast<void>(attempts.back().sendSome(request, 0));
        }
        QCOMPARE(other.round(), QByteArray());
        for (RawClient &client : attempts) {
            const QByteArray answer = client.readUntilClosed();
            client.reset();
            if (answer.isEmpty())
                continue;
            QVERIFY2(isProblem(answer, 503), answer.constData());
            QCOMPARE(answer.count("HTTP/1.1"), 1);
            ++*told;
        }
    }

private Q_SLOTS:
    void twentyThousandAttempts()
    {
        if (!raiseDescriptorLimit(cap + attemptsAWave + 200))
            QSKIP("The limit of open files cannot be raised far enough.");
        QVERIFY2(host.start(), host.readLog().constData());
        const ProcessFigures figures(host.process.processId());
        WellBehavedClient other(host.port());
        QCOMPARE(other.round(), QByteArray());
        const int descriptors = figures.openDescriptors();
        const qint64 before = figures.residentBytes();

        serve(cap - 1);
        const int descriptorsAtCap = figures.openDescriptors();
        for (int wave = 0; wave < waves; ++wave) {
            int told = 0;
            attempt(other, &told);
            QVERIFY2(told >= toldAtOnce, qPrintable(QString::number(told)));
            QTRY_COMPARE_WITH_TIMEOUT(figures.openDescriptors(), descriptorsAtCap, 30000);
            drainLog(host);
        }
        // That of those within the cap; the others leave nothing behind.
        verifyMemoryGrowth(figures.peakBytes() - before, cap * bytesAConnection);
        QVERIFY(waitForLog(host, "All 1000 connections are taken."));
        QCOMPARE(host.readLog().count("connections are taken"), 1); // however many come

        // The cap counts those that are open, and no one else.
        while (served.size() > cap / 2)
            served.pop_back();
        QTRY_COMPARE_WITH_TIMEOUT(figures.openDescriptors(), descriptors + cap / 2, 30000);
        serve(cap - 1);
        QVERIFY(isProblem(RawClient(host.port()).readUntilClosed(), 503));
        QVERIFY(waitForLog(host, "All 1000 connections are taken.", 2));
        for (RawClient &client : served) {
            client.send(request);
            QVERIFY(client.readAnswer().startsWith("HTTP/1.1 404 "));
        }
        QCOMPARE(other.round(), QByteArray());
        served.clear();
        QTRY_COMPARE_WITH_TIMEOUT(figures.openDescriptors(), descriptors, 30000);
        QCOMPARE(other.round(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(ConnectionCapTest)
#include "tst_connectioncap.moc"
