#pragma once

#include "structure/content/timespan.h"

#include <QString>

class QLoggingCategory;

namespace structure::qstring {

/// The text of a span on the wire: its seconds as a decimal number.
class Timespan final
{
public:
    [[nodiscard]] static QString create(const content::Timespan &span);

    /// Makes `span` what `text` stands for. Always true: a text that is no number deliberately gives 0
    /// seconds, and nobody is warned.
    [[nodiscard]] static bool parseAndFind(const QString &text, content::Timespan &span);
};

/// The category "ch.tessel.vexo.vexo-service.api.util.structure.qstring.lifetime".
const QLoggingCategory &LifeTimeLogging();

} // namespace structure::qstring
