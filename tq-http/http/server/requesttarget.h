#pragma once

#include "export.h"

#include <QUrl>

#include <optional>

class QByteArray;

namespace http::server {

/// The path and query of a request target (RFC 9112, section 3.2) as a relative URL, percent-encoding kept.
/// The authority of an absolute-form target must name a host and is dropped; authority form, which CONNECT
/// alone uses and with a port, and the asterisk of OPTIONS give a URL that no route has. Empty if the target
/// has none of the forms that `isConnect` allows.
[[nodiscard]] TQ_HTTP_EXPORT std::optional<QUrl> relativeUrl(const QByteArray &target, bool isConnect);

} // namespace http::server
