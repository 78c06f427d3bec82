#pragma once

#include "answer.h"
#include "export.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace http::server {

/// Where a completed answer goes: a connection, or a test. Must outlive the response or call detach() on it.
class TQ_HTTP_EXPORT AnswerSink
{
public:
    /// The application has completed its answer.
    virtual void answer(Answer &&answer) = 0;

    /// The exchange was given up before it was answered, since the client has gone.
    virtual void abandoned() = 0;

protected:
    ~AnswerSink() = default;
};

/**
 * The answer to one request, filled by a controller: setHeader() as often as needed, writeHead(), end(). It
 * may be completed from inside Controller::onNewRequest() or at any later time on the event-loop thread.
 * After end(), and after the client has gone, every call does nothing.
 *
 * The server sets Content-Length, Date, Connection and Transfer-Encoding by itself; what a controller sets
 * under these names is left out with a warning.
 */
class TQ_HTTP_EXPORT Response final
{
public:
    explicit Response(AnswerSink *sink);
    ~Response();
    Q_DISABLE_COPY_MOVE(Response)

    /// Sets one header, replacing an earlier value of the same name. The value goes out as UTF-8. A name that
    /// is no token (RFC 9110, section 5.6.2) or a value with control characters would split the answer: it is
    /// refused with a warning, and end() then answers 500.
    void setHeader(const QString &name, const QString &value);

    /// Sets the status; 200 if it is never called. A status outside of 200 to 599 is refused like a bad
    /// header.
    void writeHead(int status);

    /// Hands the answer over and completes the exchange.
    void end(const QByteArray &body);

    /// False once the exchange is over: answered, or its client gone.
    [[nodiscard]] bool isOpen() const { return m_open; }

    // For the side that serves the exchange; controllers have no use for these.

    /// Calls `function` once, when the exchange is over, from inside end() or abandon().
    void onFinished(std::function<void()> function);

    /// The client has gone: ends the exchange unanswered.
    void abandon();

    /// The sink goes away; what is answered from here on reaches nobody.
    void detach() { m_sink = nullptr; }

private:
    void finish();

    AnswerSink *m_sink;
    bool m_open = true;
    bool m_refused = false;
    Answer m_answer;
    std::function<void()> m_finished;
};

} // namespace http::server
