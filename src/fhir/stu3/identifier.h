#pragma once

#include "fhir/stu3/codableconcept.h"
#include "fhir/stu3/period.h"

#include <QString>

namespace domain {

/// What something is known by in a system: the data type Identifier of FHIR STU3
/// (http://hl7.org/fhir/STU3/datatypes.html#Identifier).
class Identifier final
{
public:
    Identifier();
    /// Fills these two and leaves the rest empty.
    Identifier(const QString &system, const QString &value);
    ~Identifier();
    Identifier(const Identifier &other);

    /// The purpose of the identifier: "usual", "official", "temp" or "secondary" in FHIR; any text here.
    [[nodiscard]] const QString &use() const { return m_use; }
    void setUse(QString use);

    [[nodiscard]] const CodableConcept &type() const { return m_type; }
    void setType(CodableConcept type);

    /// The namespace of the value, a URI.
    [[nodiscard]] const QString &system() const { return m_system; }
    void setSystem(QString system);

    [[nodiscard]] const QString &value() const { return m_value; }
    void setValue(QString value);

    /// When the identifier is, or was, valid.
    [[nodiscard]] const Period &period() const { return m_period; }
    void setPeriod(Period period);

private:
    QString m_use;
    CodableConcept m_type;
    QString m_system;
    QString m_value;
    Period m_period;
};

/// Whether system and value are equal. The other fields deliberately do not count.
[[nodiscard]] bool operator==(const Identifier &left, const Identifier &right);

} // namespace domain
