#include "eventloopbridge.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <limits>
#include <utility>

namespace http::server {

EventLoopBridge::EventLoopBridge(std::function<void()> afterTurn)
    : m_afterTurn(std::move(afterTurn))
{
    if (uv_loop_init(&m_loop) != 0)
        qFatal("The event loop of the HTTP server cannot be made.");
    m_notifier = std::make_unique<QSocketNotifier>(uv_backend_fd(&m_loop), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &EventLoopBridge::turn);
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &EventLoopBridge::turn);
}

EventLoopBridge::~EventLoopBridge()
{
    m_notifier.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
}

void EventLoopBridge::kick()
{
    // Inside of uv_run() there is no need: the time-out asked for after it tells.
    if (!m_turning && !std::exchange(m_kicked, true))
        QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
}

void EventLoopBridge::startTimer(uv_timer_t *timer, uv_timer_cb callback, std::chrono::milliseconds period)
{
    uv_update_time(&m_loop);
    uv_timer_start(timer, callback, static_cast<std::uint64_t>(period.count()), 0);
    wakeWithin(period.count());
}

bool EventLoopBridge::event(QEvent *event)
{
    if (event->type() != QEvent::User)
        return QObject::event(event);
    m_kicked = false;
    turn();
    return true;
}

void EventLoopBridge::turn()
{
    if (std::exchange(m_turning, true))
        return;
    uv_run(&m_loop, UV_RUN_NOWAIT);
    m_turning = false;
    const int timeout = uv_backend_timeout(&m_loop);
    if (timeout == 0) {
        kick();
    } else if (timeout > 0) {
        wakeWithin(timeout);
    }
    m_afterTurn();
}

/// A wake-up that comes too early costs one empty turn, so that a timer that is put off is left as it stands.
void EventLoopBridge::wakeWithin(std::int64_t milliseconds)
{
    const auto wakeTime = static_cast<std::int64_t>(uv_now(&m_loop)) + milliseconds;
    if (m_timer.isActive() && m_wakeTime <= wakeTime)
        return;
    m_wakeTime = wakeTime;
    constexpr std::int64_t longest = std::numeric_limits<int>::max();
    m_timer.start(static_cast<int>(std::min(milliseconds, longest)));
}

} // namespace http::server
