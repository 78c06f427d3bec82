#include "structure/qstring/timestamp.h"

#include "logcapture.h"

#include <QTimeZone>
#include <QtTest>

#include <type_traits>

using structure::qstring::Timestamp;

static_assert(std::is_same_v<decltype(&Timestamp::create), QString (*)(const QDateTime &)>);
static_assert(std::is_same_v<decltype(&Timestamp::parseAndFind), bool (*)(const QString &, QDateTime &)>);

static const char *const category = "ch.tessel.vexo.vexo-service.api.util.structure.qstring.timestamp";

class TimestampTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textIsTheWallClockToTheSecond_data()
    {
        QTest::addColumn<QDateTime>("time");
        QTest::addColumn<QString>("text");
        const QDate day(2026, 1, 5);
        QTest::newRow("local time") << QDateTime(day, QTime(7, 8, 9))
                                    << QStringLiteral("2026-01-05T07:08:09");
        QTest::newRow("with milliseconds")
            << QDateTime(day, QTime(23, 59, 59, 999)) << QStringLiteral("2026-01-05T23:59:59");
        QTest::newRow("in another zone")
            << QDateTime(day, QTime(7, 8, 9), QTimeZone(9 * 3600)) << QStringLiteral("2026-01-05T07:08:09");
        QTest::newRow("null") << QDateTime() << QString();
        QTest::newRow("invalid") << QDateTime(QDate(2026, 2, 30), QTime(1, 2)) << QString();
    }
    void textIsTheWallClockToTheSecond()
    {
        QFETCH(QDateTime, time);
        QFETCH(QString, text);
        QCOMPARE(Timestamp::create(time), text);
    }

    void readsWhatItWrites()
    {
        const LogCapture log(category);
        const QDateTime time(QDate(2026, 12, 31), QTime(23, 5, 9));
        QDateTime read;
        QVERIFY(Timestamp::parseAndFind(Timestamp::create(time), read));
        QCOMPARE(read, time);
        QCOMPARE(read.timeSpec(), Qt::LocalTime);
        QVERIFY(log.lines().isEmpty());
    }

    void anyOtherFormIsWarnedOf_data()
    {
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, const char *text) {
            QTest::newRow(name) << QString::fromLatin1(text);
        };
        row("empty", "");
        row("trailing Z", "2026-01-05T07:08:09Z");
        row("offset", "2026-01-05T07:08:09+01:00");
        row("fraction", "2026-01-05T07:08:09.123");
        row("no seconds", "2026-01-05T07:08");
        row("date alone", "2026-01-05");
        row("blank in the middle", "2026-01-05 07:08:09");
        row("no such day", "2026-02-30T07:08:09");
        row("no such hour", "2026-01-05T24:00:00");
        row("blank at the end", "2026-01-05T07:08:09 ");
        row("one digit", "2026-1-05T07:08:09");
        row("text", "now");
    }
    void anyOtherFormIsWarnedOf()
    {
        QFETCH(QString, text);
        const LogCapture log(category);
        QDateTime time(QDate(2026, 1, 5), QTime(7, 8, 9));
        QVERIFY(!Timestamp::parseAndFind(text, time));
        QVERIFY(!time.isValid());
        QCOMPARE(log.lines().size(), 1);
        QVERIFY2(
            log.contains(QtWarningMsg,
                         QStringLiteral("Unexpected invalid date format found in string:  \"%1\"").arg(text)),
            qPrintable(log.lines().constFirst().text));
    }

    void categoryIsNamed() { QCOMPARE(structure::qstring::TimestampLogging().categoryName(), category); }
};

QTEST_GUILESS_MAIN(TimestampTest)
#include "tst_timestamp.moc"
