#include "identifierfromjson.h"

#include "codableconceptfromjson.h"
#include "fhir/stu3/identifier.h"
#include "periodfromjson.h"

#include <QJsonObject>

namespace fhir::stu3 {

IdentifierFromJson::IdentifierFromJson(domain::Identifier &identifier, const QJsonObject &json)
    : m_identifier(identifier)
    , m_json(json)
{
}

void IdentifierFromJson::parse()
{
    const QString use = m_json[QLatin1String("use")].toString();
    if (!use.isEmpty())
        m_identifier.setUse(use);
    domain::CodableConcept type;
    CodableConceptFromJson(type, m_json[QLatin1String("type")].toObject()).parse();
    m_identifier.setType(type);
    const QString system = m_json[QLatin1String("system")].toString();
    if (!system.isEmpty())
        m_identifier.setSystem(system);
    const QString value = m_json[QLatin1String("value")].toString();
    if (!value.isEmpty())
        m_identifier.setValue(value);
    domain::Period period;
    PeriodFromJson(period, m_json[QLatin1String("period")].toObject()).parse();
    m_identifier.setPeriod(period);
}

} // namespace fhir::stu3
