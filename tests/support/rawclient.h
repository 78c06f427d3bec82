#pragma once

#include <QByteArray>
#include <QFile>

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <utility>

/// A blocking connection to the loopback or to a unix socket, one descriptor and nothing else, so that a test
/// can have thousands.
class RawClient final
{
public:
    explicit RawClient(quint16 port)
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            qFatal("No connection.");
    }
    explicit RawClient(const QString &path)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path - 1);
        if (::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            qFatal("No connection.");
    }
    RawClient(RawClient &&other) noexcept
        : m_socket(std::exchange(other.m_socket, -1))
    {
    }
    RawClient &operator=(RawClient &&) = delete;
    ~RawClient() { close(); }

    void send(const QByteArray &bytes)
    {
        if (::send(m_socket, bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL)
            != static_cast<ssize_t>(bytes.size()))
            qFatal("Nothing can be sent.");
    }

    /// Waits until the other end's kernel has all that was sent; on a busy machine even the loopback loses
    /// packets and sends them again later, behind those of other connections.
    [[nodiscard]] bool awaitReceipt() const
    {
        int unacknowledged = 1;
        for (int i = 0; i < 10000 && ::ioctl(m_socket, SIOCOUTQ, &unacknowledged) == 0; ++i) {
            if (unacknowledged == 0)
                return true;
            ::poll(nullptr, 0, 1); // nothing tells of an acknowledgement
        }
        return false;
    }

    /// Sends what fits and returns how much that was, or -1 if nothing fits for `milliseconds`.
    [[nodiscard]] int sendSome(const QByteArray &bytes, int milliseconds)
    {
        pollfd waiting{m_socket, POLLOUT, 0};
        if (::poll(&waiting, 1, milliseconds) != 1)
            return -1;
        return static_cast<int>(::send(m_socket, bytes.constData(), static_cast<std::size_t>(bytes.size()),
                                       MSG_NOSIGNAL | MSG_DONTWAIT));
    }

    /// One answer that has a Content-Length: its head and its body. Empty if none comes within 30 seconds.
    [[nodiscard]] QByteArray readAnswer()
    {
        for (;;) {
            const int headEnd = m_received.indexOf("\r\n\r\n") + 4;
            if (headEnd >= 4) {
                const int field = m_received.indexOf("Content-Length: ");
                const int length =
                    m_received.mid(field + 16, m_received.indexOf('\r', field) - field - 16).toInt();
                if (m_received.size() >= headEnd + length) {
                    const QByteArray answer = m_received.left(headEnd + length);
                    m_received.remove(0, headEnd + length);
                    return answer;
                }
            }
            if (!receive())
                return {};
        }
    }

    /// All that comes until the other end closes; ends the test if nothing comes for 30 seconds.
    [[nodiscard]] QByteArray readUntilClosed()
    {
        while (receive()) { }
        if (!isReadable(0))
            qFatal("The other end does not close.");
        return std::exchange(m_received, {});
    }

    /// True if something can be read, or the other end has closed, within `milliseconds`.
    [[nodiscard]] bool isReadable(int milliseconds) const
    {
        pollfd waiting{m_socket, POLLIN, 0};
        return ::poll(&waiting, 1, milliseconds) == 1;
    }

    void halfClose() { ::shutdown(m_socket, SHUT_WR); }
    void reset()
    {
        const linger immediately{1, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
        close();
    }
    void close()
    {
        if (m_socket >= 0)
            ::close(std::exchange(m_socket, -1));
    }

private:
    [[nodiscard]] bool receive()
    {
        char buffer[4096];
        if (!isReadable(30000))
            return false;
        const ssize_t size = ::recv(m_socket, buffer, sizeof buffer, 0);
        if (size <= 0)
            return false;
        m_received.append(buffer, static_cast<int>(size));
        return true;
    }

    int m_socket;
    QByteArray m_received;
};
