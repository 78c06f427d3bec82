#pragma once

#include <QtGlobal>

#include <chrono>
#include <functional>

namespace http::server {

class EventLoopBridge;

/**
 * Accepts the connections of one listening stream socket. Where that fails, such as for want of a descriptor
 * or of memory, accepting pauses for `pauseTime` at a time: who has connected waits in the kernel's queue,
 * and nothing spins. It has resumed once nobody waits any more and somebody could be accepted. Destroying the
 * listener closes its socket.
 */
class Listener final
{
public:
    /// Is called from inside of the loop's turn and owns the connected socket, which does not block.
    using Accepted = std::function<void(int socket)>;

    static constexpr std::chrono::milliseconds pauseTime{100};
    /// Connections accepted in one turn, before the others are looked at again.
    static constexpr int acceptsPerTurn = 256;

    /// Takes over `socket`, which listens already. `bridge` must outlive the listener.
    Listener(EventLoopBridge &bridge, int socket, Accepted accepted);
    ~Listener();
    Q_DISABLE_COPY_MOVE(Listener)

    /// The port of its address; 0 if that has none.
    [[nodiscard]] quint16 port() const;

private:
    struct Handles;
    Handles *m_handles; ///< free themselves once closed
};

} // namespace http::server
