#pragma once

#include <QtGlobal>

#include <uv.h>

#include <functional>

namespace http::server {

class EventLoopBridge;

/**
 * Tells when the other end of a socket hangs up although nobody reads from it: epoll says so of itself. A
 * socket belongs to one libuv handle only, so the watch works on a duplicate of its descriptor. Destroying
 * the watch ends it; its handle frees itself once libuv has let go of it. Without a descriptor to be had,
 * `hungUp` is called at once, from inside the constructor.
 */
class HangUpWatch final
{
public:
    HangUpWatch(EventLoopBridge &bridge, int socket, std::function<void()> hungUp);
    ~HangUpWatch();
    Q_DISABLE_COPY_MOVE(HangUpWatch)

private:
    struct Handle;
    Handle *m_handle = nullptr;
};

} // namespace http::server
