#pragma once

#include <http/server/answer.h>
#include <http/server/request.h>

/**
 * What a browser is told so that pages of another origin may use what is served here: the CORS protocol of
 * the Fetch standard. Nothing is told of credentials, so that the browser sends none by itself.
 */
namespace cors {

/// The header fields of every answer to a page of `origin`, which is repeated as it was sent.
[[nodiscard]] http::server::HeaderFields fields(const QByteArray &origin);

/// Whether the browser asks beforehand whether a page may send a request.
[[nodiscard]] bool isPreflight(http::server::Request::HttpMethod method,
                               const http::server::HeaderFields &headers);

/// The answer to that, which goes out with fields(): all methods and header fields that the routes take.
[[nodiscard]] http::server::Answer preflightAnswer();

} // namespace cors
