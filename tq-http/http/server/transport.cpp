#include "transport.h"

#include "eventloopbridge.h"
#include "hangupwatch.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace http::server {

struct Transport::PendingWrite
{
    uv_write_t request{};
    QByteArray head;
    QByteArray body;
};

static uv_buf_t bufferFrom(const QByteArray &bytes, std::size_t offset = 0)
{
    // libuv does not write to what it sends.
    return uv_buf_init(const_cast<char *>(bytes.constData()) + offset,
                       static_cast<unsigned>(bytes.size()) - static_cast<unsigned>(offset));
}

Transport::Transport(EventLoopBridge &bridge, const Limits &limits, TransportOwner &owner)
    : m_bridge(bridge)
    , m_owner(owner)
    , m_connection(limits, *this)
{
    uv_tcp_init(bridge.loop(), &m_tcp);
    uv_timer_init(bridge.loop(), &m_timer);
    m_tcp.data = this;
    m_timer.data = this;
}

Transport::~Transport() = default;

bool Transport::open(int socket)
{
    if (uv_tcp_open(&m_tcp, socket) == 0)
        return true;
    ::close(socket);
    return false;
}

void Transport::start()
{
    uv_tcp_nodelay(&m_tcp, 1);
    setReading(true);
    m_connection.start();
}

void Transport::turnAway(int status, const QString &reason)
{
    m_isRefused = true;
    setReading(true);
    m_connection.turnAway(status, reason);
}

Transport::Written Transport::write(const QByteArray &head, const QByteArray &body)
{
    std::size_t sent = 0;
    if (m_pendingWrites == 0) {
        const std::array<uv_buf_t, 2> buffers{bufferFrom(head), bufferFrom(body)};
        const int result = uv_try_write(stream(), buffers.data(), body.isEmpty() ? 1 : 2);
        if (result < 0 && result != UV_EAGAIN)
            return Written::Failed;
        sent = result < 0 ? 0 : static_cast<std::size_t>(result);
        if (sent == static_cast<std::size_t>(head.size()) + static_cast<std::size_t>(body.size()))
            return Written::Sent;
    }
    return queue(head, body, sent) ? Written::Queued : Written::Failed;
}

bool Transport::queue(const QByteArray &head, const QByteArray &body, std::size_t sent)
{
    auto pending = std::make_unique<PendingWrite>();
    pending->head = head;
    pending->body = body;
    pending->request.data = pending.get();
    const auto headSize = static_cast<std::size_t>(head.size());
    const std::array<uv_buf_t, 2> buffers{bufferFrom(head, std::min(sent, headSize)),
                                          bufferFrom(body, sent > headSize ? sent - headSize : 0)};
    if (uv_write(&pending->request, stream(), buffers.data(), 2, &Transport::onWritten) != 0)
        return false;
    static_cast<void>(pending.release()); // onWritten() owns it now.
    ++m_pendingWrites;
    m_bridge.kick();
    return true;
}

std::size_t Transport::queuedBytes() const
{
    return m_tcp.write_queue_size;
}

void Transport::endOutput()
{
    auto request = std::make_unique<uv_shutdown_t>();
    if (uv_shutdown(request.get(), stream(), &Transport::onShutdown) == 0)
        static_cast<void>(request.release()); // onShutdown() owns it now.
    m_bridge.kick();
}

void Transport::setReading(bool on)
{
    if (on) {
        m_hangUpWatch.reset();
        uv_read_start(stream(), &Transport::onAllocate, &Transport::onRead);
    } else {
        uv_read_stop(stream());
        uv_os_fd_t socket = -1;
        uv_fileno(reinterpret_cast<uv_handle_t *>(&m_tcp), &socket);
        m_hangUpWatch = std::make_unique<HangUpWatch>(m_bridge, socket, [this] { m_connection.hungUp(); });
    }
    m_bridge.kick();
}

void Transport::startTimer(std::chrono::milliseconds period)
{
    m_bridge.startTimer(&m_timer, &Transport::onTimeout, period);
}

void Transport::stopTimer()
{
    uv_timer_stop(&m_timer);
}

void Transport::close()
{
    m_hangUpWatch.reset();
    uv_close(reinterpret_cast<uv_handle_t *>(&m_tcp), &Transport::onClosed);
    uv_close(reinterpret_cast<uv_handle_t *>(&m_timer), &Transport::onClosed);
    m_bridge.kick();
}

Screening Transport::screen(Request::HttpMethod method, const HeaderFields &headers)
{
    return m_owner.screen(method, headers);
}

void Transport::requestReceived(const QSharedPointer<Request> &request,
                                const QSharedPointer<Response> &response)
{
    m_owner.enqueue(request, response);
}

void Transport::clientGone(const QSharedPointer<Response> &response)
{
    m_owner.enqueueDeparture(response);
}

void Transport::onAllocate(uv_handle_t *handle, std::size_t /*size*/, uv_buf_t *buffer)
{
    *buffer = self(handle).m_owner.readBuffer();
}

void Transport::onRead(uv_stream_t *stream, ssize_t size, const uv_buf_t *buffer)
{
    Transport &me = self(reinterpret_cast<uv_handle_t *>(stream));
    Connection &connection = me.m_connection;
    if (size > 0) {
        connection.received({buffer->base, static_cast<std::size_t>(size)});
        // Whoever is refused must not keep the loop busy by sending.
        if (me.m_isRefused && (me.m_ignoredBytes += static_cast<int>(size)) > Connection::maxWaitingBytes)
            uv_read_stop(stream);
    } else if (size == UV_EOF) {
        connection.endOfInput();
    } else if (size < 0) {
        connection.lost();
    }
}

void Transport::onWritten(uv_write_t *request, int status)
{
    const std::unique_ptr<PendingWrite> pending(static_cast<PendingWrite *>(request->data));
    Transport &me = self(reinterpret_cast<uv_handle_t *>(request->handle));
    --me.m_pendingWrites;
    if (status != 0) {
        me.m_connection.lost();
    } else if (me.m_pendingWrites == 0) {
        me.m_connection.flushed();
    }
}

void Transport::onShutdown(uv_shutdown_t *request, int /*status*/)
{
    delete request;
}

void Transport::onTimeout(uv_timer_t *timer)
{
    Transport &me = self(reinterpret_cast<uv_handle_t *>(timer));
    // The client is in time if only the application has kept the loop from reading.
    me.readWhatIsThere();
    if (uv_is_active(reinterpret_cast<uv_handle_t *>(timer)) == 0)
        me.m_connection.timedOut();
}

void Transport::readWhatIsThere()
{
    if (m_hangUpWatch)
        return; // Reading is off.
    uv_os_fd_t socket = -1;
    uv_fileno(reinterpret_cast<uv_handle_t *>(&m_tcp), &socket);
    const uv_buf_t buffer = m_owner.readBuffer();
    const ssize_t size = ::recv(socket, buffer.base, buffer.len, MSG_DONTWAIT);
    if (size > 0)
        onRead(stream(), size, &buffer);
}

void Transport::onClosed(uv_handle_t *handle)
{
    Transport &me = self(handle);
    if (--me.m_openHandles == 0)
        me.m_owner.closed(&me);
}

} // namespace http::server
