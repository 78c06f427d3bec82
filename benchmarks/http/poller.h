#pragma once

#include <sys/epoll.h>

#include <vector>

class Connection;

/// The connections that are watched for answers, with epoll.
class Poller final
{
public:
    Poller();
    ~Poller();
    Poller(const Poller &) = delete;
    Poller &operator=(const Poller &) = delete;

    /// Watches the connection, which must outlive the poller.
    void add(Connection &connection);

    /// Waits until one of them can be read and returns those that can, valid until the next call. Throws
    /// std::runtime_error when nothing comes for ten seconds.
    [[nodiscard]] const std::vector<Connection *> &wait();

    /// Whether one of them can be read now.
    [[nodiscard]] bool anyReadable();

private:
    int m_epoll;
    std::vector<epoll_event> m_events;
    std::vector<Connection *> m_readable;
};
