#pragma once

#include "ownedcontroller.h"

#include <QObject>
#include <QSharedPointer>

#include <list>

namespace http::server {
class Response;
}

/**
 * An exchange that was still open when Controller::onNewRequest() returned. It destroys itself, and with it
 * releases the controller, once the response is over: from the event loop, so that no slot of the controller
 * is on the stack, not even under a nested loop.
 */
class Exchange final : public QObject
{
    Q_OBJECT

public:
    /// Enters itself into `open`, which outlives it, for as long as it exists.
    Exchange(OwnedController &&controller, QSharedPointer<http::server::Response> response,
             std::list<Exchange *> &open);
    ~Exchange() override;
    Q_DISABLE_COPY_MOVE(Exchange)

    bool event(QEvent *event) override;

private:
    OwnedController m_controller;
    const QSharedPointer<http::server::Response> m_response;
    std::list<Exchange *> &m_open;
    const std::list<Exchange *>::iterator m_place;
    bool m_controllerHadItsTurn;
};
