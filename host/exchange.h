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
 * is on the stack. If it is over under a loop nested deeper than the one that brought the request, a slot may
 * have started that loop, so that the release waits until it has ended.
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
    void over();
    [[nodiscard]] bool isUnderADeeperLoop() const;

    OwnedController m_controller;
    const QSharedPointer<http::server::Response> m_response;
    std::list<Exchange *> &m_open;
    const std::list<Exchange *>::iterator m_place;
    const int m_loopLevel; ///< of the loop that brought the request; 1 is the outermost
    QMetaObject::Connection m_loopTurn; ///< while a deeper loop is waited for
    bool m_controllerHadItsTurn;
};
