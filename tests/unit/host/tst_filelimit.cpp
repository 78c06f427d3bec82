#include "logcapture.h"

#include <filelimit.h>

#include <QtTest>

#include <sys/resource.h>

class FileLimitTest : public QObject
{
    Q_OBJECT

    rlimit m_initial = {};

    void setLimits(rlim_t soft, rlim_t hard) const
    {
        const rlimit limit = {soft, hard};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    static rlim_t softLimit()
    {
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        return limit.rlim_cur;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &m_initial), 0);
        if (m_initial.rlim_max < 1024)
            QSKIP("The hard limit of open files is below 1024.");
    }

    void isRaisedToWhatTheConnectionsNeed()
    {
        const LogCapture log("ch.tessel.vexo-service.filelimit");
        setLimits(256, m_initial.rlim_max);
        raiseFileLimit(500);
        QCOMPARE(softLimit(), rlim_t(756));
        QCOMPARE(log.lines().size(), 0);
    }

    void isNeverLowered()
    {
        setLimits(1000, m_initial.rlim_max);
        raiseFileLimit(500);
        QCOMPARE(softLimit(), rlim_t(1000));
    }

    // Last, since the hard limit cannot be raised again by everybody.
    void tooLowAHardLimitIsUsedAndWarnedAbout()
    {
        const LogCapture log("ch.tessel.vexo-service.filelimit");
        setLimits(256, 900);
        raiseFileLimit(5000);
        QCOMPARE(softLimit(), rlim_t(900));
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().type, QtWarningMsg);
        QVERIFY(log.lines().constFirst().text.contains(QLatin1String("900")));
    }
};

QTEST_GUILESS_MAIN(FileLimitTest)
#include "tst_filelimit.moc"
