#include "fhir/stu3/serialization/codingtojson.h"

#include "fhir/stu3/coding.h"
#include "fhir/stu3/serialization/codingfromjson.h"
#include "jsontext.h"

#include <QJsonObject>
#include <QtTest>

#include <type_traits>

using domain::Coding;
using fhir::stu3::CodingToJson;

static_assert(std::is_constructible_v<CodingToJson, const Coding &>);

/// Every row is the object that is written for a Coding with just these fields set.
class CodingToJsonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyWhatIsThereIsWritten_data()
    {
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, const char *text) {
            QTest::newRow(name) << QString::fromLatin1(text);
        };
        row("nothing", "{}");
        row("system", R"({"system":"s"})");
        row("version", R"({"version":"v"})");
        row("code", R"({"code":"c"})");
        row("display", R"({"display":"d"})");
        row("selected", R"({"userSelected":true})");
        row("everything", R"({"code":"c","display":"d","system":"s","userSelected":true,"version":"v"})");
    }
    void onlyWhatIsThereIsWritten()
    {
        QFETCH(QString, text);
        const QJsonObject object = json(text).toObject();
        Coding coding;
        coding.setSystem(object.value(QStringLiteral("system")).toString());
        coding.setVersion(object.value(QStringLiteral("version")).toString());
        coding.setCode(object.value(QStringLiteral("code")).toString());
        coding.setDisplay(object.value(QStringLiteral("display")).toString());
        coding.setUserSelected(object.value(QStringLiteral("userSelected")).toBool());
        QCOMPARE(jsonText(CodingToJson(coding).toJson()), text);
    }

    void whatIsWrittenReadsBack()
    {
        const QJsonObject object{{QStringLiteral("code"), QStringLiteral("c \"\\ü\n")},
                                 {QStringLiteral("userSelected"), true}};
        Coding coding;
        fhir::stu3::CodingFromJson(coding, object).parse();
        QCOMPARE(jsonText(CodingToJson(coding).toJson()), jsonText(object));
    }
};

QTEST_GUILESS_MAIN(CodingToJsonTest)
#include "tst_codingtojson.moc"
