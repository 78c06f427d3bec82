#pragma once

#include "export.h"
#include "limits.h"

#include <optional>
#include <string_view>

namespace http::server {

/**
 * Strict check of a header block before the parser sees it (RFC 9112). The parser is lenient where others are
 * strict, and two readers that disagree about where a request ends are how requests are smuggled.
 *
 * A section is a request's head, from its request line to the empty line, or the trailers of a chunked body.
 * It is scanned piece by piece; each byte is looked at once.
 */
class TQ_HTTP_EXPORT HeaderGate final
{
public:
    enum class Section { Head, Trailers };
    enum class Verdict { Incomplete, Complete, Refused };

    /// `limits` must outlive the gate.
    explicit HeaderGate(const Limits &limits);

    /// Forgets what was scanned and expects a new section.
    void begin(Section section);

    /// Scans `bytes`, which start with the section's first byte and repeat what earlier calls have seen.
    [[nodiscard]] Verdict scan(std::string_view bytes);

    /// The size of a complete section, its empty line included.
    [[nodiscard]] std::size_t length() const { return m_lineBegin; }

    /// A complete head tells of a body that is larger than the limit: 413, after whatever else is to be said.
    [[nodiscard]] bool isBodyTooLarge() const { return m_isBodyTooLarge; }

    /// Why the section was refused: the status to answer, and a sentence.
    [[nodiscard]] int status() const { return m_status; }
    [[nodiscard]] const char *reason() const { return m_reason; }

private:
    [[nodiscard]] Verdict checkLine(std::string_view line);
    [[nodiscard]] Verdict checkRequestLine(std::string_view line);
    [[nodiscard]] Verdict checkField(std::string_view line);
    [[nodiscard]] Verdict checkFraming(std::string_view name, std::string_view value);
    [[nodiscard]] Verdict checkContentLength(std::string_view value);
    [[nodiscard]] Verdict checkWhole();
    [[nodiscard]] Verdict checkSize(std::string_view bytes);
    [[nodiscard]] Verdict refuse(int status, const char *reason);

    const Limits &m_limits;
    std::size_t m_lineBegin = 0;
    std::size_t m_searched = 0;
    Section m_section = Section::Head;
    bool m_atRequestLine = true;
    bool m_isHttp11 = false;
    bool m_hasHost = false;
    bool m_isChunked = false;
    bool m_hasContentLength = false;
    bool m_isBodyTooLarge = false;
    int m_status = 0;
    const char *m_reason = "";
};

} // namespace http::server
