#include "codingfromjson.h"

#include "fhir/stu3/coding.h"

#include <QJsonObject>

namespace fhir::stu3 {

CodingFromJson::CodingFromJson(domain::Coding &coding, const QJsonObject &json)
    : m_coding(coding)
    , m_json(json)
{
}

void CodingFromJson::parse()
{
    m_coding.setSystem(m_json[QLatin1String("system")].toString());
    m_coding.setVersion(m_json[QLatin1String("version")].toString());
    m_coding.setCode(m_json[QLatin1String("code")].toString());
    m_coding.setDisplay(m_json[QLatin1String("display")].toString());
    m_coding.setUserSelected(m_json[QLatin1String("userSelected")].toBool(false));
}

} // namespace fhir::stu3
