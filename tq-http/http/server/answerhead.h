#pragma once

#include "export.h"

#include <QByteArray>

namespace http::server {

struct Answer;
class HeaderFields;

/// True if an answer of this status has no body (RFC 9110, sections 6.4.1 and 15.3.6).
[[nodiscard]] TQ_HTTP_EXPORT bool isBodiless(int status);

/// The status line and the header block of `answer`, its empty line included, with `more` fields behind its
/// own; Content-Length, Date and Connection are set here.
[[nodiscard]] TQ_HTTP_EXPORT QByteArray answerHead(const Answer &answer, const HeaderFields &more,
                                                   bool keepsAlive);

} // namespace http::server
