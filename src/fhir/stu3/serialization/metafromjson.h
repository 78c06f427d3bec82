#pragma once

class QJsonObject;

namespace domain {
class Meta;
}

namespace fhir::stu3 {

/// Reads a Meta. Keeps references to both arguments, and adds every key that is missing to `json`, as null:
/// give it a copy.
class MetaFromJson final
{
public:
    MetaFromJson(domain::Meta &meta, QJsonObject &json);

    /// Sets every field; a key that is missing or of another type empties its field. Each element of
    /// "security" and "tag" gives a coding, an empty one if it is no object. A list under "profile", as FHIR
    /// has it, reads as the empty text.
    void parse();

private:
    domain::Meta &m_meta;
    QJsonObject &m_json;
};

} // namespace fhir::stu3
