#include "connection.h"

#include "answerhead.h"
#include "limits.h"
#include "request.h"

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
    , m_reader(limits)
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

void Connection::turnAway(int status, const QString &reason)
{
    m_keepsAlive = false;
    m_isHead = false;
    send(problem(status, reason));
}

void Connection::refuse(int status, const QString &reason)
{
    qCInfo(connectionLogging) << "Refused a request with" << status << qUtf8Printable(reason);
    turnAway(status, reason);
}

void Connection::abort()
{
    if (const auto response = std::exchange(m_response, {}))
        response->detach();
    close();
}

void Connection::received(std::string_view bytes)
{
    if (m_waiting.size() > 0) {
        m_waiting.append(bytes);
        consumeWaiting();
    } else {
        bytes.remove_prefix(consume(bytes));
        if (!isOver())
            m_waiting.append(bytes);
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
    case Timer::Header: return refuse(408, QStringLiteral("The headers took too long."));
    case Timer::Body: return refuse(408, QStringLiteral("The body made no progress."));
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

bool Connection::isOver() const
{
    return m_phase == Phase::Lingering || m_phase == Phase::Closed;
}

std::size_t Connection::consume(std::string_view bytes)
{
    std::size_t consumed = 0;
    m_consuming = true;
    for (bool goesOn = true; goesOn && m_phase == Phase::Reading;) {
        std::size_t taken = 0;
        const auto outcome = m_reader.read(bytes.substr(consumed), &taken);
        consumed += taken;
        switch (outcome) {
        case RequestReader::Outcome::Incomplete: goesOn = false; break;
        case RequestReader::Outcome::HeadRead: screen(); break;
        case RequestReader::Outcome::Complete: startExchange(); break;
        case RequestReader::Outcome::Refused:
            refuse(m_reader.status(), QString::fromLatin1(m_reader.reason()));
            break;
        }
    }
    m_consuming = false;
    return consumed;
}

void Connection::consumeWaiting()
{
    m_waiting.drop(consume(m_waiting.bytes()));
    if (isOver())
        m_waiting.clear();
}

void Connection::screen()
{
    Screening screening = m_delegate.screen(m_reader.method(), m_reader.headers());
    m_answerFields = std::move(screening.fields);
    if (!screening.answer)
        return expectBody();
    // A body that nobody wants is not waited for.
    m_keepsAlive = m_reader.endsWithHead() && m_reader.keepsAlive();
    m_isHead = m_reader.method() == Request::HttpMethod::Head;
    m_reader.drop();
    send(*screening.answer);
}

void Connection::expectBody()
{
    if (!m_reader.expectsBody() || !m_reader.isHttp11())
        return;
    const QByteArray expectation = m_reader.headers().joined("Expect");
    if (expectation.isNull())
        return;
    if (qstricmp(expectation.constData(), "100-continue") != 0)
        return refuse(417, QStringLiteral("Only the expectation \"100-continue\" is met."));
    if (m_delegate.write(QByteArrayLiteral("HTTP/1.1 100 Continue\r\n\r\n"), {})
        == ConnectionDelegate::Written::Failed)
        lost();
}

void Connection::startExchange()
{
    m_keepsAlive = m_reader.keepsAlive();
    m_isHead = m_reader.method() == Request::HttpMethod::Head;
    const auto request = m_reader.takeRequest();
    if (!request)
        return refuse(400, QStringLiteral("The request target is malformed."));
    m_phase = Phase::Exchange;
    m_response = QSharedPointer<Response>::create(static_cast<AnswerSink *>(this));
    m_delegate.requestReceived(request, m_response);
    if (m_inputEnded || m_hungUp)
        m_delegate.clientGone(m_response);
}

void Connection::send(const Answer &answer)
{
    m_phase = Phase::Flushing;
    const bool hasBody = !m_isHead && !isBodiless(answer.status);
    const QByteArray head = answerHead(answer, m_answerFields, m_keepsAlive);
    m_answerFields = {};
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
    m_phase = Phase::Reading;
    startTimer(Timer::Idle);
    // What has answered from inside of consume() goes on there.
    if (m_consuming)
        return;
    if (m_waiting.size() > 0)
        consumeWaiting();
    if (m_inputEnded && m_phase == Phase::Reading)
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
    case Phase::Reading:
        if (m_reader.part() != RequestReader::Part::Head) {
            startTimer(Timer::Body);
        } else if (m_waiting.size() > 0 && m_timer != Timer::Header) {
            startTimer(Timer::Header);
        }
        break;
    case Phase::Exchange: stopTimer(); break;
    case Phase::Flushing:
    case Phase::Lingering: break;
    case Phase::Closed: return;
    }
    const bool reads =
        m_phase == Phase::Reading || m_phase == Phase::Lingering || m_waiting.size() <= maxWaitingBytes;
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
