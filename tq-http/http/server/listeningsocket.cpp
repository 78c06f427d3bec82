#include "listeningsocket.h"

#include <uv.h>

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace http::server {

/// Connections that the kernel keeps until they are accepted.
static constexpr int backlog = 4096;

static bool listens(int socket, const sockaddr_storage &address)
{
    const int on = 1;
    if (::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0)
        return false;
    return ::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0
           && ::listen(socket, backlog) == 0;
}

ListeningSocket listeningSocket(const QString &address, quint16 port)
{
    sockaddr_storage storage{};
    const QByteArray text = address.toUtf8();
    if (uv_ip4_addr(text.constData(), port, reinterpret_cast<sockaddr_in *>(&storage)) != 0
        && uv_ip6_addr(text.constData(), port, reinterpret_cast<sockaddr_in6 *>(&storage)) != 0)
        return {-1, QStringLiteral("%1 is no numeric IP address").arg(address)};

    const int socket = ::socket(storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (socket >= 0 && listens(socket, storage))
        return {socket, {}};
    const QString why = QString::fromUtf8(uv_strerror(uv_translate_sys_error(errno)));
    if (socket >= 0)
        ::close(socket);
    return {-1, why};
}

} // namespace http::server
