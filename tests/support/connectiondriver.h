#pragma once

#include <http/server/connection.h>
#include <http/server/limits.h>
#include <http/server/request.h>
#include <http/server/response.h>

#include <QByteArray>
#include <QSharedPointer>
#include <QVector>

#include <functional>
#include <optional>

/**
 * A connection without a socket: feeds it bytes, keeps what it writes, and serves the queue of requests and
 * departures as a server does, after each step.
 */
class ConnectionDriver final : public http::server::ConnectionDelegate
{
public:
    using Handler = std::function<void(const QSharedPointer<http::server::Request> &,
                                       const QSharedPointer<http::server::Response> &)>;

    explicit ConnectionDriver(Handler handlerToUse, http::server::Limits limitsToUse = {})
        : limits(limitsToUse)
        , handler(std::move(handlerToUse))
        , connection(limits, *this)
    {
        connection.start();
    }

    void feed(const QByteArray &bytes)
    {
        if (closed || !reading)
            qFatal("The connection does not read.");
        connection.received({bytes.constData(), static_cast<std::size_t>(bytes.size())});
        deliver();
    }
    void feedByteByByte(const QByteArray &bytes)
    {
        for (int i = 0; i < bytes.size() && !closed; ++i)
            feed(bytes.mid(i, 1));
    }
    void endInput()
    {
        connection.endOfInput();
        deliver();
    }
    void lose()
    {
        connection.lost();
        deliver();
    }
    void hangUp()
    {
        connection.hungUp();
        deliver();
    }
    void timeOut()
    {
        timer.reset();
        connection.timedOut();
        deliver();
    }
    /// What was held back leaves for the kernel.
    void flush()
    {
        output += held;
        held.clear();
        connection.flushed();
        deliver();
    }
    void deliver()
    {
        while (!events.isEmpty()) {
            const Event event = events.takeFirst();
            if (event.request)
                handler(event.request, event.response);
            else
                event.response->abandon();
        }
    }

    // What the connection asks for.

    Written write(const QByteArray &head, const QByteArray &body) override
    {
        if (broken)
            return Written::Failed;
        (holdsBack ? held : output) += head + body;
        return holdsBack ? Written::Queued : Written::Sent;
    }
    std::size_t queuedBytes() const override { return static_cast<std::size_t>(held.size()); }
    void endOutput() override { outputEnded = true; }
    void setReading(bool on) override { reading = on; }
    void startTimer(std::chrono::milliseconds period) override { timer = period; }
    void stopTimer() override { timer.reset(); }
    void close() override { closed = true; }
    http::server::Screening screen(http::server::Request::HttpMethod method,
                                   const http::server::HeaderFields &headers) override
    {
        return screening ? screening(method, headers) : http::server::Screening();
    }
    void requestReceived(const QSharedPointer<http::server::Request> &request,
                         const QSharedPointer<http::server::Response> &response) override
    {
        events.append({request, response});
    }
    void clientGone(const QSharedPointer<http::server::Response> &response) override
    {
        events.append({{}, response});
    }

    struct Event
    {
        QSharedPointer<http::server::Request> request;
        QSharedPointer<http::server::Response> response;
    };

    const http::server::Limits limits;
    Handler handler;
    std::function<http::server::Screening(http::server::Request::HttpMethod,
                                          const http::server::HeaderFields &)>
        screening; ///< null: nobody is turned away
    QByteArray output;
    QByteArray held;
    QVector<Event> events;
    std::optional<std::chrono::milliseconds> timer;
    bool reading = true;
    bool holdsBack = false;
    bool broken = false;
    bool outputEnded = false;
    bool closed = false;
    http::server::Connection connection;
};
