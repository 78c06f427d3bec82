#include "qdatetimefromjson.h"

#include <QDateTime>

namespace fhir::stu3 {

// NOLINTNEXTLINE(modernize-pass-by-value): built as the other readers are
QDateTimeFromJson::QDateTimeFromJson(const QString &text)
    : m_text(text)
{
}

QDateTime QDateTimeFromJson::parse() const
{
    return QDateTime::fromString(m_text, Qt::ISODate);
}

} // namespace fhir::stu3
