#include "connection.h"

#include "answerhead.h"
#include "limits.h"
#include "request.h"
#include "requesttarget.h"

#include <QLoggingCategory>

#include <utility>

namespace http::server {

static const QLoggingCategory &connectionLogging()
{
    static const QLoggingCategory category("ch.tessel.http.server.connection");
    return category;
}

Connection::Connection(const Limits &limits, ConnectionDelegate &delegate)
    : m_limits(limits)
    , m_delegate(delegate)
    , m_gate(limits)
    , m_parser(limits.maxBodyBytes, limits.maxHeaderBytes)
{
}

Connection::~Connection()
{
    if (m_response)
        m_response->detach();
}

void Connection::start()
{
    startTimer(Timer::Idle);
}

void Connection::refuse(int status, const char *reason)
{
    qCInfo(connectionLogging) << "Refused a request with" << status << reason;
    m_keepsAlive = false;
    m_isHead = false;
    send(problem(status, QString::fromLatin1(reason)));
}

void Connection::abort()
{
    if (const auto response = std::exchange(m_response, {}))
        response->detach();
    close();
}

void Connection::received(std::string_view bytes)
{
    if (waitingBytes() > 0) {
        m_waiting.append(bytes.data(), static_cast<int>(bytes.size()));
        consumeWaiting();
    } else {
        bytes.remove_prefix(consume(bytes));
        if (!isOver())
            m_waiting.append(bytes.data(), static_cast<int>(bytes.size()));
    }
    settle();
}

void Connection::endOfInput()
{
    if (m_phase == Phase::Exchange || m_phase == Phase::Flushing) {
        m_inputEnded = true;
        if (m_response)
            m_delegate.clientGone(m_response);
    } else {
        close();
    }
}

void Connection::hungUp()
{
    m_hungUp = true;
    if (m_response)
        m_delegate.clientGone(m_response);
}

void Connection::lost()
{
    if (const auto response = std::exchange(m_response, {})) {
        response->detach();
        m_delegate.clientGone(response);
    }
    close();
}

void Connection::flushed()
{
    if (m_phase == Phase::Flushing)
        readNext();
}

void Connection::timedOut()
{
    switch (std::exchange(m_timer, Timer::None)) {
    case Timer::Header: return refuse(408, "The headers took too long.");
    case Timer::Body: return refuse(408, "The body made no progress.");
    case Timer::Flush:
        if (m_delegate.queuedBytes() < m_queuedBytes)
            return startTimer(Timer::Flush);
        return lost();
    case Timer::Idle:
    case Timer::Linger: return close();
    case Timer::None: return;
    }
}

void Connection::answer(Answer &&answer)
{
    m_response.reset();
    send(answer);
}

void Connection::abandoned()
{
    m_response.reset();
    close();
}

bool Connection::takesInput() const
{
    return m_phase == Phase::Head || m_phase == Phase::Body || m_phase == Phase::Trailers;
}

bool Connection::isOver() const
{
    return m_phase == Phase::Lingering || m_phase == Phase::Closed;
}

std::size_t Connection::consume(std::string_view bytes)
{
    std::size_t consumed = 0;
    while (takesInput() && consumed < bytes.size()) {
        const auto rest = bytes.substr(consumed);
        const auto taken = m_phase == Phase::Body ? consumeBody(rest) : consumeSection(rest);
        if (taken == 0)
            break;
        consumed += taken;
    }
    return consumed;
}

std::size_t Connection::consumeSection(std::string_view bytes)
{
    switch (m_gate.scan(bytes)) {
    case HeaderGate::Verdict::Incomplete: return 0;
    case HeaderGate::Verdict::Refused: refuse(m_gate.status(), m_gate.reason()); return 0;
    case HeaderGate::Verdict::Complete: break;
    }
    if (m_phase == Phase::Head)
        m_parser.headers.reserve(static_cast<int>(m_gate.length()));
    // Of trailers the parser sees the empty line alone: to it, some of the fields that they may hold are
    // framing.
    const auto section =
        m_phase == Phase::Trailers ? std::string_view("\r\n") : bytes.substr(0, m_gate.length());
    std::size_t consumed = 0;
    const auto step = m_parser.feed(section, &consumed);
    // Whatever the parser makes of a section, it ends where the gate says or it is refused.
    follow(consumed == section.size() ? step : RequestParser::Step::Malformed);
    return m_gate.length();
}

std::size_t Connection::consumeBody(std::string_view bytes)
{
    std::size_t consumed = 0;
    follow(m_parser.feed(bytes, &consumed));
    return consumed;
}

void Connection::consumeWaiting()
{
    const std::string_view waiting(m_waiting.constData(), static_cast<std::size_t>(m_waiting.size()));
    m_waitingBegin += static_cast<int>(consume(waiting.substr(static_cast<std::size_t>(m_waitingBegin))));
    if (waitingBytes() == 0 || isOver()) {
        m_waiting.clear();
        m_waitingBegin = 0;
    } else if (m_waitingBegin > maxWaitingBytes / 2) {
        m_waiting.remove(0, m_waitingBegin);
        m_waitingBegin = 0;
    }
}

void Connection::follow(RequestParser::Step step)
{
    switch (step) {
    case RequestParser::Step::NeedsMore:
        if (std::exchange(m_phase, Phase::Body) == Phase::Head)
            expectBody();
        return;
    case RequestParser::Step::AtTrailers:
        m_phase = Phase::Trailers;
        m_gate.begin(HeaderGate::Section::Trailers);
        return;
    case RequestParser::Step::Complete: return startExchange();
    case RequestParser::Step::Malformed: return refuse(400, "The request is malformed.");
    case RequestParser::Step::BodyTooLarge: return refuse(413, "The body is too large.");
    }
}

void Connection::expectBody()
{
    const QByteArray expectation = m_parser.headers.joined("Expect");
    if (expectation.isNull() || !m_parser.isHttp11())
        return;
    if (qstricmp(expectation.constData(), "100-continue") != 0)
        return refuse(417, "Only the expectation \"100-continue\" is met.");
    if (m_delegate.write(QByteArrayLiteral("HTTP/1.1 100 Continue\r\n\r\n"), {})
        == ConnectionDelegate::Written::Failed)
        lost();
}

void Connection::startExchange()
{
    const auto method = static_cast<Request::HttpMethod>(m_parser.method());
    auto url = relativeUrl(m_parser.target, method == Request::HttpMethod::Connect);
    if (!url)
        return refuse(400, "The request target is malformed.");
    m_phase = Phase::Exchange;
    m_keepsAlive = m_parser.keepsAlive();
    m_isHead = method == Request::HttpMethod::Head;
    const auto request = QSharedPointer<Request>::create(method, *std::move(url), std::move(m_parser.headers),
                                                         std::move(m_parser.body));
    m_parser.reset();
    m_response = QSharedPointer<Response>::create(static_cast<AnswerSink *>(this));
    m_delegate.requestReceived(request, m_response);
    if (m_inputEnded || m_hungUp)
        m_delegate.clientGone(m_response);
}

void Connection::send(const Answer &answer)
{
    m_phase = Phase::Flushing;
    const bool hasBody = !m_isHead && !isBodiless(answer.status);
    const QByteArray head = answerHead(answer, m_keepsAlive);
    switch (m_delegate.write(head, hasBody ? answer.body : QByteArray())) {
    case ConnectionDelegate::Written::Sent: return readNext();
    case ConnectionDelegate::Written::Queued: startTimer(Timer::Flush); return settle();
    case ConnectionDelegate::Written::Failed: return lost();
    }
}

void Connection::readNext()
{
    if (!m_keepsAlive)
        return linger();
    m_phase = Phase::Head;
    m_gate.begin(HeaderGate::Section::Head);
    startTimer(Timer::Idle);
    if (waitingBytes() > 0)
        consumeWaiting();
    if (m_inputEnded && takesInput())
        return close();
    settle();
}

void Connection::linger()
{
    if (m_inputEnded)
        return close();
    m_phase = Phase::Lingering;
    m_delegate.endOutput();
    startTimer(Timer::Linger);
    settle();
}

void Connection::close()
{
    if (std::exchange(m_phase, Phase::Closed) == Phase::Closed)
        return;
    stopTimer();
    m_delegate.close();
}

/// Brings timer and reading in line with what the connection waits for.
void Connection::settle()
{
    switch (m_phase) {
    case Phase::Head:
        if (waitingBytes() > 0 && m_timer != Timer::Header)
            startTimer(Timer::Header);
        break;
    case Phase::Body:
    case Phase::Trailers: startTimer(Timer::Body); break;
    case Phase::Exchange: stopTimer(); break;
    case Phase::Flushing:
    case Phase::Lingering: break;
    case Phase::Closed: return;
    }
    const bool reads = takesInput() || m_phase == Phase::Lingering || waitingBytes() <= maxWaitingBytes;
    if (std::exchange(m_reading, reads) != reads)
        m_delegate.setReading(reads);
}

void Connection::startTimer(Timer timer)
{
    m_timer = timer;
    switch (timer) {
    case Timer::None: return;
    case Timer::Idle: return m_delegate.startTimer(m_limits.idleTimeout);
    case Timer::Header: return m_delegate.startTimer(m_limits.headerTimeout);
    case Timer::Body: return m_delegate.startTimer(m_limits.bodyTimeout);
    case Timer::Flush:
        m_queuedBytes = m_delegate.queuedBytes();
        return m_delegate.startTimer(m_limits.idleTimeout);
    case Timer::Linger: return m_delegate.startTimer(lingerTime);
    }
}

void Connection::stopTimer()
{
    if (std::exchange(m_timer, Timer::None) != Timer::None)
        m_delegate.stopTimer();
}

} // namespace http::server
