#include "fhir/stu3/serialization/qdatetimefromjson.h"

#include "fhirdump.h"
#include "jsontext.h"
#include "localzone.h"

#include <QtTest>

using fhir::stu3::QDateTimeFromJson;

static_assert(std::is_constructible_v<QDateTimeFromJson, const QString &>);
static_assert(!std::is_convertible_v<QString, QDateTimeFromJson>);

class QDateTimeFromJsonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textIsReadAsQtDoes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("time");
        const auto row = [](const char *name, const char *text, const char *time) {
            QTest::newRow(name) << QString::fromLatin1(text) << QString::fromLatin1(time);
        };
        row("UTC", "2020-05-17T10:20:30Z", R"("2020-05-17T10:20:30.000Z")");
        row("offset", "2020-05-17T10:20:30+02:00", R"("2020-05-17T10:20:30.000+02:00")");
        row("local time", "2020-05-17T10:20:30", R"("2020-05-17T10:20:30.000")");
        row("milliseconds", "2020-05-17T10:20:30.123Z", R"("2020-05-17T10:20:30.123Z")");
        row("no seconds", "2020-05-17T10:20", R"("2020-05-17T10:20:00.000")");
        row("date", "2020-05-17", R"("2020-05-17T00:00:00.000")");
        row("month", "2020-05", "null");
        row("year", "2020", "null");
        row("nothing", "", "null");
        row("word", "x", "null");
        row("no such day", "2020-02-30", "null");
        row("no such hour", "2020-05-17T25:00:00Z", "null");
        row("junk behind the date", "2020-05-17Tx", "null");
        row("another form", "17.05.2020 10:20", "null");
        row("an hour that the change to summer time leaves out", "2021-03-28T02:30:00", R"("invalid")");
    }
    void textIsReadAsQtDoes()
    {
        const LocalZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
        QFETCH(QString, text);
        QFETCH(QString, time);
        const QDateTime read = QDateTimeFromJson(text).parse();
        QCOMPARE(jsonText(dump(read)), time);
        QCOMPARE(read, QDateTime::fromString(text, Qt::ISODate));
    }
};

QTEST_GUILESS_MAIN(QDateTimeFromJsonTest)
#include "tst_qdatetimefromjson.moc"
