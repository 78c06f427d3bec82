#pragma once

#include <QString>

/// Reserved keys of a context object.
namespace constants::structure::context {
[[nodiscard]] QString actionRequestsKeyName();
[[nodiscard]] QString idKeyName();
[[nodiscard]] QString inboxKeyName();
} // namespace constants::structure::context
