#include "fhir/stu3/serialization/periodfromjson.h"

#include "localzone.h"
#include "readerrows.h"

using domain::Period;
using fhir::stu3::PeriodFromJson;

static_assert(std::is_constructible_v<PeriodFromJson, Period &, const QJsonObject &>);

class PeriodFromJsonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nullTimesAreNotSet_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        addReaderRow("both",
                     QStringLiteral(R"({"start":"2020-05-17T10:20:30Z","end":"2021-06-18T11:21:31+02:00"})"),
                     QStringLiteral(R"({"start":"2020-05-17T10:20:30.000Z",)"
                                    R"("end":"2021-06-18T11:21:31.000+02:00"})"));
        for (const char *key : {"start", "end"}) {
            const auto row = [key](const char *name, const char *text, const char *change) {
                addReaderRow(qPrintable(QLatin1String(key) + QLatin1String(": ") + QLatin1String(name)),
                             QStringLiteral(R"({"%1":"%2"})").arg(QLatin1String(key), QLatin1String(text)),
                             QString::fromLatin1(change).arg(QLatin1String(key)));
            };
            row("date", "2020-05-17", R"({"%1":"2020-05-17T00:00:00.000"})");
            row("empty", "", "{}");
            row("word", "x", "{}");
            row("year", "2020", "{}");
            row("no such day", "2020-02-30", "{}");
            row("invalid, but not null", "2021-03-28T02:30:00", R"({"%1":"invalid"})");
            addWrongTypeRows(QLatin1String(key), QJsonValue::Undefined);
        }
    }
    void nullTimesAreNotSet()
    {
        const LocalZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        const QJsonObject nothing{{QStringLiteral("start"), QStringLiteral("2001-02-03T04:05:06.000Z")},
                                  {QStringLiteral("end"), QStringLiteral("2001-02-03T04:05:06.000Z")}};
        compareRead<PeriodFromJson>(fullPeriod(), object, nothing, change);
    }
};

QTEST_GUILESS_MAIN(PeriodFromJsonTest)
#include "tst_periodfromjson.moc"
