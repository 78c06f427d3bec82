#include "resource.h"

#include <QLoggingCategory>

#include <utility>

static const QLoggingCategory &resourceLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.fhir.stu3.resource");
    return category;
}

namespace domain {

Resource::Resource() = default;
Resource::~Resource() = default;
Resource::Resource(const Resource &other) = default;
Resource &Resource::operator=(const Resource &other) = default;
Resource::Resource(Resource &&other) noexcept = default;
Resource &Resource::operator=(Resource &&other) noexcept = default;

Resource *Resource::clone() const
{
    qCWarning(resourceLogging)
        << "Only Resource is copied. Maybe you want to override clone in your derived class.";
    return new Resource(*this);
}

void Resource::setResourceType(Type resourceType)
{
    m_resourceType = resourceType;
}

void Resource::setId(QString id)
{
    m_id = std::move(id);
}

void Resource::setMeta(Meta meta)
{
    m_meta = std::move(meta);
}

void Resource::setImplicitRules(QString implicitRules)
{
    m_implicitRules = std::move(implicitRules);
}

void Resource::setLanguage(QString language)
{
    m_language = std::move(language);
}

} // namespace domain
