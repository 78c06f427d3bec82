#pragma once

#include "settingvalue.h"

#include <http/server/limits.h>

#include <variant>

/// Reads `http.max…`, in bytes and connections, and `http.…Timeout`, in seconds. A key that is not set has
/// its default, a value that makes no sense is a failure.
[[nodiscard]] std::variant<http::server::Limits, StartFailure> readLimits(const SettingLookup &lookup);

/// These keys with their defaults and meanings, a line each, for the help text.
[[nodiscard]] QString describeLimits();
