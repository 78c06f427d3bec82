#include <unixsignals.h>

#include <QSignalSpy>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <unistd.h>

class UnixSignalsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stopSignalsArriveInTheEventLoop_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
    }
    void stopSignalsArriveInTheEventLoop()
    {
        QFETCH(int, number);
        const UnixSignals unixSignals;
        QSignalSpy stop(&unixSignals, &UnixSignals::stopRequested);
        QCOMPARE(raise(number), 0);
        QCOMPARE(stop.count(), 0);
        QVERIFY(stop.wait());
        QCOMPARE(stop.count(), 1);
        QCOMPARE(stop.constFirst().constFirst().toInt(), number);
    }

    void manySignalsDoNotBlock()
    {
        const UnixSignals unixSignals;
        QSignalSpy stop(&unixSignals, &UnixSignals::stopRequested);
        for (int i = 0; i < 100000; ++i)
            QCOMPARE(raise(SIGTERM), 0);
        QVERIFY(stop.wait());
        QVERIFY(stop.count() >= 1);
    }

    void brokenPipesAreIgnored()
    {
        const UnixSignals unixSignals;
        int ends[2] = {-1, -1};
        QCOMPARE(pipe(ends), 0);
        close(ends[0]);
        QCOMPARE(write(ends[1], "x", 1), ssize_t(-1));
        QCOMPARE(errno, EPIPE);
        close(ends[1]);
    }

    void earlierHandlingComesBack()
    {
        struct sigaction before[3] = {};
        struct sigaction after[3] = {};
        const int numbers[3] = {SIGTERM, SIGINT, SIGPIPE};
        for (int i = 0; i < 3; ++i)
            sigaction(numbers[i], nullptr, &before[i]);
        {
            const UnixSignals unixSignals;
        }
        for (int i = 0; i < 3; ++i) {
            sigaction(numbers[i], nullptr, &after[i]);
            QVERIFY(after[i].sa_handler == before[i].sa_handler);
        }
    }
};

QTEST_GUILESS_MAIN(UnixSignalsTest)
#include "tst_unixsignals.moc"
