#pragma once

#include "answer.h"
#include "request.h"

#include <QString>

#include <optional>

namespace http::server {

/// What a Guard says of one request.
struct Screening
{
    /// Sent instead of the application's answer; the request does not reach the application, and its body is
    /// not read.
    std::optional<Answer> answer;
    /// Go out with the answer, whoever gives it, behind its own header fields.
    HeaderFields fields;
};

/**
 * Decides who is served, before the application is asked. Called on the event-loop thread from inside the
 * server's I/O: it is to return at once, and must neither enter an event loop nor call the server.
 */
class TQ_HTTP_EXPORT Guard
{
public:
    /// A client has connected by `socket`, from which nothing is read yet; the descriptor stays the server's.
    /// An empty string admits it. Otherwise the client is told 403 with this sentence, and its connection is
    /// closed.
    [[nodiscard]] virtual QString refusal(int socket) = 0;

    /// The head of a request has come, its framing is sound, its target is not looked at yet.
    [[nodiscard]] virtual Screening screen(Request::HttpMethod method, const HeaderFields &headers) = 0;

protected:
    ~Guard() = default;
};

} // namespace http::server
