#include "wireclient.h"

#include "chunkline.h"
#include "hangupwatch.h"

#include <QLoggingCategory>

#include <array>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace buswire {

static const QLoggingCategory &wireClientLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.buswire.client");
    return category;
}

static bool isTransient(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

WireClient::WireClient(int socket, QObject *parent)
    : QObject(parent)
    , m_socket(socket)
    , m_readable(socket, QSocketNotifier::Read)
    , m_writable(socket, QSocketNotifier::Write)
{
    m_writable.setEnabled(false);
    connect(&m_readable, &QSocketNotifier::activated, this, &WireClient::readSome);
    connect(&m_writable, &QSocketNotifier::activated, this, &WireClient::writeSome);
}

WireClient::~WireClient()
{
    if (m_socket >= 0)
        close(m_socket);
}

void WireClient::readSome()
{
    std::array<char, 64 << 10> buffer;
    const ssize_t size = recv(m_socket, buffer.data(), buffer.size(), 0);
    if (size < 0)
        return isTransient(errno) ? void() : leave();
    if (size == 0)
        return endOfInput();
    m_lines.append(buffer.data(), static_cast<int>(size));
    takeLines();
}

void WireClient::takeLines()
{
    m_scheduled = false;
    for (int taken = 0; m_state == State::Open && !isPaused(); ++taken) {
        if (taken == linesPerTurn)
            return scheduleLines();
        const std::optional<QByteArray> line = m_lines.next();
        if (!line)
            break;
        Q_EMIT lineReceived(*line);
    }
    if (m_state == State::Open && m_lines.isOverlong())
        refuseOverlong();
    m_readable.setEnabled(m_state == State::Open && !isPaused() && !m_inputEnded);
}

// The event loop, and the bus with it, gets its turn before the next lines.
void WireClient::scheduleLines()
{
    m_readable.setEnabled(false);
    if (!std::exchange(m_scheduled, true))
        QMetaObject::invokeMethod(this, &WireClient::takeLines, Qt::QueuedConnection);
}

void WireClient::refuseOverlong()
{
    qCWarning(wireClientLogging) << "A client that sends too long a line is disconnected.";
    send(errorLine(QStringLiteral("A line is longer than %1 bytes.").arg(LineReader::maxLineBytes)));
    if (m_state == State::Open)
        m_state = State::Finishing;
    writeSome();
}

void WireClient::endOfInput()
{
    m_inputEnded = true;
    m_readable.setEnabled(false);
    const QByteArray rest = m_lines.takeRest();
    if (!rest.isEmpty())
        Q_EMIT lineReceived(rest);
    if (m_outputEnded)
        leave();
    if (m_state == State::Open)
        connect(new HangUpWatch(m_socket, this), &HangUpWatch::hungUp, this, &WireClient::leave);
}

void WireClient::send(const QByteArray &line)
{
    if (m_state != State::Open || m_outputEnded)
        return;
    if (bytesBehindFirst() >= maxWaitingBytes) {
        qCWarning(wireClientLogging) << "A client that does not read is disconnected.";
        return leave();
    }
    m_queue.push_back(line);
    m_waiting += line.size();
    if (!m_writable.isEnabled())
        writeSome();
}

qint64 WireClient::bytesBehindFirst() const
{
    return m_queue.empty() ? 0 : m_waiting - (m_queue.front().size() - m_sentOfFirst);
}

void WireClient::writeSome()
{
    const bool wasPaused = isPaused();
    if (!writeQueue())
        stopSending();
    if (m_queue.empty() && (m_state == State::Finishing || (m_inputEnded && m_outputEnded)))
        return leave();
    m_writable.setEnabled(!m_queue.empty());
    if (wasPaused && !isPaused() && !m_inputEnded)
        scheduleLines();
}

// False if nobody receives any more.
bool WireClient::writeQueue()
{
    while (!m_queue.empty()) {
        const QByteArray &first = m_queue.front();
        const ssize_t size =
            ::send(m_socket, first.constData() + m_sentOfFirst,
                   static_cast<std::size_t>(first.size() - m_sentOfFirst), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size < 0)
            return isTransient(errno);
        m_waiting -= size;
        m_sentOfFirst += static_cast<int>(size);
        if (m_sentOfFirst == first.size()) {
            m_queue.pop_front();
            m_sentOfFirst = 0;
        }
    }
    return true;
}

// There may still be something to read.
void WireClient::stopSending()
{
    m_outputEnded = true;
    m_queue.clear();
    m_waiting = 0;
}

void WireClient::leave()
{
    if (m_state == State::Left)
        return;
    m_state = State::Left;
    m_readable.setEnabled(false);
    m_writable.setEnabled(false);
    m_queue.clear();
    close(std::exchange(m_socket, -1));
    Q_EMIT left();
}

} // namespace buswire
