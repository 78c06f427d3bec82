#pragma once

class QJsonObject;

namespace domain {
class Resource;
}

namespace fhir::stu3 {

/// Reads what all resources share. Keeps references to both arguments.
class ResourceFromJson final
{
public:
    ResourceFromJson(domain::Resource &resource, const QJsonObject &json);

    /// Sets every field; a key that is missing or of another type empties its field. Does not look at
    /// "resourceType": what the object is is known to the caller.
    void parse();

private:
    domain::Resource &m_resource;
    const QJsonObject &m_json;
};

} // namespace fhir::stu3
