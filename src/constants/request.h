#pragma once

#include <QString>

/// Keys of the JSON bodies of requests.
namespace constants::structure::request::palliacarelogin {
[[nodiscard]] QString nameKeyName();
[[nodiscard]] QString passwordKeyName();
} // namespace constants::structure::request::palliacarelogin

namespace constants::structure::request::searchpatients {
[[nodiscard]] QString searchParameterKeyName();
[[nodiscard]] QString orgIdsKeyName();
} // namespace constants::structure::request::searchpatients
