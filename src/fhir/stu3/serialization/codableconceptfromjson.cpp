#include "codableconceptfromjson.h"

#include "codingfromjson.h"
#include "fhir/stu3/codableconcept.h"

#include <QJsonObject>

namespace fhir::stu3 {

CodableConceptFromJson::CodableConceptFromJson(domain::CodableConcept &codableConcept,
                                               const QJsonObject &json)
    : m_codableConcept(codableConcept)
    , m_json(json)
{
}

void CodableConceptFromJson::parse()
{
    // Deliberately never the first element of a list.
    domain::Coding coding;
    CodingFromJson(coding, m_json[QLatin1String("coding")].toObject()).parse();
    m_codableConcept.setCoding(coding);
    const QString text = m_json[QLatin1String("text")].toString();
    if (!text.isEmpty())
        m_codableConcept.setText(text);
}

} // namespace fhir::stu3
