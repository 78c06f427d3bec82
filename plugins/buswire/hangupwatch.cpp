#include "hangupwatch.h"

#include <QSocketNotifier>

#include <sys/epoll.h>
#include <unistd.h>

namespace buswire {

// A notifier on the socket itself would wake for the end of input without end. epoll always reports a
// hang-up, and here nothing else.
HangUpWatch::HangUpWatch(int socket, QObject *parent)
    : QObject(parent)
    , m_epoll(epoll_create1(EPOLL_CLOEXEC))
{
    epoll_event nothingElse{};
    if (m_epoll < 0 || epoll_ctl(m_epoll, EPOLL_CTL_ADD, socket, &nothingElse) != 0)
        return; // Out of descriptors: the next write notices that nobody is there.
    auto *notifier = new QSocketNotifier(m_epoll, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &HangUpWatch::hungUp);
}

HangUpWatch::~HangUpWatch()
{
    if (m_epoll >= 0)
        close(m_epoll);
}

} // namespace buswire
