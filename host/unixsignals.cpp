#include "unixsignals.h"

#include <QLoggingCategory>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

static const QLoggingCategory &unixSignalsLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.unixsignals");
    return category;
}

// What the handler sees of the object; a handler may touch little else.
static volatile std::sig_atomic_t writeEnd = -1;
static volatile std::sig_atomic_t hangUpWaits = 0;

static constexpr std::array handled{SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGXFSZ};
static std::array<struct sigaction, handled.size()> earlier;

static void passOn(int number)
{
    if (number == SIGHUP) {
        // One at a time, or a flood of them would fill the pipe.
        if (hangUpWaits != 0)
            return;
        hangUpWaits = 1;
    }
    const int savedError = errno;
    const auto byte = static_cast<unsigned char>(number);
    // A full pipe already holds a request to stop.
    [[maybe_unused]] const ssize_t written = write(writeEnd, &byte, 1);
    errno = savedError;
}

UnixSignals::UnixSignals()
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("No pipe for signals: %s", qPrintable(qt_error_string(errno)));
    m_readEnd = ends[0];
    writeEnd = ends[1];
    auto *notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &UnixSignals::readPipe);

    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < handled.size(); ++i) {
        action.sa_handler = handled[i] == SIGPIPE || handled[i] == SIGXFSZ ? SIG_IGN : passOn;
        sigaction(handled[i], &action, &earlier[i]);
    }
}

UnixSignals::~UnixSignals()
{
    for (std::size_t i = 0; i < handled.size(); ++i)
        sigaction(handled[i], &earlier[i], nullptr);
    close(writeEnd);
    close(m_readEnd);
    writeEnd = -1;
    hangUpWaits = 0;
}

void UnixSignals::readPipe()
{
    unsigned char number = 0;
    while (read(m_readEnd, &number, 1) == 1) {
        if (number != SIGHUP) {
            Q_EMIT stopRequested(number);
        } else {
            hangUpWaits = 0;
            qCInfo(unixSignalsLogging) << "SIGHUP is ignored: settings are read at the start only.";
        }
    }
}
