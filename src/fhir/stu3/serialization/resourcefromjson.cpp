#include "resourcefromjson.h"

#include "fhir/stu3/resource.h"
#include "metafromjson.h"

#include <QJsonObject>

namespace fhir::stu3 {

ResourceFromJson::ResourceFromJson(domain::Resource &resource, const QJsonObject &json)
    : m_resource(resource)
    , m_json(json)
{
}

void ResourceFromJson::parse()
{
    m_resource.setId(m_json[QLatin1String("id")].toString());
    QJsonObject metaJson = m_json[QLatin1String("meta")].toObject();
    domain::Meta meta = m_resource.meta();
    MetaFromJson(meta, metaJson).parse();
    m_resource.setMeta(meta);
    m_resource.setImplicitRules(m_json[QLatin1String("implicitRules")].toString());
    m_resource.setLanguage(m_json[QLatin1String("language")].toString());
}

} // namespace fhir::stu3
