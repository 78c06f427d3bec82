#pragma once

class QJsonObject;

namespace domain {
class Identifier;
}

namespace fhir::stu3 {

/// Reads an Identifier. Keeps references to both arguments.
class IdentifierFromJson final
{
public:
    IdentifierFromJson(domain::Identifier &identifier, const QJsonObject &json);

    /// Always sets type and period, to empty ones if they are missing. Sets use, system and value, each only
    /// to a text that is not empty.
    void parse();

private:
    domain::Identifier &m_identifier;
    const QJsonObject &m_json;
};

} // namespace fhir::stu3
