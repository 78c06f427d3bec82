#include "periodfromjson.h"

#include "fhir/stu3/period.h"
#include "qdatetimefromjson.h"

#include <QJsonObject>

namespace fhir::stu3 {

PeriodFromJson::PeriodFromJson(domain::Period &period, const QJsonObject &json)
    : m_period(period)
    , m_json(json)
{
}

void PeriodFromJson::parse()
{
    const QDateTime start = QDateTimeFromJson(m_json[QLatin1String("start")].toString()).parse();
    if (!start.isNull())
        m_period.setStart(start);
    const QDateTime end = QDateTimeFromJson(m_json[QLatin1String("end")].toString()).parse();
    if (!end.isNull())
        m_period.setEnd(end);
}

} // namespace fhir::stu3
