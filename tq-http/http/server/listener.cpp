#include "listener.h"

#include "eventloopbridge.h"

#include <QLoggingCategory>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace http::server {

static const QLoggingCategory &serverLogging()
{
    static const QLoggingCategory category("ch.tessel.http.server");
    return category;
}

struct Listener::Handles
{
    Handles(EventLoopBridge &bridgeToUse, int listening, Accepted function)
        : bridge(bridgeToUse)
        , socket(listening)
        , accepted(std::move(function))
    {
        poll.data = this;
        timer.data = this;
        uv_poll_init(bridge.loop(), &poll, socket);
        uv_timer_init(bridge.loop(), &timer);
        watch();
    }

    void watch()
    {
        uv_poll_start(&poll, UV_READABLE, [](uv_poll_t *handle, int /*status*/, int /*events*/) {
            static_cast<Handles *>(handle->data)->acceptAll();
        });
        bridge.kick();
    }

    void acceptAll()
    {
        for (int i = 0; i < acceptsPerTurn; ++i) {
            const int connected = ::accept4(socket, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (connected >= 0) {
                accepted(connected);
            } else if (errno == EAGAIN) {
                return resume();
            } else if (errno != ECONNABORTED && errno != EINTR) {
                return pause(errno);
            }
        }
        if (isPaused)
            tryLater();
    }

    void resume()
    {
        if (std::exchange(isPaused, false))
            qCInfo(serverLogging) << "Accepting resumes.";
    }

    void pause(int error)
    {
        if (!std::exchange(isPaused, true))
            qCWarning(serverLogging) << "Accepting pauses:" << uv_strerror(uv_translate_sys_error(error));
        uv_poll_stop(&poll);
        tryLater();
    }

    void tryLater()
    {
        bridge.startTimer(
            &timer, [](uv_timer_t *handle) { static_cast<Handles *>(handle->data)->tryAgain(); }, pauseTime);
    }

    void tryAgain()
    {
        watch();
        acceptAll(); // although nobody may wait, of which the watch would not tell
    }

    void close()
    {
        uv_close(reinterpret_cast<uv_handle_t *>(&poll), &Handles::onClosed);
        uv_close(reinterpret_cast<uv_handle_t *>(&timer), &Handles::onClosed);
        ::close(socket);
        bridge.kick();
    }

    static void onClosed(uv_handle_t *handle)
    {
        auto *me = static_cast<Handles *>(handle->data);
        if (--me->open == 0)
            delete me;
    }

    EventLoopBridge &bridge;
    uv_poll_t poll{};
    uv_timer_t timer{};
    int socket;
    Accepted accepted;
    int open = 2;
    bool isPaused = false;
};

Listener::Listener(EventLoopBridge &bridge, int socket, Accepted accepted)
    : m_handles(new Handles(bridge, socket, std::move(accepted)))
{
}

Listener::~Listener()
{
    m_handles->close();
}

quint16 Listener::port() const
{
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;
    if (::getsockname(m_handles->socket, reinterpret_cast<sockaddr *>(&storage), &size) != 0)
        return 0;
    if (storage.ss_family != AF_INET && storage.ss_family != AF_INET6)
        return 0;
    // The port has the same place in both families' addresses.
    return ntohs(reinterpret_cast<const sockaddr_in *>(&storage)->sin_port);
}

} // namespace http::server
