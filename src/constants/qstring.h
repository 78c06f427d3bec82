#pragma once

#include <QString>

/// Format strings of dates and times, as QDateTime and QTime take them.
namespace constants::structure::qstring::timestamp {
[[nodiscard]] QString formatString();
} // namespace constants::structure::qstring::timestamp

namespace constants::structure::qstring::lifetime {
[[nodiscard]] QString formatString();
} // namespace constants::structure::qstring::lifetime
