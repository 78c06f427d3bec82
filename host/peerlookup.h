#pragma once

#include "tcpsockets.h"

#include <sys/types.h>

#include <variant>

/// Why nobody is named at the other end of a connection.
enum class NoPeer {
    OffLoopback, ///< not asked for: neither end is a loopback address
    HasClosed, ///< it has closed already, so that nobody can tell whose it was
    Untold, ///< the kernel does not answer, or names nobody
};

/// The user at the other end of a connection, or why none is named.
using Peer = std::variant<uid_t, NoPeer>;

/**
 * Tells whose the other end of an accepted socket is: the user who made that end's socket, which may have
 * been handed to another since. It need not be who sends what is to be read.
 *
 * A TCP connection counts as one of this machine if either end is a loopback address: who connects to the
 * loopback may do so from any address of the machine. One with no such end isn't asked about, also if it
 * comes from this machine: such a connection exists only if the host listens beyond the loopback, where a
 * token is asked for. At a unix socket the peer is who connected.
 *
 * In a user namespace (user_namespaces(7)) the kernel gives all users who have no number there the same one,
 * which may be that of a user who has one: it tells of nobody.
 */
class PeerLookup final
{
public:
    PeerLookup();

    /// For a TCP connection one question to the kernel, for a unix socket none. At once.
    [[nodiscard]] Peer of(int socket);

    /// What follows from the client's socket, as the kernel has told of it, and from the state of the
    /// accepted one at a later time.
    [[nodiscard]] static Peer judge(const std::optional<TcpSocket> &client, int acceptedState);

private:
    [[nodiscard]] Peer ofTcp(int socket);

    TcpSockets m_sockets;
    const std::optional<uid_t> m_unmapped; ///< that number; empty if all users have one of their own
};
