#include "exchange.h"

#include <http/server/response.h>

#include <QAbstractEventDispatcher>
#include <QEvent>
#include <QThread>

#include <algorithm>
#include <utility>

Exchange::Exchange(OwnedController &&controller, QSharedPointer<http::server::Response> response,
                   std::list<Exchange *> &open)
    : m_controller(std::move(controller))
    , m_response(std::move(response))
    , m_open(open)
    , m_place(open.insert(open.end(), this))
    , m_loopLevel(std::max(1, QThread::currentThread()->loopLevel()))
    , m_controllerHadItsTurn(!m_controller.isObject())
{
    m_response->onFinished([this] { over(); });
}

Exchange::~Exchange()
{
    m_response->onFinished(nullptr);
    m_open.erase(m_place);
}

bool Exchange::event(QEvent *event)
{
    // A controller that ends itself has posted its own deletion behind this one. Letting it go first spares
    // Qt the search for that event, which takes as long as the queue when a change answers many polls at
    // once.
    if (event->type() == QEvent::DeferredDelete && !std::exchange(m_controllerHadItsTurn, true)) {
        deleteLater();
        return true;
    }
    return QObject::event(event);
}

void Exchange::over()
{
    if (!isUnderADeeperLoop())
        return deleteLater();
    m_loopTurn =
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, this, [this] {
            if (isUnderADeeperLoop())
                return;
            disconnect(m_loopTurn);
            // Called from outside of an event, deleteLater() would wait for the end of this loop as well.
            QMetaObject::invokeMethod(this, &QObject::deleteLater, Qt::QueuedConnection);
        });
}

bool Exchange::isUnderADeeperLoop() const
{
    return QThread::currentThread()->loopLevel() > m_loopLevel;
}
