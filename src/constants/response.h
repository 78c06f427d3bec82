#pragma once

#include <QString>

/// Keys of the JSON bodies of responses.
namespace constants::structure::response::palliacarestatus {
[[nodiscard]] QString loginOutcomeKeyName();
} // namespace constants::structure::response::palliacarestatus
