#pragma once

#include <QDateTime>
#include <QString>

class QLoggingCategory;

namespace structure::qstring {

/// The text of a time on the wire, "yyyy-MM-ddTHH:mm:ss": wall-clock time to the second, without an offset.
class Timestamp final
{
public:
    /// The wall-clock time of `time` in its own time zone; empty for a null or invalid time.
    [[nodiscard]] static QString create(const QDateTime &time);

    /// Makes `time` what `text` stands for, in local time. False, with a warning and an invalid `time`, for
    /// any other form, such as one with an offset or a fraction of a second.
    [[nodiscard]] static bool parseAndFind(const QString &text, QDateTime &time);
};

/// The category "ch.tessel.vexo.vexo-service.api.util.structure.qstring.timestamp".
const QLoggingCategory &TimestampLogging();

} // namespace structure::qstring
