#pragma once

#include "export.h"

#include <optional>
#include <string_view>

namespace http::server {

/// Where a request goes: a host and its port, each of which may be empty (RFC 3986, sections 3.2.2
/// and 3.2.3).
struct Authority
{
    std::string_view host;
    std::string_view port;
};

/// Takes apart `text`, which must outlive the result. Empty if it is not a host, which may be an address in
/// brackets, alone or with a colon and decimal digits behind it; no user belongs to it. Names with a comma
/// are not taken, so that no list of hosts is mistaken for one.
[[nodiscard]] TQ_HTTP_EXPORT std::optional<Authority> readAuthority(std::string_view text);

} // namespace http::server
