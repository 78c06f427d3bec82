#include "requestreader.h"

#include "limits.h"
#include "requesttarget.h"

#include <utility>

namespace http::server {

RequestReader::RequestReader(const Limits &limits)
    : m_gate(limits)
    , m_parser(limits.maxBodyBytes, limits.maxHeaderBytes)
{
}

RequestReader::Outcome RequestReader::read(std::string_view bytes, std::size_t *consumed)
{
    *consumed = 0;
    Outcome outcome = Outcome::Incomplete;
    if (m_afterHead)
        outcome = follow(*std::exchange(m_afterHead, std::nullopt));
    while (outcome == Outcome::Incomplete && *consumed < bytes.size()) {
        const auto rest = bytes.substr(*consumed);
        std::size_t taken = 0;
        outcome = m_part == Part::Body ? follow(m_parser.feed(rest, &taken)) : readSection(rest, &taken);
        *consumed += taken;
        if (taken == 0)
            break;
    }
    return outcome;
}

RequestReader::Outcome RequestReader::readSection(std::string_view bytes, std::size_t *consumed)
{
    switch (m_gate.scan(bytes)) {
    case HeaderGate::Verdict::Incomplete: return Outcome::Incomplete;
    case HeaderGate::Verdict::Refused: return refuse(m_gate.status(), m_gate.reason());
    case HeaderGate::Verdict::Complete: break;
    }
    *consumed = m_gate.length();
    const bool isHead = m_part == Part::Head;
    if (isHead)
        m_parser.headers.reserve(static_cast<int>(m_gate.length()));
    // Of trailers the parser sees the empty line alone: to it, some of the fields that they may hold are
    // framing.
    const auto section = isHead ? bytes.substr(0, m_gate.length()) : std::string_view("\r\n");
    std::size_t parsed = 0;
    const auto step = m_parser.feed(section, &parsed);
    // Whatever the parser makes of a section, it ends where the gate says or it is refused.
    if (parsed != section.size() || step == RequestParser::Step::Malformed)
        return follow(RequestParser::Step::Malformed);
    if (!isHead)
        return follow(step);
    m_afterHead = m_gate.isBodyTooLarge() ? RequestParser::Step::BodyTooLarge : step;
    return Outcome::HeadRead;
}

RequestReader::Outcome RequestReader::follow(RequestParser::Step step)
{
    switch (step) {
    case RequestParser::Step::NeedsMore: m_part = Part::Body; return Outcome::Incomplete;
    case RequestParser::Step::AtTrailers:
        m_part = Part::Trailers;
        m_gate.begin(HeaderGate::Section::Trailers);
        return Outcome::Incomplete;
    case RequestParser::Step::Complete: return Outcome::Complete;
    case RequestParser::Step::Malformed: return refuse(400, "The request is malformed.");
    case RequestParser::Step::BodyTooLarge: break;
    }
    return refuse(413, "The body is too large.");
}

RequestReader::Outcome RequestReader::refuse(int status, const char *reason)
{
    m_status = status;
    m_reason = reason;
    return Outcome::Refused;
}

Request::HttpMethod RequestReader::method() const
{
    return static_cast<Request::HttpMethod>(m_parser.method());
}

QSharedPointer<Request> RequestReader::takeRequest()
{
    QSharedPointer<Request> request;
    if (auto url = relativeUrl(m_parser.target, method() == Request::HttpMethod::Connect)) {
        request = QSharedPointer<Request>::create(method(), *std::move(url), std::move(m_parser.headers),
                                                  std::move(m_parser.body));
    }
    drop();
    return request;
}

void RequestReader::drop()
{
    m_parser.reset();
    m_gate.begin(HeaderGate::Section::Head);
    m_part = Part::Head;
    m_afterHead.reset();
}

} // namespace http::server
