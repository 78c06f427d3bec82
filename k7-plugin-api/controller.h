#pragma once

#include <QSharedPointer>

namespace http {

namespace server {
class Request;
class Response;
} // namespace server

/**
 * Answers one request. The host calls setRequest(), setResponse() and onNewRequest() once each, in this
 * order, and release() once the exchange is over, all on the event-loop thread.
 *
 * It declares no destructor: a controller is ended through release() alone. A controller that also is a
 * QObject names QObject as its first base and may end itself with deleteLater() after it has answered; the
 * host then does not touch it again.
 */
class Controller
{
public:
    /// Destroys the controller now. Called after the answer has been handed over or the client has gone,
    /// never from inside another of its operations. Writes nothing to the response.
    virtual void release() = 0;

    /// Stores the request; nothing more.
    virtual void setRequest(QSharedPointer<server::Request> request) = 0;

    /// Stores the response; nothing more.
    virtual void setResponse(QSharedPointer<server::Response> response) = 0;

    /// Does the request's work. The response may be completed before this returns or at any later time.
    virtual void onNewRequest() = 0;
};

} // namespace http
