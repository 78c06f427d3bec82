#pragma once

#include "export.h"
#include "limits.h"

#include <QSharedPointer>
#include <QString>

#include <memory>

namespace http::server {

class Guard;
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
 * An HTTP/1.1 server inside Qt's event loop, on as many addresses as wanted. Everything runs on the thread
 * that made it.
 * The process is to ignore SIGPIPE: a client may go away while it is written to.
 */
class TQ_HTTP_EXPORT Server final
{
public:
    /// `handler` and `guard`, which admits everybody if it is null, must outlive the server.
    Server(const Limits &limits, RequestHandler &handler, Guard *guard = nullptr);
    /// Closes everything that is open. Exchanges still open end silently: no handler, no onFinished().
    ~Server();
    Q_DISABLE_COPY_MOVE(Server)

    /// Listens on a numeric IPv4 or IPv6 address too; port 0 takes any free port. Returns an empty string, or
    /// why it failed, in which case nothing has changed.
    [[nodiscard]] QString listen(const QString &address, quint16 port);

    /// Listens on a stream socket too that listens already, such as one with a path in the file system. A
    /// duplicate of it is used, the descriptor stays the caller's. Returns as the other one does.
    [[nodiscard]] QString listen(int socket);

    /// The bound port of the first address; 0 before listen().
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
