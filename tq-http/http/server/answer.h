#pragma once

#include "export.h"
#include "headerfields.h"

#include <QByteArray>

namespace http::server {

/// A completed answer, as the application gave it.
struct Answer
{
    int status = 200;
    HeaderFields headers;
    QByteArray body;
};

/// A failure of the host's own as `application/problem+json` (RFC 9457) with the members "title", the status'
/// reason phrase, "status", and "detail", left out if empty.
[[nodiscard]] TQ_HTTP_EXPORT Answer problem(int status, const QString &detail = {});

/// The reason phrase of a status (RFC 9110, section 15); empty for one that is not registered.
[[nodiscard]] TQ_HTTP_EXPORT QByteArray reasonPhrase(int status);

} // namespace http::server
