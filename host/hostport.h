#pragma once

#include <QByteArray>

#include <optional>

/// A host's name or address, and a port: what a Host header holds, and an origin behind its scheme.
struct HostPort
{
    QByteArray host; ///< in lower case; an IPv6 address stands in brackets
    quint16 port = 0; ///< 0 if there is none

    /// Reads `HOST` or `HOST:PORT`. A name consists of ASCII letters, digits, `-`, `.` and `_`; a port is 1
    /// to 65535, without leading zeros. Empty if the text is anything else.
    [[nodiscard]] static std::optional<HostPort> parse(const QByteArray &text);

    [[nodiscard]] bool operator==(const HostPort &other) const
    {
        return host == other.host && port == other.port;
    }
};
