#pragma once

#include "connection.h"

#include <uv.h>

#include <memory>

namespace http::server {

class EventLoopBridge;
class HangUpWatch;
class Transport;

/// What a transport needs of the server that owns it.
class TransportOwner
{
public:
    /// The memory that all reads go through; what it holds is used before the next read.
    [[nodiscard]] virtual uv_buf_t readBuffer() = 0;
    virtual void enqueue(const QSharedPointer<Request> &request,
                         const QSharedPointer<Response> &response) = 0;
    virtual void enqueueDeparture(const QSharedPointer<Response> &response) = 0;
    [[nodiscard]] virtual Screening screen(Request::HttpMethod method, const HeaderFields &headers) = 0;
    /// The transport is closed and is to be destroyed.
    virtual void closed(Transport *transport) = 0;

protected:
    ~TransportOwner() = default;
};

/**
 * One connection: moves bytes between a stream socket and its Connection. Writes go to the kernel at once as
 * far as it takes them, the rest waits in libuv's queue. Lives until its handles are closed.
 */
class Transport final : public ConnectionDelegate
{
public:
    Transport(EventLoopBridge &bridge, const Limits &limits, TransportOwner &owner);
    ~Transport();
    Q_DISABLE_COPY_MOVE(Transport)

    [[nodiscard]] Connection &connection() { return m_connection; }

    /// Takes over a connected socket, whatever comes of it; false if libuv does not want it.
    [[nodiscard]] bool open(int socket);
    /// Serves the client from now on.
    void start();
    /// Tells the client that it is not served, and closes. Of what it sends, little is read.
    void turnAway(int status, const QString &reason);
    [[nodiscard]] bool isRefused() const { return m_isRefused; }

    [[nodiscard]] Written write(const QByteArray &head, const QByteArray &body) override;
    [[nodiscard]] std::size_t queuedBytes() const override;
    void endOutput() override;
    void setReading(bool on) override;
    void startTimer(std::chrono::milliseconds period) override;
    void stopTimer() override;
    void close() override;
    [[nodiscard]] Screening screen(Request::HttpMethod method, const HeaderFields &headers) override;
    void requestReceived(const QSharedPointer<Request> &request,
                         const QSharedPointer<Response> &response) override;
    void clientGone(const QSharedPointer<Response> &response) override;

private:
    struct PendingWrite;

    [[nodiscard]] static Transport &self(uv_handle_t *handle)
    {
        return *static_cast<Transport *>(handle->data);
    }
    static void onAllocate(uv_handle_t *handle, std::size_t size, uv_buf_t *buffer);
    static void onRead(uv_stream_t *stream, ssize_t size, const uv_buf_t *buffer);
    static void onWritten(uv_write_t *request, int status);
    static void onShutdown(uv_shutdown_t *request, int status);
    static void onTimeout(uv_timer_t *timer);
    static void onClosed(uv_handle_t *handle);

    [[nodiscard]] uv_stream_t *stream() { return reinterpret_cast<uv_stream_t *>(&m_tcp); }
    [[nodiscard]] bool queue(const QByteArray &head, const QByteArray &body, std::size_t sent);
    void readWhatIsThere();

    EventLoopBridge &m_bridge;
    TransportOwner &m_owner;
    uv_tcp_t m_tcp{}; ///< which takes any stream socket
    uv_timer_t m_timer{};
    Connection m_connection;
    std::unique_ptr<HangUpWatch> m_hangUpWatch; ///< while reading is off
    int m_openHandles = 2;
    int m_pendingWrites = 0;
    bool m_isRefused = false;
    int m_ignoredBytes = 0; ///< which the refused client has sent
};

} // namespace http::server
