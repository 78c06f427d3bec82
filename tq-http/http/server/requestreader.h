#pragma once

#include "headergate.h"
#include "request.h"
#include "requestparser.h"

#include <QSharedPointer>

#include <optional>
#include <string_view>

namespace http::server {

struct Limits;

/// Reads requests from a stream of bytes, one after the other: the gate in front of the parser.
class RequestReader final
{
public:
    enum class Outcome {
        Incomplete, ///< more bytes are needed
        HeadRead, ///< told once a request, whatever follows
        Complete, ///< takeRequest() is next
        Refused ///< status() and reason() say why; the reader is of no use any more
    };
    enum class Part { Head, Body, Trailers };

    /// `limits` must outlive the reader.
    explicit RequestReader(const Limits &limits);

    /// Reads on in `bytes`, which begin with what an earlier call has left, and takes `consumed` of them. Of
    /// a head that is incomplete nothing is taken.
    [[nodiscard]] Outcome read(std::string_view bytes, std::size_t *consumed);

    /// What is read at present; the body at the earliest when read() is called again after HeadRead.
    [[nodiscard]] Part part() const { return m_part; }

    [[nodiscard]] int status() const { return m_status; }
    [[nodiscard]] const char *reason() const { return m_reason; }

    // From HeadRead on, until the request is taken.

    [[nodiscard]] Request::HttpMethod method() const;
    [[nodiscard]] const HeaderFields &headers() const { return m_parser.headers; }
    [[nodiscard]] bool keepsAlive() const { return m_parser.keepsAlive(); }
    [[nodiscard]] bool isHttp11() const { return m_parser.isHttp11(); }
    /// Bytes of a body are to come, and are wanted.
    [[nodiscard]] bool expectsBody() const { return m_afterHead == RequestParser::Step::NeedsMore; }
    /// The request ends with its head.
    [[nodiscard]] bool endsWithHead() const { return m_afterHead == RequestParser::Step::Complete; }

    /// Hands the request over and expects the next one. Null if the target has no form that HTTP knows.
    [[nodiscard]] QSharedPointer<Request> takeRequest();
    /// Forgets the request and expects the next one.
    void drop();

private:
    [[nodiscard]] Outcome readSection(std::string_view bytes, std::size_t *consumed);
    [[nodiscard]] Outcome follow(RequestParser::Step step);
    [[nodiscard]] Outcome refuse(int status, const char *reason);

    HeaderGate m_gate;
    RequestParser m_parser;
    Part m_part = Part::Head;
    std::optional<RequestParser::Step> m_afterHead; ///< what the parser has said, not followed yet
    int m_status = 0;
    const char *m_reason = "";
};

} // namespace http::server
