#pragma once

class QJsonObject;

namespace domain {
class CodableConcept;
}

namespace fhir::stu3 {

/// Reads a CodableConcept. Keeps references to both arguments.
class CodableConceptFromJson final
{
public:
    CodableConceptFromJson(domain::CodableConcept &codableConcept, const QJsonObject &json);

    /// Always sets the coding, from an object under "coding"; a list of codings, as FHIR has it, gives an
    /// empty one. Sets the text only to one that is not empty.
    void parse();

private:
    domain::CodableConcept &m_codableConcept;
    const QJsonObject &m_json;
};

} // namespace fhir::stu3
