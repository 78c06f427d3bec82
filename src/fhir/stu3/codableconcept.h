#pragma once

#include "fhir/stu3/coding.h"

#include <QString>

namespace domain {

/// A concept, as a code or as text: the data type CodableConcept of FHIR STU3
/// (http://hl7.org/fhir/STU3/datatypes.html#CodableConcept), with exactly one coding instead of a list.
class CodableConcept final
{
public:
    [[nodiscard]] const Coding &coding() const { return m_coding; }
    void setCoding(Coding coding);

    [[nodiscard]] const QString &text() const { return m_text; }
    void setText(QString text);

    /// Whether both the coding and the text are empty.
    [[nodiscard]] bool isEmpty() const;

private:
    Coding m_coding;
    QString m_text;
};

} // namespace domain
