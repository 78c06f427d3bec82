#include "fhir/stu3/serialization/identifierfromjson.h"

#include "readerrows.h"

using domain::Identifier;
using fhir::stu3::IdentifierFromJson;

static_assert(std::is_constructible_v<IdentifierFromJson, Identifier &, const QJsonObject &>);

class IdentifierFromJsonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textsAreKeptAndTheRestReplaced_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        for (const char *key : {"use", "system", "value"}) {
            const QString one = QStringLiteral(R"({"%1":"y"})").arg(QLatin1String(key));
            addReaderRow(key, one, one);
            addReaderRow(qPrintable(QLatin1String(key) + QStringLiteral(" is empty")),
                         QStringLiteral(R"({"%1":""})").arg(QLatin1String(key)), QStringLiteral("{}"));
            addWrongTypeRows(QLatin1String(key), QJsonValue::String);
        }
        addReaderRow("type", QStringLiteral(R"({"type":{"coding":{"code":"y"},"text":"t"}})"),
                     QStringLiteral(R"({"type":{"coding":{"system":"","version":"","code":"y","display":"",)"
                                    R"("userSelected":false},"text":"t"}})"));
        addReaderRow("type without text", QStringLiteral(R"({"type":{}})"), QStringLiteral("{}"));
        addWrongTypeRows(QStringLiteral("type"), QJsonValue::Object);
        addReaderRow("period", QStringLiteral(R"({"period":{"start":"2020-05-17T10:20:30Z"}})"),
                     QStringLiteral(R"({"period":{"start":"2020-05-17T10:20:30.000Z","end":null}})"));
        addReaderRow("period that cannot be read", QStringLiteral(R"({"period":{"start":"x"}})"),
                     QStringLiteral("{}"));
        addWrongTypeRows(QStringLiteral("period"), QJsonValue::Object);
    }
    void textsAreKeptAndTheRestReplaced()
    {
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        const QJsonObject nothing{{QStringLiteral("use"), QStringLiteral("old use")},
                                  {QStringLiteral("type"), dump(domain::CodableConcept())},
                                  {QStringLiteral("system"), QStringLiteral("old system")},
                                  {QStringLiteral("value"), QStringLiteral("old value")},
                                  {QStringLiteral("period"), dump(domain::Period())}};
        compareRead<IdentifierFromJson>(fullIdentifier(), object, nothing, change);
    }
};

QTEST_GUILESS_MAIN(IdentifierFromJsonTest)
#include "tst_identifierfromjson.moc"
