#pragma once

#include <QString>

namespace http::server {

/// A socket that listens, or why there is none.
struct ListeningSocket
{
    int descriptor = -1; ///< the caller's to close; does not block
    QString error; ///< empty if there is a descriptor
};

/// Listens on a numeric IPv4 or IPv6 address; port 0 takes any free port. An address in use by connections of
/// an earlier process alone is free.
[[nodiscard]] ListeningSocket listeningSocket(const QString &address, quint16 port);

} // namespace http::server
