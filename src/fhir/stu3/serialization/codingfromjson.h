#pragma once

class QJsonObject;

namespace domain {
class Coding;
}

namespace fhir::stu3 {

/// Reads a Coding. Keeps references to both arguments.
class CodingFromJson final
{
public:
    CodingFromJson(domain::Coding &coding, const QJsonObject &json);

    /// Sets every field; a key that is missing or of another type empties its field.
    void parse();

private:
    domain::Coding &m_coding;
    const QJsonObject &m_json;
};

} // namespace fhir::stu3
