#pragma once

#include "fhir/stu3/meta.h"

#include <QString>

namespace domain {

/// What all resources share: Resource of FHIR STU3 (http://hl7.org/fhir/STU3/resource.html).
class Resource
{
public:
    /// A number that goes with the class and with how an object got its value. It is in no JSON.
    enum class Type : qint32 {
        DocumentReference = 3,
        AssignedDocumentReference = 8,
        Resource = 12,
    };

    Resource();
    virtual ~Resource();
    /// Copying and moving take everything over, resourceType() as well.
    Resource(const Resource &other);
    Resource &operator=(const Resource &other);
    Resource(Resource &&other) noexcept;
    Resource &operator=(Resource &&other) noexcept;

    /// A copy that the caller owns. Every derived class overrides this: here it takes over what belongs to
    /// Resource alone, and logs a warning to "ch.tessel.vexo-service.fhir.stu3.resource".
    [[nodiscard]] virtual Resource *clone() const;

    /// Type::Resource unless a derived class says otherwise.
    [[nodiscard]] Type resourceType() const { return m_resourceType; }
    void setResourceType(Type resourceType);

    [[nodiscard]] QString id() const { return m_id; }
    void setId(QString id);

    [[nodiscard]] const Meta &meta() const { return m_meta; }
    void setMeta(Meta meta);

    /// The rules under which the resource was made, a URI.
    [[nodiscard]] QString implicitRules() const { return m_implicitRules; }
    void setImplicitRules(QString implicitRules);

    [[nodiscard]] QString language() const { return m_language; }
    void setLanguage(QString language);

private:
    Type m_resourceType = Type::Resource;
    QString m_id;
    Meta m_meta;
    QString m_implicitRules;
    QString m_language;
};

} // namespace domain
