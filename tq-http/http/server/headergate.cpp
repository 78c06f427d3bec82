#include "headergate.h"

#include "authority.h"
#include "token.h"

#include <algorithm>
#include <array>
#include <limits>

namespace http::server {

using Verdict = HeaderGate::Verdict;

static bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
    return a.size() == b.size()
           && std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

static std::string_view trimmed(std::string_view text)
{
    const auto begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

static bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

static bool isKnownMethod(std::string_view method)
{
    static constexpr std::array<std::string_view, 9> methods{"GET",     "PUT",   "POST",    "DELETE", "HEAD",
                                                             "OPTIONS", "PATCH", "CONNECT", "TRACE"};
    return std::find(methods.begin(), methods.end(), method) != methods.end();
}

static bool isTarget(std::string_view target)
{
    return !target.empty() && std::all_of(target.begin(), target.end(), [](char c) {
        return c > ' ' && c < 0x7f && c != '#';
    });
}

HeaderGate::HeaderGate(const Limits &limits)
    : m_limits(limits)
{
}

void HeaderGate::begin(Section section)
{
    m_section = section;
    m_lineBegin = 0;
    m_searched = 0;
    m_atRequestLine = section == Section::Head;
    m_isHttp11 = false;
    m_hasHost = false;
    m_isChunked = false;
    m_hasContentLength = false;
    m_isBodyTooLarge = false;
}

Verdict HeaderGate::scan(std::string_view bytes)
{
    for (;;) {
        const auto lineFeed = bytes.find('\n', m_searched);
        m_searched = lineFeed == std::string_view::npos ? bytes.size() : lineFeed + 1;
        if (checkSize(bytes.substr(0, m_searched)) == Verdict::Refused)
            return Verdict::Refused;
        if (lineFeed == std::string_view::npos)
            return Verdict::Incomplete;

        const auto line = bytes.substr(m_lineBegin, lineFeed - m_lineBegin);
        if (line.empty() || line.back() != '\r')
            return refuse(400, "A line ends without a carriage return.");
        m_lineBegin = m_searched;
        const Verdict verdict = checkLine(line.substr(0, line.size() - 1));
        if (verdict != Verdict::Incomplete)
            return verdict;
    }
}

Verdict HeaderGate::checkSize(std::string_view bytes)
{
    // Of two limits the one that is met first counts, however many bytes come at a time.
    const auto line = bytes.substr(0, static_cast<std::size_t>(m_limits.maxHeaderBytes)).substr(m_lineBegin);
    if (m_atRequestLine && line.size() > static_cast<std::size_t>(m_limits.maxTargetBytes)) {
        const auto targetBegin = line.find(' ') + 1;
        if (targetBegin != 0) {
            const auto targetEnd = std::min(line.find(' ', targetBegin), line.size());
            if (targetEnd - targetBegin > static_cast<std::size_t>(m_limits.maxTargetBytes))
                return refuse(414, "The request target is too long.");
        }
    }
    if (bytes.size() > static_cast<std::size_t>(m_limits.maxHeaderBytes))
        return refuse(431, "The header block is too large.");
    return Verdict::Incomplete;
}

Verdict HeaderGate::checkLine(std::string_view line)
{
    if (std::any_of(line.begin(), line.end(), isControl))
        return refuse(400, "A header line holds a control character.");
    if (m_atRequestLine) {
        // One empty line before a request is skipped (RFC 9112, section 2.2).
        if (line.empty() && m_lineBegin == 2)
            return Verdict::Incomplete;
        return checkRequestLine(line);
    }
    if (line.empty())
        return checkWhole();
    return checkField(line);
}

Verdict HeaderGate::checkRequestLine(std::string_view line)
{
    const auto methodEnd = line.find(' ');
    const auto targetEnd = line.rfind(' ');
    if (methodEnd == std::string_view::npos || methodEnd == targetEnd)
        return refuse(400, "The request line is malformed.");
    const auto method = line.substr(0, methodEnd);
    const auto version = line.substr(targetEnd + 1);
    if (method.empty() || !std::all_of(method.begin(), method.end(), isTokenChar))
        return refuse(400, "The method is malformed.");
    if (!isTarget(line.substr(methodEnd + 1, targetEnd - methodEnd - 1)))
        return refuse(400, "The request target is malformed.");
    if (version.size() != 8 || version.substr(0, 5) != "HTTP/" || !isDigit(version[5]) || version[6] != '.'
        || !isDigit(version[7]))
        return refuse(400, "The protocol version is malformed.");
    m_isHttp11 = version == "HTTP/1.1";
    if (!m_isHttp11 && version != "HTTP/1.0")
        return refuse(505, "Only HTTP/1.1 and HTTP/1.0 are spoken here.");
    if (!isKnownMethod(method))
        return refuse(501, "The method is not known.");
    m_atRequestLine = false;
    return Verdict::Incomplete;
}

Verdict HeaderGate::checkField(std::string_view line)
{
    if (line.front() == ' ' || line.front() == '\t')
        return refuse(400, "A header line is folded.");
    const auto colon = line.find(':');
    if (colon == std::string_view::npos)
        return refuse(400, "A header line has no colon.");
    const auto name = line.substr(0, colon);
    if (name.empty() || !std::all_of(name.begin(), name.end(), isTokenChar))
        return refuse(400, "A header name is malformed.");
    // Trailers are dropped, so that nothing in them can frame or route a request.
    if (m_section == Section::Trailers)
        return Verdict::Incomplete;
    return checkFraming(name, trimmed(line.substr(colon + 1)));
}

Verdict HeaderGate::checkFraming(std::string_view name, std::string_view value)
{
    if (equalsIgnoringCase(name, "Host")) {
        if (m_hasHost)
            return refuse(400, "There is more than one Host header.");
        if (!readAuthority(value))
            return refuse(400, "The Host header is malformed.");
        m_hasHost = true;
    } else if (equalsIgnoringCase(name, "Content-Length")) {
        return checkContentLength(value);
    } else if (equalsIgnoringCase(name, "Transfer-Encoding")) {
        if (m_isChunked || value != "chunked")
            return refuse(400, "Only the transfer coding \"chunked\" is taken.");
        m_isChunked = true;
    }
    return Verdict::Incomplete;
}

Verdict HeaderGate::checkContentLength(std::string_view value)
{
    if (m_hasContentLength)
        return refuse(400, "There is more than one Content-Length header.");
    if (value.empty() || !std::all_of(value.begin(), value.end(), isDigit))
        return refuse(400, "The Content-Length is malformed.");
    m_hasContentLength = true;
    std::int64_t length = 0;
    for (const char digit : value) {
        // The parser has no number for it.
        if (length > std::numeric_limits<std::int64_t>::max() / 10 - 1)
            return refuse(413, "The body is too large.");
        length = length * 10 + (digit - '0');
    }
    m_isBodyTooLarge = length > m_limits.maxBodyBytes;
    return Verdict::Incomplete;
}

Verdict HeaderGate::checkWhole()
{
    if (m_section == Section::Trailers)
        return Verdict::Complete;
    if (m_isHttp11 && !m_hasHost)
        return refuse(400, "There is no Host header.");
    if (m_isChunked && m_hasContentLength)
        return refuse(400, "There are both a Content-Length and a Transfer-Encoding.");
    if (m_isChunked && !m_isHttp11)
        return refuse(400, "HTTP/1.0 has no Transfer-Encoding.");
    return Verdict::Complete;
}

Verdict HeaderGate::refuse(int status, const char *reason)
{
    m_status = status;
    m_reason = reason;
    return Verdict::Refused;
}

} // namespace http::server
