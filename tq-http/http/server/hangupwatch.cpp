#include "hangupwatch.h"

#include "eventloopbridge.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace http::server {

struct HangUpWatch::Handle
{
    uv_poll_t poll{};
    EventLoopBridge &bridge;
    int descriptor;
    std::function<void()> hungUp;

    static void onEvent(uv_poll_t *poll, int /*status*/, int /*events*/)
    {
        auto *handle = static_cast<Handle *>(poll->data);
        uv_poll_stop(poll);
        if (const auto hungUp = std::exchange(handle->hungUp, nullptr))
            hungUp();
    }

    static void onClosed(uv_handle_t *closed)
    {
        auto *handle = static_cast<Handle *>(closed->data);
        ::close(handle->descriptor);
        delete handle;
    }
};

HangUpWatch::HangUpWatch(EventLoopBridge &bridge, int socket, std::function<void()> hungUp)
{
    const int descriptor = ::fcntl(socket, F_DUPFD_CLOEXEC, 0);
    if (descriptor < 0) {
        hungUp(); // A departure that nobody would notice is the greater harm.
        return;
    }
    m_handle = new Handle{{}, bridge, descriptor, std::move(hungUp)};
    m_handle->poll.data = m_handle;
    uv_poll_init(bridge.loop(), &m_handle->poll, descriptor);
    uv_poll_start(&m_handle->poll, UV_DISCONNECT, &Handle::onEvent);
    bridge.kick();
}

HangUpWatch::~HangUpWatch()
{
    if (!m_handle)
        return;
    m_handle->hungUp = nullptr;
    uv_close(reinterpret_cast<uv_handle_t *>(&m_handle->poll), &Handle::onClosed);
    m_handle->bridge.kick();
}

} // namespace http::server
