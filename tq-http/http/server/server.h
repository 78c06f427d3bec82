#pragma once

#include "export.h"
#include "limits.h"

#include <QSharedPointer>
#include <QString>

#include <memory>

namespace http::server {

class Request;
class Response;

/// What serves the requests of a Server. Called on the event-loop thread, never from inside the server's I/O,
/// so that it may run for as long as it likes and may enter an event loop of its own.
class TQ_HTTP_EXPORT RequestHandler
{
public:
    /// One complete request has arrived. The response may be completed at once or later; its
    /// Response::onFinished() tells when the exchange is over, for whatever reason.
    virtual void requestReceived(const QSharedPointer<Request> &request,
                                 const QSharedPointer<Response> &response) = 0;

protected:
    ~RequestHandler() = default;
};

/**
 * An HTTP/1.1 server on one TCP address inside Qt's event loop. Everything runs on the thread that made it.
 * The process is to ignore SIGPIPE: a client may go away while it is written to.
 */
class TQ_HTTP_EXPORT Server final
{
public:
    /// `handler` must outlive the server.
    Server(const Limits &limits, RequestHandler &handler);
    /// Closes everything that is open. Exchanges still open end silently: no handler, no onFinished().
    ~Server();
    Q_DISABLE_COPY_MOVE(Server)

    /// Listens on a numeric IPv4 or IPv6 address, and nowhere else; port 0 takes any free port. Returns an
    /// empty string, or why it failed, in which case the server does not listen.
    [[nodiscard]] QString listen(const QString &address, quint16 port);

    /// The bound port; 0 before listen().
    [[nodiscard]] quint16 port() const;

    /// Refuses new connections from here on; open ones go on.
    void stopListening();

    /// Connections open at present.
    [[nodiscard]] int connectionCount() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace http::server
