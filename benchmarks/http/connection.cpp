#include "connection.h"

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace {

constexpr int patienceMs = 10000;

[[noreturn]] void failWithErrno(const char *what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

template <typename Value>
void setOption(int socket, int level, int name, const Value &value)
{
    if (setsockopt(socket, level, name, &value, sizeof value) != 0) {
        failWithErrno("setsockopt");
    }
}

} // namespace

Connection::Connection(std::uint16_t port)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    if (m_socket < 0) {
        failWithErrno("socket");
    }
    setOption(m_socket, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(m_socket, SOL_SOCKET, SO_LINGER, linger{1, 0});
    setOption(m_socket, SOL_SOCKET, SO_SNDTIMEO, timeval{patienceMs / 1000, 0});

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        const int error = errno;
        close(m_socket);
        throw std::system_error(error, std::generic_category(), "connect");
    }
}

Connection::~Connection()
{
    close(m_socket);
}

void Connection::send(std::string_view request)
{
    // The server reads a whole request before it answers, so that waiting for room here can't block it.
    while (!request.empty()) {
        const ssize_t sent = ::send(m_socket, request.data(), request.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            failWithErrno("send");
        }
        request.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void Connection::awaitReceipt() const
{
    int unacknowledged = 1;
    for (int waited = 0; waited < patienceMs; ++waited) {
        if (ioctl(m_socket, SIOCOUTQ, &unacknowledged) != 0) {
            failWithErrno("ioctl");
        }
        if (unacknowledged == 0) {
            return;
        }
        poll(nullptr, 0, 1); // nothing tells of an acknowledgement
    }
    throw std::runtime_error("a request did not reach the server");
}

bool Connection::receive()
{
    static std::array<char, 262144> buffer;
    const ssize_t received = recv(m_socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (received < 0) {
        if (errno == EAGAIN || errno == EINTR) {
            return false;
        }
        failWithErrno("recv");
    }
    if (received == 0) {
        throw std::runtime_error("the server closed a connection");
    }
    if (!m_reader.feed({buffer.data(), static_cast<std::size_t>(received)})) {
        return false;
    }
    if (m_reader.status() / 100 != 2) {
        throw std::runtime_error("a request was answered with status " + std::to_string(m_reader.status()));
    }
    return true;
}

void Connection::awaitAnswer()
{
    do {
        pollfd readable{m_socket, POLLIN, 0};
        if (poll(&readable, 1, patienceMs) <= 0) {
            throw std::runtime_error("a request was not answered in time");
        }
    } while (!receive());
}

void Connection::exchange(std::string_view request)
{
    send(request);
    awaitAnswer();
}
