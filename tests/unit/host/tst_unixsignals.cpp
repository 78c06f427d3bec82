#include "logcapture.h"

#include <unixsignals.h>

#include <QSignalSpy>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

static const LogCapture::Line hangUpLine{
    QtInfoMsg, QStringLiteral("SIGHUP is ignored: settings are read at the start only.")};

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

    void hangUpIsLoggedAndStopsNothing()
    {
        const LogCapture log("ch.tessel.vexo-service.unixsignals");
        const UnixSignals unixSignals;
        QSignalSpy stop(&unixSignals, &UnixSignals::stopRequested);
        for (int i = 1; i <= 2; ++i) {
            QCOMPARE(raise(SIGHUP), 0);
            QTRY_COMPARE(log.lines().size(), i);
            QCOMPARE(log.lines().constLast(), hangUpLine);
        }
        QCOMPARE(stop.count(), 0);
    }

    void aStopBehindAFloodOfHangUpsArrives()
    {
        const LogCapture log("ch.tessel.vexo-service.unixsignals");
        const UnixSignals unixSignals;
        QSignalSpy stop(&unixSignals, &UnixSignals::stopRequested);
        for (int i = 0; i < 100000; ++i)
            QCOMPARE(raise(SIGHUP), 0);
        QCOMPARE(raise(SIGTERM), 0);
        QVERIFY(stop.wait());
        QCOMPARE(stop.count(), 1);
        QCOMPARE(stop.constFirst().constFirst().toInt(), SIGTERM);
        QCOMPARE(log.lines(), QVector<LogCapture::Line>{hangUpLine});
    }

    void aFileBeyondItsLimitFailsLikeAFullDisk()
    {
        const UnixSignals unixSignals;
        QTemporaryFile file;
        QVERIFY(file.open());
        rlimit initial{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &initial), 0);
        const rlimit none{0, initial.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &none), 0);
        const ssize_t written = write(file.handle(), "x", 1);
        const int error = errno;
        setrlimit(RLIMIT_FSIZE, &initial);
        QCOMPARE(written, ssize_t(-1));
        QCOMPARE(error, EFBIG);
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
        for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGXFSZ}) {
            struct sigaction before = {};
            struct sigaction after = {};
            sigaction(number, nullptr, &before);
            {
                const UnixSignals unixSignals;
            }
            sigaction(number, nullptr, &after);
            QVERIFY(after.sa_handler == before.sa_handler);
        }
    }
};

QTEST_GUILESS_MAIN(UnixSignalsTest)
#include "tst_unixsignals.moc"
