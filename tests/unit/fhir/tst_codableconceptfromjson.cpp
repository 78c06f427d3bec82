#include "fhir/stu3/serialization/codableconceptfromjson.h"

#include "readerrows.h"

using domain::CodableConcept;
using fhir::stu3::CodableConceptFromJson;

static_assert(std::is_constructible_v<CodableConceptFromJson, CodableConcept &, const QJsonObject &>);

class CodableConceptFromJsonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void codingIsReplacedAndTextKept_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        addReaderRow("coding", QStringLiteral(R"({"coding":{"code":"x"}})"),
                     QStringLiteral(R"({"coding":{"system":"","version":"","code":"x","display":"",)"
                                    R"("userSelected":false}})"));
        addReaderRow("list of one coding", QStringLiteral(R"({"coding":[{"code":"x"}]})"),
                     QStringLiteral("{}"));
        addReaderRow("empty coding", QStringLiteral(R"({"coding":{}})"), QStringLiteral("{}"));
        addReaderRow("text", QStringLiteral(R"({"text":"t"})"), QStringLiteral(R"({"text":"t"})"));
        addReaderRow("empty text", QStringLiteral(R"({"text":""})"), QStringLiteral("{}"));
        addWrongTypeRows(QStringLiteral("coding"), QJsonValue::Object);
        addWrongTypeRows(QStringLiteral("text"), QJsonValue::String);
    }
    void codingIsReplacedAndTextKept()
    {
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        const QJsonObject nothing{{QStringLiteral("coding"), dump(domain::Coding())},
                                  {QStringLiteral("text"), QStringLiteral("old text")}};
        compareRead<CodableConceptFromJson>(fullConcept(), object, nothing, change);
    }
};

QTEST_GUILESS_MAIN(CodableConceptFromJsonTest)
#include "tst_codableconceptfromjson.moc"
