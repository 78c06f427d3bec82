#pragma once

#include <QByteArray>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <utility>

/// An address and port for bind() and connect(), from an IPv4 or IPv6 address as text.
class TcpAddress final
{
public:
    explicit TcpAddress(const QByteArray &address, in_port_t port = 0)
    {
        sockaddr_in four{AF_INET, port, {}, {}};
        sockaddr_in6 six{AF_INET6, port, 0, {}, 0};
        if (::inet_pton(AF_INET, address.constData(), &four.sin_addr) == 1)
            std::memcpy(&m_storage, &four, m_size = sizeof four);
        else if (::inet_pton(AF_INET6, address.constData(), &six.sin6_addr) == 1)
            std::memcpy(&m_storage, &six, m_size = sizeof six);
        else
            qFatal("%s is no address.", address.constData());
    }

    [[nodiscard]] int family() const { return m_storage.ss_family; }
    [[nodiscard]] const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&m_storage); }
    [[nodiscard]] socklen_t size() const { return m_size; }

private:
    sockaddr_storage m_storage{};
    socklen_t m_size = 0;
};

/// A TCP or unix socket that closes with this object.
class TestSocket final
{
public:
    explicit TestSocket(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    TestSocket(TestSocket &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    TestSocket &operator=(TestSocket &&) = delete;
    ~TestSocket() { close(); }

    /// A listening one on a free port; IPv6 takes IPv4 too.
    [[nodiscard]] static TestSocket listening(const QByteArray &address)
    {
        const TcpAddress at(address);
        TestSocket socket(::socket(at.family(), SOCK_STREAM | SOCK_CLOEXEC, 0));
        const int off = 0;
        if (at.family() == AF_INET6)
            ::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
        if (::bind(socket.get(), at.get(), at.size()) != 0 || ::listen(socket.get(), 16) != 0)
            socket.close();
        return socket;
    }

    /// The port of this end, in network order.
    [[nodiscard]] in_port_t port() const
    {
        sockaddr_in6 address{}; // the port is where sockaddr_in has it
        socklen_t size = sizeof address;
        ::getsockname(m_descriptor, reinterpret_cast<sockaddr *>(&address), &size);
        return address.sin6_port;
    }

    /// One that is not connected yet, bound to `source`, whose port others may have been bound to.
    [[nodiscard]] static TestSocket bound(const TcpAddress &source)
    {
        TestSocket socket(::socket(source.family(), SOCK_STREAM | SOCK_CLOEXEC, 0));
        const int on = 1;
        ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        if (::bind(socket.get(), source.get(), source.size()) != 0)
            socket.close();
        return socket;
    }

    [[nodiscard]] bool connect(const QByteArray &address, in_port_t port)
    {
        const TcpAddress to(address, port);
        return ::connect(m_descriptor, to.get(), to.size()) == 0;
    }

    /// A client, from any address if `source` is empty. Not open if that failed.
    [[nodiscard]] static TestSocket connected(const QByteArray &address, in_port_t port,
                                              const QByteArray &source = {})
    {
        const int family = TcpAddress(address).family();
        TestSocket socket = source.isEmpty() ? TestSocket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0))
                                             : bound(TcpAddress(source));
        if (!socket.connect(address, port))
            socket.close();
        return socket;
    }

    /// The next client of a listening one; ends the test if none comes within 30 seconds.
    [[nodiscard]] TestSocket accept() const
    {
        pollfd waiting{m_descriptor, POLLIN, 0};
        if (::poll(&waiting, 1, 30000) != 1)
            qFatal("Nobody connects.");
        return TestSocket(::accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC));
    }

    /// Waits until the other end closes, and gives what has come till then.
    QByteArray awaitEnd() const
    {
        QByteArray received;
        char buffer[4096];
        ssize_t size = 0;
        while ((size = ::recv(m_descriptor, buffer, sizeof buffer, 0)) > 0)
            received.append(buffer, static_cast<int>(size));
        return received;
    }

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }
    void reset()
    {
        const linger immediately{1, 0};
        ::setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
        close();
    }
    void close()
    {
        if (m_descriptor >= 0)
            ::close(std::exchange(m_descriptor, -1));
    }

private:
    int m_descriptor;
};

/// An address of this machine that is not the loopback's; empty if there is none.
[[nodiscard]] inline QByteArray addressBeyondLoopback()
{
    ifaddrs *all = nullptr;
    if (::getifaddrs(&all) != 0)
        return {};
    char text[INET_ADDRSTRLEN] = "";
    for (const ifaddrs *entry = all; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET
            || (entry->ifa_flags & IFF_LOOPBACK) != 0)
            continue;
        sockaddr_in address{};
        std::memcpy(&address, entry->ifa_addr, sizeof address);
        ::inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    }
    ::freeifaddrs(all);
    return text;
}
