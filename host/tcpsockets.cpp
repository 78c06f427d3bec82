#include "tcpsockets.h"

#include <QLoggingCategory>

#include <array>
#include <cerrno>
#include <cstring>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

struct Query
{
    nlmsghdr header{};
    inet_diag_req_v2 request{};
};

// The answer to one query. Empty without an answer; `socket` is empty if it says that there is none.
struct Reply
{
    std::optional<TcpSocket> socket;
};

} // namespace

static const QLoggingCategory &tcpSocketsLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.tcpsockets");
    return category;
}

static void copyAddress(const TcpEnd &end, __be32 (&target)[4])
{
    const std::size_t skipped = end.isIPv4() ? 12 : 0;
    std::memcpy(&target, &end.address.s6_addr[skipped], sizeof target - skipped);
}

static Query queryFor(const TcpEnd &own, const TcpEnd &peer, quint32 sequence)
{
    // By this a socket that is bound to the loopback's device is found like any other.
    static constexpr quint32 loopbackDevice = 1;

    Query query;
    query.header.nlmsg_len = sizeof query;
    query.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    query.header.nlmsg_flags = NLM_F_REQUEST;
    query.header.nlmsg_seq = sequence;
    query.request.sdiag_family = own.isIPv4() ? AF_INET : AF_INET6;
    query.request.sdiag_protocol = IPPROTO_TCP;
    query.request.idiag_states = ~0U;
    query.request.id.idiag_sport = own.port;
    query.request.id.idiag_dport = peer.port;
    copyAddress(own, query.request.id.idiag_src);
    copyAddress(peer, query.request.id.idiag_dst);
    query.request.id.idiag_if = loopbackDevice;
    query.request.id.idiag_cookie[0] = query.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return query;
}

static TcpEnd endFrom(quint8 family, const __be32 (&address)[4], in_port_t port)
{
    TcpEnd end;
    end.port = port;
    if (family == AF_INET6) {
        std::memcpy(&end.address, &address, sizeof address);
        return end;
    }
    end.address.s6_addr[10] = end.address.s6_addr[11] = 0xff;
    std::memcpy(&end.address.s6_addr[12], &address[0], sizeof address[0]);
    return end;
}

// Reads what has come up to the answer to the query of this number.
static std::optional<Reply> receive(int descriptor, quint32 sequence, const TcpEnd &own, const TcpEnd &peer)
{
    alignas(nlmsghdr) std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t size = recv(descriptor, buffer.data(), buffer.size(), 0);
        if (size < 0)
            return {};
        nlmsghdr header{};
        inet_diag_msg message{};
        if (size < NLMSG_HDRLEN)
            continue;
        std::memcpy(&header, buffer.data(), sizeof header);
        if (header.nlmsg_seq != sequence)
            continue;
        if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY
            || size < static_cast<ssize_t>(NLMSG_LENGTH(sizeof message)))
            return Reply{};
        std::memcpy(&message, buffer.data() + NLMSG_HDRLEN, sizeof message);
        const auto &id = message.id;
        // Without a connection, the kernel answers with who listens at this end.
        if (!(endFrom(message.idiag_family, id.idiag_src, id.idiag_sport) == own)
            || !(endFrom(message.idiag_family, id.idiag_dst, id.idiag_dport) == peer))
            return Reply{};
        return Reply{TcpSocket{message.idiag_state, message.idiag_uid, message.idiag_inode != 0}};
    }
}

TcpSockets::TcpSockets()
{
    open();
}

TcpSockets::~TcpSockets()
{
    close();
}

void TcpSockets::open()
{
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    m_descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG);
    // Connected to the kernel, it takes messages from nobody else.
    if (m_descriptor >= 0
        && connect(m_descriptor, reinterpret_cast<const sockaddr *>(&kernel), sizeof kernel) == 0) {
        m_reported = 0;
        return;
    }
    const int error = errno;
    close();
    if (std::exchange(m_reported, error) != error) {
        qCWarning(tcpSocketsLogging).noquote()
            << "The kernel cannot be asked about connections:" << qt_error_string(error);
    }
}

void TcpSockets::close()
{
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
}

std::optional<TcpSocket> TcpSockets::find(const TcpEnd &own, const TcpEnd &peer)
{
    static constexpr int attempts = 2;
    for (int i = 0; i < attempts; ++i) {
        if (m_descriptor < 0)
            open();
        const Query query = queryFor(own, peer, ++m_sequence);
        if (send(m_descriptor, &query, sizeof query, MSG_NOSIGNAL) == sizeof query) {
            if (const auto reply = receive(m_descriptor, m_sequence, own, peer))
                return reply->socket;
        }
        close();
    }
    return {};
}
