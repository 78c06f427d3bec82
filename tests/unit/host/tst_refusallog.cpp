#include "logcapture.h"

#include <refusallog.h>

#include <QtTest>

#include <memory>

class RefusalLogTest : public QObject
{
    Q_OBJECT

    std::chrono::steady_clock::time_point m_now{std::chrono::hours(1)};

    [[nodiscard]] RefusalLog::Clock clock() const
    {
        return [this] { return m_now; };
    }
    static QStringList told(const LogCapture &log)
    {
        QStringList texts;
        for (const LogCapture::Line &line : log.lines())
            texts.append(line.type == QtWarningMsg ? line.text : QStringLiteral("not a warning"));
        return texts;
    }
    static QStringList numbered(int count)
    {
        QStringList texts;
        for (int i = 0; i < count; ++i)
            texts.append(QString::number(i));
        return texts;
    }
    static void addNumbered(RefusalLog &log, int count)
    {
        for (const QString &text : numbered(count))
            log.add(text);
    }

private Q_SLOTS:
    void eachIsALineAsItStands()
    {
        const LogCapture capture("ch.tessel.vexo-service.access");
        RefusalLog log(clock());
        const QString text = QStringLiteral("its header is \"a\\\\b\", which nobody names");
        log.add(text);
        QCOMPARE(told(capture), QStringList{text});
    }

    void aFloodIsCounted_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("told");
        QTest::newRow("as many as are told") << RefusalLog::linesPerPeriod << QString();
        QTest::newRow("one more") << RefusalLog::linesPerPeriod + 1 << "Refused 1 more within that minute.";
        QTest::newRow("many more") << 100000 << "Refused 99990 more within that minute.";
    }
    void aFloodIsCounted()
    {
        QFETCH(int, count);
        QFETCH(QString, told);
        const LogCapture capture("ch.tessel.vexo-service.access");
        RefusalLog log(clock());
        addNumbered(log, count);
        QStringList expected = numbered(RefusalLog::linesPerPeriod);
        QCOMPARE(RefusalLogTest::told(capture), expected);

        m_now += RefusalLog::period;
        log.add(QStringLiteral("next"));
        if (!told.isEmpty())
            expected.append(told);
        expected.append(QStringLiteral("next"));
        QCOMPARE(RefusalLogTest::told(capture), expected);
    }

    void whatIsOnlyCountedIsNotMade()
    {
        const LogCapture capture("ch.tessel.vexo-service.access");
        RefusalLog log(clock());
        int made = 0;
        for (int i = 0; i < RefusalLog::linesPerPeriod + 5; ++i)
            log.add([&] { return QString::number(made++); });
        QCOMPARE(made, RefusalLog::linesPerPeriod);
        QCOMPARE(told(capture), numbered(RefusalLog::linesPerPeriod));
    }

    void thePeriodBeginsWithItsFirstLine()
    {
        const LogCapture capture("ch.tessel.vexo-service.access");
        RefusalLog log(clock());
        addNumbered(log, RefusalLog::linesPerPeriod);
        m_now += RefusalLog::period - std::chrono::nanoseconds(1);
        log.add(QStringLiteral("too early"));
        QCOMPARE(told(capture), numbered(RefusalLog::linesPerPeriod));
        m_now += std::chrono::nanoseconds(1);
        log.add(QStringLiteral("in time"));
        QStringList expected = numbered(RefusalLog::linesPerPeriod);
        expected << QStringLiteral("Refused 1 more within that minute.") << QStringLiteral("in time");
        QCOMPARE(told(capture), expected);
    }

    void eachPeriodHasItsOwnCount()
    {
        const LogCapture capture("ch.tessel.vexo-service.access");
        RefusalLog log(clock());
        QStringList expected;
        for (int i = 0; i < 3; ++i) {
            addNumbered(log, RefusalLog::linesPerPeriod + 5);
            m_now += RefusalLog::period;
            expected += numbered(RefusalLog::linesPerPeriod);
            if (i < 2)
                expected.append(QStringLiteral("Refused 5 more within that minute."));
        }
        QCOMPARE(told(capture), expected);
    }

    void theEndTellsWhatIsLeft()
    {
        const LogCapture capture("ch.tessel.vexo-service.access");
        auto log = std::make_unique<RefusalLog>(clock());
        addNumbered(*log, RefusalLog::linesPerPeriod + 2);
        log.reset();
        QCOMPARE(told(capture).last(), QStringLiteral("Refused 2 more within that minute."));
        QCOMPARE(told(capture).size(), RefusalLog::linesPerPeriod + 1);
    }

    void withoutARefusalNothingIsTold()
    {
        const LogCapture capture("ch.tessel.vexo-service.access");
        auto log = std::make_unique<RefusalLog>();
        log.reset();
        QCOMPARE(told(capture), QStringList());
    }
};

QTEST_GUILESS_MAIN(RefusalLogTest)
#include "tst_refusallog.moc"
