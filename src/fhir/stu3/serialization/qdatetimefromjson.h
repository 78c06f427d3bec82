#pragma once

#include <QString>

class QDateTime;

namespace fhir::stu3 {

/// Reads a date-time as it stands in a text of JSON: the data types dateTime and instant of FHIR STU3
/// (http://hl7.org/fhir/STU3/datatypes.html#dateTime).
class QDateTimeFromJson final
{
public:
    explicit QDateTimeFromJson(const QString &text);

    /// What Qt::ISODate makes of the text: null or invalid if it is empty, malformed, or a year or month
    /// alone.
    [[nodiscard]] QDateTime parse() const;

private:
    QString m_text;
};

} // namespace fhir::stu3
