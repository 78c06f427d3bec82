#include "structure/qstring/timestamp.h"

#include "constants/qstring.h"

#include <QLoggingCategory>

namespace structure::qstring {

namespace words = constants::structure::qstring::timestamp;

const QLoggingCategory &TimestampLogging()
{
    static const QLoggingCategory category(
        "ch.tessel.vexo.vexo-service.api.util.structure.qstring.timestamp");
    return category;
}

QString Timestamp::create(const QDateTime &time)
{
    return time.toString(words::formatString());
}

bool Timestamp::parseAndFind(const QString &text, QDateTime &time)
{
    time = QDateTime::fromString(text, words::formatString());
    if (time.isValid())
        return true;
    qCWarning(TimestampLogging) << "Unexpected invalid date format found in string: " << text;
    return false;
}

} // namespace structure::qstring
