#include "tcpend.h"

#include <algorithm>
#include <cstring>
#include <sys/socket.h>

static std::optional<TcpEnd> endFrom(const sockaddr_storage &address)
{
    TcpEnd end;
    if (address.ss_family == AF_INET6) {
        sockaddr_in6 six{};
        std::memcpy(&six, &address, sizeof six);
        end.address = six.sin6_addr;
        end.port = six.sin6_port;
        return end;
    }
    if (address.ss_family != AF_INET)
        return {};
    sockaddr_in four{};
    std::memcpy(&four, &address, sizeof four);
    end.address.s6_addr[10] = end.address.s6_addr[11] = 0xff;
    std::memcpy(&end.address.s6_addr[12], &four.sin_addr, sizeof four.sin_addr);
    end.port = four.sin_port;
    return end;
}

using AddressOf = int (*)(int socket, sockaddr *address, socklen_t *size);

static std::optional<TcpEnd> endBy(AddressOf addressOf, int socket)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (addressOf(socket, reinterpret_cast<sockaddr *>(&address), &size) != 0)
        return {};
    return endFrom(address);
}

std::optional<TcpEnd> TcpEnd::ofSocket(int socket)
{
    return endBy(getsockname, socket);
}

std::optional<TcpEnd> TcpEnd::ofPeer(int socket)
{
    return endBy(getpeername, socket);
}

bool TcpEnd::isIPv4() const
{
    return IN6_IS_ADDR_V4MAPPED(&address);
}

bool TcpEnd::isLoopback() const
{
    return isIPv4() ? address.s6_addr[12] == IN_LOOPBACKNET : IN6_IS_ADDR_LOOPBACK(&address);
}

bool TcpEnd::operator==(const TcpEnd &other) const
{
    return port == other.port && std::equal(address.s6_addr, address.s6_addr + 16, other.address.s6_addr);
}
