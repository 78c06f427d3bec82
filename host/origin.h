#pragma once

#include "hostport.h"

/// Where a web page comes from (RFC 6454). Equal origins trust each other.
struct Origin
{
    QByteArray scheme; ///< in lower case
    HostPort place; ///< that of `http` and `https` has a port in any case

    /// Reads `SCHEME://HOST` or `SCHEME://HOST:PORT`, as RFC 6454 (section 6.2) writes an origin. Empty if
    /// the text is anything else: with a path, be it a slash alone, with a user, a list, or the word `null`.
    [[nodiscard]] static std::optional<Origin> parse(const QByteArray &text);

    [[nodiscard]] bool operator==(const Origin &other) const
    {
        return scheme == other.scheme && place == other.place;
    }
};
