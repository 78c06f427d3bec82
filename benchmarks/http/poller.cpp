#include "poller.h"

#include "connection.h"

#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

Poller::Poller()
    : m_epoll(epoll_create1(EPOLL_CLOEXEC))
    , m_events(1024)
{
    if (m_epoll < 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_create1");
    }
}

Poller::~Poller()
{
    close(m_epoll);
}

void Poller::add(Connection &connection)
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = &connection;
    if (epoll_ctl(m_epoll, EPOLL_CTL_ADD, connection.descriptor(), &event) != 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
    }
}

const std::vector<Connection *> &Poller::wait()
{
    const int count = epoll_wait(m_epoll, m_events.data(), static_cast<int>(m_events.size()), 10000);
    if (count <= 0) {
        throw std::runtime_error("no answer came in time");
    }
    m_readable.clear();
    for (int i = 0; i < count; ++i) {
        m_readable.push_back(static_cast<Connection *>(m_events[static_cast<std::size_t>(i)].data.ptr));
    }
    return m_readable;
}

bool Poller::anyReadable()
{
    return epoll_wait(m_epoll, m_events.data(), 1, 0) > 0;
}
