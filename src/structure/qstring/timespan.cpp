#include "structure/qstring/timespan.h"

#include <QLoggingCategory>

namespace structure::qstring {

const QLoggingCategory &LifeTimeLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.vexo-service.api.util.structure.qstring.lifetime");
    return category;
}

QString Timespan::create(const content::Timespan &span)
{
    return QString::number(span.seconds(), 10);
}

bool Timespan::parseAndFind(const QString &text, content::Timespan &span)
{
    const auto seconds = static_cast<unsigned long>(text.toLongLong(nullptr, 10));
    span = content::Timespan::createTimespanSeconds(seconds);
    return true;
}

} // namespace structure::qstring
