#include "structure/qstring/timespan.h"

#include "logcapture.h"

#include <QtTest>

#include <limits>
#include <type_traits>

using structure::qstring::Timespan;
using Span = structure::content::Timespan;

static_assert(std::is_same_v<decltype(&Timespan::create), QString (*)(const Span &)>);
static_assert(std::is_same_v<decltype(&Timespan::parseAndFind), bool (*)(const QString &, Span &)>);

static const char *const category = "ch.tessel.vexo.vexo-service.api.util.structure.qstring.lifetime";

class TimespanTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textIsTheDecimalNumber_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << qint64(0) << QStringLiteral("0");
        QTest::newRow("an hour") << qint64(3600) << QStringLiteral("3600");
        QTest::newRow("negative") << qint64(-5) << QStringLiteral("-5");
        QTest::newRow("most") << std::numeric_limits<qint64>::max() << QStringLiteral("9223372036854775807");
        QTest::newRow("least") << std::numeric_limits<qint64>::min()
                               << QStringLiteral("-9223372036854775808");
    }
    void textIsTheDecimalNumber()
    {
        QFETCH(qint64, seconds);
        QFETCH(QString, text);
        QCOMPARE(Timespan::create(Span(seconds)), text);
        Span read(1);
        QVERIFY(Timespan::parseAndFind(text, read));
        QCOMPARE(read.seconds(), seconds);
    }

    void noNumberReadsAsNoTime_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("word") << QStringLiteral("soon");
        QTest::newRow("number and word") << QStringLiteral("5 s");
        QTest::newRow("fraction") << QStringLiteral("1.5");
        QTest::newRow("hours, minutes and seconds") << QStringLiteral("01:00:00");
        QTest::newRow("hexadecimal") << QStringLiteral("0x10");
        QTest::newRow("more than 64 bits") << QStringLiteral("9223372036854775808");
    }
    void noNumberReadsAsNoTime()
    {
        QFETCH(QString, text);
        const LogCapture log(category);
        Span span(7);
        QVERIFY(Timespan::parseAndFind(text, span));
        QCOMPARE(span.seconds(), 0LL);
        QVERIFY(log.lines().isEmpty());
    }

    void leadingZerosAreDecimal()
    {
        Span span;
        QVERIFY(Timespan::parseAndFind(QStringLiteral("010"), span));
        QCOMPARE(span.seconds(), 10LL);
    }

    void categoryIsNamed() { QCOMPARE(structure::qstring::LifeTimeLogging().categoryName(), category); }
};

QTEST_GUILESS_MAIN(TimespanTest)
#include "tst_timespan.moc"
