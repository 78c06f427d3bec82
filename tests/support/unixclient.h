#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QVector>

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <utility>

/// A client of a unix stream socket. Only what says so waits, up to 30 seconds.
class UnixClient final
{
public:
    explicit UnixClient(const QString &path)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const QByteArray name = QFile::encodeName(path);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, name.constData(), sizeof address.sun_path - 1);
        m_connected = ::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    }
    ~UnixClient() { close(); }
    Q_DISABLE_COPY_MOVE(UnixClient)

    [[nodiscard]] bool isConnected() const { return m_connected; }

    /// Sends what fits now and returns how much that was; -1 if the other end has closed.
    [[nodiscard]] int sendSome(const QByteArray &bytes)
    {
        const ssize_t size = ::send(m_socket, bytes.constData(), static_cast<std::size_t>(bytes.size()),
                                    MSG_NOSIGNAL | MSG_DONTWAIT);
        return size < 0 && errno == EAGAIN ? 0 : static_cast<int>(size);
    }

    /// Waits until all is sent; false if that fails.
    [[nodiscard]] bool send(const QByteArray &bytes)
    {
        for (int sent = 0; sent < bytes.size();) {
            pollfd writable{m_socket, POLLOUT, 0};
            const int size = ::poll(&writable, 1, 30000) == 1 ? sendSome(bytes.mid(sent, 1 << 20)) : -1;
            if (size < 0)
                return false;
            sent += size;
        }
        return true;
    }

    /// The bytes that have come so far and were not read yet, without waiting.
    [[nodiscard]] QByteArray readSome()
    {
        while (receive(0)) { }
        return std::exchange(m_received, {});
    }

    /// The lines that have come so far and were not read yet, without waiting.
    [[nodiscard]] QVector<QByteArray> readLines()
    {
        while (receive(0)) { }
        QVector<QByteArray> lines = m_received.split('\n').toVector();
        m_received = lines.takeLast();
        return lines;
    }

    /// Waits for the next line; null if none comes.
    [[nodiscard]] QByteArray readLine()
    {
        int end = m_received.indexOf('\n');
        while (end < 0) {
            const int searched = m_received.size();
            if (!receive(30000))
                return {};
            end = m_received.indexOf('\n', searched);
        }
        return takeLine(end);
    }

    /// True once the other end has closed and all that it sent is read. Does not wait.
    [[nodiscard]] bool isClosed()
    {
        while (receive(0)) { }
        return m_closed;
    }

    /// Reads and throws away until the other end closes; false if it does not.
    [[nodiscard]] bool drainUntilClosed()
    {
        while (receive(30000))
            m_received.clear();
        return m_closed;
    }

    void endOutput() { ::shutdown(m_socket, SHUT_WR); }
    void close()
    {
        if (m_socket >= 0)
            ::close(m_socket);
        m_socket = -1;
    }

private:
    [[nodiscard]] bool receive(int milliseconds)
    {
        pollfd readable{m_socket, POLLIN, 0};
        if (m_closed || ::poll(&readable, 1, milliseconds) != 1)
            return false;
        char buffer[65536];
        const ssize_t size = ::recv(m_socket, buffer, sizeof buffer, 0);
        m_closed = size <= 0;
        if (size > 0)
            m_received.append(buffer, static_cast<int>(size));
        return size > 0;
    }

    [[nodiscard]] QByteArray takeLine(int end)
    {
        const QByteArray line = m_received.left(end);
        m_received.remove(0, end + 1);
        return line;
    }

    int m_socket;
    bool m_connected = false;
    bool m_closed = false;
    QByteArray m_received;
};
