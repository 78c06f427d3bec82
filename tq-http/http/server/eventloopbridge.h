#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <uv.h>

#include <chrono>
#include <functional>
#include <memory>

namespace http::server {

/**
 * Lets a libuv loop live inside Qt's event loop of the thread that made it. Whenever libuv has something to
 * do, it gets one turn without blocking; what the turn brought is handled after it, by `afterTurn`, so that
 * nothing of the application ever runs inside of uv_run(), which is not re-entrant.
 */
class EventLoopBridge final : public QObject
{
public:
    explicit EventLoopBridge(std::function<void()> afterTurn);
    /// Runs the loop until every handle that is being closed is closed.
    ~EventLoopBridge() override;
    Q_DISABLE_COPY_MOVE(EventLoopBridge)

    [[nodiscard]] uv_loop_t *loop() { return &m_loop; }

    /// Asks for a turn from the event loop, once however often it is called. Needed after a handle other than
    /// a timer was armed outside of a turn: libuv looks at it in uv_run() only.
    void kick();

    /// Starts a timer, from inside or outside of a turn.
    void startTimer(uv_timer_t *timer, uv_timer_cb callback, std::chrono::milliseconds period);

protected:
    bool event(QEvent *event) override;

private:
    void turn();
    void wakeWithin(std::int64_t milliseconds);

    uv_loop_t m_loop{};
    std::function<void()> m_afterTurn;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_timer;
    std::int64_t m_wakeTime = 0; ///< of m_timer while it is active, on the loop's clock
    bool m_kicked = false;
    bool m_turning = false;
};

} // namespace http::server
