#include "peerlookup.h"

#include <QFile>

#include <limits>
#include <netinet/tcp.h>
#include <sys/socket.h>

static constexpr uid_t noUser = static_cast<uid_t>(-1);

static QByteArray contentOf(const char *path)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

static std::optional<uid_t> numberOfTheUnmapped()
{
    quint64 mapped = 0;
    for (const QByteArray &range : contentOf("/proc/self/uid_map").split('\n'))
        mapped += range.simplified().split(' ').value(2).toULongLong();
    static constexpr quint64 allNumbers = std::numeric_limits<uid_t>::max();
    if (mapped >= allNumbers)
        return {};
    static constexpr uid_t usual = 65534;
    bool isNumber = false;
    const uid_t number = contentOf("/proc/sys/kernel/overflowuid").trimmed().toUInt(&isNumber);
    return isNumber ? number : usual;
}

PeerLookup::PeerLookup()
    : m_unmapped(numberOfTheUnmapped())
{
}

static Peer ofUnix(int socket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.uid == noUser)
        return NoPeer::Untold;
    return peer.uid;
}

static int stateOf(int socket)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    if (getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0)
        return TCP_CLOSE;
    return info.tcpi_state;
}

// The states of a connection's client while the host has its end open. Any other is of a socket that has
// nothing to do with this connection but its ends: one that is about to connect from where the client has
// gone.
static bool isOfConnection(const TcpSocket &client)
{
    return client.state == TCP_ESTABLISHED || client.state == TCP_FIN_WAIT1 || client.state == TCP_FIN_WAIT2;
}

Peer PeerLookup::of(int socket)
{
    int family = AF_UNSPEC;
    socklen_t size = sizeof family;
    if (getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size) != 0)
        return NoPeer::Untold;
    const Peer peer = family == AF_UNIX ? ofUnix(socket) : ofTcp(socket);
    return m_unmapped && peer == Peer(*m_unmapped) ? NoPeer::Untold : peer;
}

Peer PeerLookup::ofTcp(int socket)
{
    const auto here = TcpEnd::ofSocket(socket);
    const auto there = TcpEnd::ofPeer(socket);
    if (!here || !there)
        return NoPeer::HasClosed;
    if (!here->isLoopback() && !there->isLoopback())
        return NoPeer::OffLoopback;

    const auto client = m_sockets.find(*there, *here);
    return judge(client, stateOf(socket));
}

Peer PeerLookup::judge(const std::optional<TcpSocket> &client, int acceptedState)
{
    // As long as the accepted end is alive, no other connection can have the same two ends.
    if (acceptedState == TCP_CLOSE)
        return NoPeer::HasClosed;
    // Without an owner the kernel may name root, whoever it was.
    if (client && client->hasOwner && isOfConnection(*client))
        return client->user;
    return client || acceptedState == TCP_CLOSE_WAIT ? NoPeer::HasClosed : NoPeer::Untold;
}
