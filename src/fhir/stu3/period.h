#pragma once

#include <QDateTime>

namespace domain {

/// A time from a start to an end, either of which may be null: the data type Period of FHIR STU3
/// (http://hl7.org/fhir/STU3/datatypes.html#Period).
class Period final
{
public:
    [[nodiscard]] const QDateTime &start() const { return m_start; }
    void setStart(QDateTime start);

    [[nodiscard]] const QDateTime &end() const { return m_end; }
    void setEnd(QDateTime end);

private:
    QDateTime m_start;
    QDateTime m_end;
};

} // namespace domain
