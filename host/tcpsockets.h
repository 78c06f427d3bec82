#pragma once

#include "tcpend.h"

#include <QtGlobal>

#include <optional>
#include <sys/types.h>

/// What the kernel tells of a TCP socket.
struct TcpSocket
{
    int state = 0; ///< such as TCP_ESTABLISHED of <netinet/tcp.h>
    uid_t user = 0; ///< who made it, as this process's user namespace has it; means nothing without an owner
    bool hasOwner =
        false; ///< a process has it open; a socket of a closed descriptor or in TIME_WAIT has none
};

/**
 * The TCP sockets of this machine, as far as the network namespace reaches: asked from the kernel by
 * sock_diag(7), which answers any user, and at once. Nothing waits.
 */
class TcpSockets final
{
public:
    /// Opens the socket to ask by.
    TcpSockets();
    ~TcpSockets();
    Q_DISABLE_COPY_MOVE(TcpSockets)

    /// The one socket that has these two ends, as it sees them. Empty if there is none, or if the kernel does
    /// not answer. A socket to ask by that is broken is opened anew.
    [[nodiscard]] std::optional<TcpSocket> find(const TcpEnd &own, const TcpEnd &peer);

private:
    void open();
    void close();

    int m_descriptor = -1;
    quint32 m_sequence = 0;
    int m_reported = 0; // the error that kept the socket from being opened, once it is logged
};
