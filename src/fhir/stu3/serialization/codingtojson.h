#pragma once

class QJsonObject;

namespace domain {
class Coding;
}

namespace fhir::stu3 {

/// Writes a Coding. Keeps a reference to it.
class CodingToJson final
{
public:
    explicit CodingToJson(const domain::Coding &coding);

    /// The texts that are not empty, and "userSelected" if it is true; an empty object for an empty Coding.
    [[nodiscard]] QJsonObject toJson() const;

private:
    const domain::Coding &m_coding;
};

} // namespace fhir::stu3
