#pragma once

#include "export.h"

#include <QByteArray>

namespace http::server {

struct Answer;

/// True if an answer of this status has no body (RFC 9110, sections 6.4.1 and 15.3.6).
[[nodiscard]] TQ_HTTP_EXPORT bool isBodiless(int status);

/// The status line and the header block of `answer`, its empty line included; Content-Length, Date and
/// Connection are set here.
[[nodiscard]] TQ_HTTP_EXPORT QByteArray answerHead(const Answer &answer, bool keepsAlive);

} // namespace http::server
