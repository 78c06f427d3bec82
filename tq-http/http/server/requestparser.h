#pragma once

#include "headerfields.h"

#include <QByteArray>

#include <cstdint>
#include <memory>
#include <string_view>

struct llhttp__internal_s; // NOLINT(bugprone-reserved-identifier): the name that llhttp.h gives it

namespace http::server {

/**
 * Takes one request apart, with llhttp. It is given a head that the gate has passed, whole, and then the body
 * in pieces of any size; it keeps what it found until reset().
 */
class RequestParser final
{
public:
    enum class Step {
        NeedsMore,
        AtTrailers, ///< once the gate has passed the trailer section, the empty line at its end is to be fed
        Complete,
        Malformed,
        BodyTooLarge
    };

    /// `maxExtensionBytes` limits the chunk extensions of one body, which are read and dropped.
    RequestParser(std::int64_t maxBodyBytes, std::int64_t maxExtensionBytes);
    ~RequestParser();
    Q_DISABLE_COPY_MOVE(RequestParser)

    /// Parses on; `consumed` becomes the number of bytes that belong to this request.
    [[nodiscard]] Step feed(std::string_view bytes, std::size_t *consumed);

    /// Forgets the request and expects a new one.
    void reset();

    /// The method's code, as Request::HttpMethod has it.
    [[nodiscard]] int method() const;
    [[nodiscard]] bool isHttp11() const;
    [[nodiscard]] bool keepsAlive() const { return m_keepsAlive; }
    [[nodiscard]] bool hasBody() const { return m_hasBody; }

    QByteArray target;
    HeaderFields headers;
    QByteArray body;

private:
    struct Callbacks;

    std::int64_t m_maxBodyBytes;
    std::int64_t m_maxExtensionBytes;
    std::int64_t m_extensionBytes = 0;
    std::unique_ptr<llhttp__internal_s> m_parser;
    std::string_view m_name; ///< both in the section that is being fed
    std::string_view m_value;
    Step m_step = Step::NeedsMore;
    bool m_keepsAlive = false;
    bool m_hasBody = false;
};

} // namespace http::server
