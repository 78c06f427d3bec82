#include "fhir/stu3/serialization/codingfromjson.h"

#include "readerrows.h"

using domain::Coding;
using fhir::stu3::CodingFromJson;

static_assert(std::is_constructible_v<CodingFromJson, Coding &, const QJsonObject &>);

class CodingFromJsonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFieldIsSet_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        addReaderRow(
            "everything",
            QStringLiteral(R"({"system":"s","version":"v","code":"c","display":"d","userSelected":true})"),
            QStringLiteral(R"({"system":"s","version":"v","code":"c","display":"d","userSelected":true})"));
        for (const char *key : {"system", "version", "code", "display"}) {
            const QString one = QStringLiteral(R"({"%1":"y"})").arg(QLatin1String(key));
            addReaderRow(key, one, one);
            addReaderRow(qPrintable(QLatin1String(key) + QStringLiteral(" is empty")),
                         QStringLiteral(R"({"%1":""})").arg(QLatin1String(key)), QStringLiteral("{}"));
            addWrongTypeRows(QLatin1String(key), QJsonValue::String);
        }
        addReaderRow("selected", QStringLiteral(R"({"userSelected":true})"),
                     QStringLiteral(R"({"userSelected":true})"));
        addReaderRow("not selected", QStringLiteral(R"({"userSelected":false})"), QStringLiteral("{}"));
        addReaderRow("selected as text", QStringLiteral(R"({"userSelected":"true"})"), QStringLiteral("{}"));
        addReaderRow("selected as number", QStringLiteral(R"({"userSelected":1})"), QStringLiteral("{}"));
        addWrongTypeRows(QStringLiteral("userSelected"), QJsonValue::Bool);
        addReaderRow("keys in other letters",
                     QStringLiteral(R"({"System":"s","CODE":"c","userselected":true})"),
                     QStringLiteral("{}"));
    }
    void everyFieldIsSet()
    {
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        const QJsonObject nothing =
            json(QStringLiteral(R"({"system":"","version":"","code":"","display":"","userSelected":false})"))
                .toObject();
        compareRead<CodingFromJson>(fullCoding(), object, nothing, change);
    }
};

QTEST_GUILESS_MAIN(CodingFromJsonTest)
#include "tst_codingfromjson.moc"
