#pragma once

#include <QSharedPointer>

namespace http {

class Controller;

namespace server {
class Request;
}

/// A plug-in's route table. Owned by the plug-in, asked on the event-loop thread.
class ControllerStrategy
{
public:
    virtual ~ControllerStrategy() = default;

    /// Makes one fresh controller for this one request, or returns null if the request is not for this
    /// strategy. The caller owns the controller from here on and ends it with Controller::release(). Only
    /// the method, the URL and the headers of the request may be looked at.
    virtual Controller *createController(QSharedPointer<server::Request> request) = 0;
};

} // namespace http
