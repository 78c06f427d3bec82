#include "server.h"

#include "answer.h"
#include "eventloopbridge.h"
#include "request.h"
#include "response.h"
#include "transport.h"

#include <QAbstractEventDispatcher>
#include <QLoggingCategory>

#include <array>
#include <deque>
#include <unordered_map>
#include <utility>

namespace http::server {

static const QLoggingCategory &serverLogging()
{
    static const QLoggingCategory category("ch.tessel.http.server");
    return category;
}

class Server::Private final : public TransportOwner
{
public:
    Private(const Limits &limits, RequestHandler &handler);
    ~Private();
    Q_DISABLE_COPY_MOVE(Private)

    [[nodiscard]] QString listen(const QString &address, quint16 port);
    [[nodiscard]] quint16 port() const;
    void stopListening();
    [[nodiscard]] int connectionCount() const { return static_cast<int>(m_transports.size()) - m_refused; }

private:
    /// A request that has arrived or, without one, a client that has gone.
    struct Event
    {
        QSharedPointer<Request> request;
        QSharedPointer<Response> response;
    };

    [[nodiscard]] uv_buf_t readBuffer() override;
    void enqueue(const QSharedPointer<Request> &request, const QSharedPointer<Response> &response) override;
    void enqueueDeparture(const QSharedPointer<Response> &response) override;
    void closed(Transport *transport) override;

    static void onConnection(uv_stream_t *listener, int status);
    void accept();
    void deliver();
    void kickIfWaiting();

    const Limits m_limits;
    RequestHandler &m_handler;
    EventLoopBridge m_bridge;
    uv_tcp_t *m_listener = nullptr; ///< frees itself once closed
    std::unordered_map<Transport *, std::unique_ptr<Transport>> m_transports;
    int m_refused = 0; ///< those among the transports that are only told that there are too many
    std::deque<Event> m_events;
    std::array<char, 65536> m_readBuffer{};
};

/// Requests and departures handled in one turn, before I/O is looked at again.
static constexpr int eventsPerTurn = 64;
/// Connections beyond the cap that are told so at one time; any more are closed without a word.
static constexpr int refusalsAtOnce = 64;
static constexpr int backlog = 4096;

Server::Private::Private(const Limits &limits, RequestHandler &handler)
    : m_limits(limits)
    , m_handler(handler)
    , m_bridge([this] { deliver(); })
{
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &m_bridge,
                     [this] { kickIfWaiting(); });
}

Server::Private::~Private()
{
    stopListening();
    for (auto &[key, transport] : m_transports)
        transport->connection().abort();
    uv_run(m_bridge.loop(), UV_RUN_DEFAULT);
}

QString Server::Private::listen(const QString &address, quint16 port)
{
    stopListening();
    sockaddr_storage storage{};
    const QByteArray text = address.toUtf8();
    if (uv_ip4_addr(text.constData(), port, reinterpret_cast<sockaddr_in *>(&storage)) != 0
        && uv_ip6_addr(text.constData(), port, reinterpret_cast<sockaddr_in6 *>(&storage)) != 0)
        return QStringLiteral("%1 is no numeric IP address").arg(address);

    m_listener = new uv_tcp_t{};
    uv_tcp_init(m_bridge.loop(), m_listener);
    m_listener->data = this;
    int error = uv_tcp_bind(m_listener, reinterpret_cast<const sockaddr *>(&storage), 0);
    if (error == 0)
        error = uv_listen(reinterpret_cast<uv_stream_t *>(m_listener), backlog, &Private::onConnection);
    if (error != 0) {
        stopListening();
        return QString::fromUtf8(uv_strerror(error));
    }
    m_bridge.kick();
    return {};
}

quint16 Server::Private::port() const
{
    if (!m_listener)
        return 0;
    sockaddr_storage storage{};
    int size = sizeof storage;
    uv_tcp_getsockname(m_listener, reinterpret_cast<sockaddr *>(&storage), &size);
    // The port has the same place in both families' addresses.
    return ntohs(reinterpret_cast<const sockaddr_in *>(&storage)->sin_port);
}

void Server::Private::stopListening()
{
    if (!m_listener)
        return;
    uv_close(reinterpret_cast<uv_handle_t *>(std::exchange(m_listener, nullptr)),
             [](uv_handle_t *handle) { delete reinterpret_cast<uv_tcp_t *>(handle); });
    m_bridge.kick();
}

uv_buf_t Server::Private::readBuffer()
{
    return uv_buf_init(m_readBuffer.data(), static_cast<unsigned>(m_readBuffer.size()));
}

void Server::Private::enqueue(const QSharedPointer<Request> &request,
                              const QSharedPointer<Response> &response)
{
    m_events.push_back({request, response});
    m_bridge.kick();
}

void Server::Private::enqueueDeparture(const QSharedPointer<Response> &response)
{
    m_events.push_back({{}, response});
    m_bridge.kick();
}

void Server::Private::closed(Transport *transport)
{
    if (transport->isRefused())
        --m_refused;
    m_transports.erase(transport);
}

void Server::Private::onConnection(uv_stream_t *listener, int status)
{
    if (status == 0) {
        static_cast<Private *>(listener->data)->accept();
    } else {
        qCWarning(serverLogging) << "A connection could not be accepted:" << uv_strerror(status);
    }
}

void Server::Private::accept()
{
    const bool isFull = connectionCount() >= m_limits.maxConnections;
    auto owned = std::make_unique<Transport>(m_bridge, m_limits, *this);
    Transport *transport = owned.get();
    m_transports.emplace(transport, std::move(owned));
    if (!transport->accept(reinterpret_cast<uv_stream_t *>(m_listener))
        || (isFull && m_refused >= refusalsAtOnce)) {
        transport->connection().abort();
    } else if (isFull) {
        ++m_refused;
        transport->refuse(503, "There are too many connections.");
    } else {
        transport->start();
    }
}

/// Requests and departures reach the application here, in order and never from inside of uv_run(). A handler
/// may enter an event loop of its own, which then delivers what is left in the queue.
void Server::Private::deliver()
{
    for (int i = 0; i < eventsPerTurn && !m_events.empty(); ++i) {
        const Event event = std::move(m_events.front());
        m_events.pop_front();
        if (event.request) {
            m_handler.requestReceived(event.request, event.response);
        } else {
            event.response->abandon();
        }
    }
    kickIfWaiting();
}

void Server::Private::kickIfWaiting()
{
    if (!m_events.empty())
        m_bridge.kick();
}

Server::Server(const Limits &limits, RequestHandler &handler)
    : d(std::make_unique<Private>(limits, handler))
{
}

Server::~Server() = default;

QString Server::listen(const QString &address, quint16 port)
{
    return d->listen(address, port);
}

quint16 Server::port() const
{
    return d->port();
}

void Server::stopListening()
{
    d->stopListening();
}

int Server::connectionCount() const
{
    return d->connectionCount();
}

} // namespace http::server
