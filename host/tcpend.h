#pragma once

#include <netinet/in.h>

#include <optional>

/// One end of a TCP connection. An IPv4 address is kept as IPv6 has it, ::ffff:a.b.c.d (RFC 4291, 2.5.5.2),
/// so that both ends are the same in whichever family a program speaks.
struct TcpEnd
{
    in6_addr address{};
    in_port_t port = 0; ///< in network order

    /// This end of a TCP socket; empty if it is none.
    [[nodiscard]] static std::optional<TcpEnd> ofSocket(int socket);
    /// The other end; empty also if there is none any more.
    [[nodiscard]] static std::optional<TcpEnd> ofPeer(int socket);

    [[nodiscard]] bool isIPv4() const;
    /// In 127.0.0.0/8, or ::1.
    [[nodiscard]] bool isLoopback() const;

    [[nodiscard]] bool operator==(const TcpEnd &other) const;
};
