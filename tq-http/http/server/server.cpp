#include "server.h"

#include "answer.h"
#include "eventloopbridge.h"
#include "guard.h"
#include "listener.h"
#include "listeningsocket.h"
#include "request.h"
#include "response.h"
#include "transport.h"

#include <QAbstractEventDispatcher>
#include <QLoggingCategory>

#include <fcntl.h>
#include <unistd.h>
#include <uv.h>

#include <array>
#include <cerrno>
#include <deque>
#include <unordered_map>
#include <utility>
#include <vector>

namespace http::server {

static const QLoggingCategory &serverLogging()
{
    static const QLoggingCategory category("ch.tessel.http.server");
    return category;
}

class Server::Private final : public TransportOwner
{
public:
    Private(const Limits &limits, RequestHandler &handler, Guard *guard);
    ~Private();
    Q_DISABLE_COPY_MOVE(Private)

    void addListener(int socket);
    void stopListening() { m_listeners.clear(); }
    [[nodiscard]] quint16 port() const
    {
        return m_listeners.empty() ? quint16(0) : m_listeners.front()->port();
    }
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
    [[nodiscard]] Screening screen(Request::HttpMethod method, const HeaderFields &headers) override;
    void closed(Transport *transport) override;

    void accept(int socket);
    void turnAway(int socket, int status, const QString &reason);
    [[nodiscard]] Transport *open(int socket);
    void deliver();
    void kickIfWaiting();

    const Limits m_limits;
    RequestHandler &m_handler;
    Guard *const m_guard;
    EventLoopBridge m_bridge;
    std::vector<std::unique_ptr<Listener>> m_listeners;
    std::unordered_map<Transport *, std::unique_ptr<Transport>> m_transports;
    int m_refused = 0; ///< those among the transports that are only told why they are not served
    bool m_isFull = false; ///< and the log tells so already
    std::deque<Event> m_events;
    std::array<char, 65536> m_readBuffer{};
};

/// Requests and departures handled in one turn, before I/O is looked at again.
static constexpr int eventsPerTurn = 64;
/// Connections that are not served and told so at one time; any more are closed without a word.
static constexpr int refusalsAtOnce = 64;

Server::Private::Private(const Limits &limits, RequestHandler &handler, Guard *guard)
    : m_limits(limits)
    , m_handler(handler)
    , m_guard(guard)
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

void Server::Private::addListener(int socket)
{
    m_listeners.push_back(
        std::make_unique<Listener>(m_bridge, socket, [this](int connected) { accept(connected); }));
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

Screening Server::Private::screen(Request::HttpMethod method, const HeaderFields &headers)
{
    return m_guard ? m_guard->screen(method, headers) : Screening();
}

void Server::Private::closed(Transport *transport)
{
    if (transport->isRefused())
        --m_refused;
    m_transports.erase(transport);
}

void Server::Private::accept(int socket)
{
    if (connectionCount() >= m_limits.maxConnections) {
        if (!std::exchange(m_isFull, true))
            qCWarning(serverLogging) << "All" << m_limits.maxConnections << "connections are taken.";
        return turnAway(socket, 503, QStringLiteral("There are too many connections."));
    }
    m_isFull = false;
    const QString refusal = m_guard ? m_guard->refusal(socket) : QString();
    if (!refusal.isEmpty())
        return turnAway(socket, 403, refusal);
    if (Transport *transport = open(socket))
        transport->start();
}

void Server::Private::turnAway(int socket, int status, const QString &reason)
{
    if (m_refused >= refusalsAtOnce) {
        ::close(socket);
    } else if (Transport *transport = open(socket)) {
        ++m_refused;
        transport->turnAway(status, reason);
    }
}

/// Null if libuv does not want the socket, which is closed then.
Transport *Server::Private::open(int socket)
{
    auto owned = std::make_unique<Transport>(m_bridge, m_limits, *this);
    Transport *transport = owned.get();
    m_transports.emplace(transport, std::move(owned));
    if (transport->open(socket))
        return transport;
    transport->connection().abort();
    return nullptr;
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

Server::Server(const Limits &limits, RequestHandler &handler, Guard *guard)
    : d(std::make_unique<Private>(limits, handler, guard))
{
}

Server::~Server() = default;

QString Server::listen(const QString &address, quint16 port)
{
    const ListeningSocket socket = listeningSocket(address, port);
    if (socket.error.isEmpty())
        d->addListener(socket.descriptor);
    return socket.error;
}

QString Server::listen(int socket)
{
    const int duplicate = ::fcntl(socket, F_DUPFD_CLOEXEC, 0);
    if (duplicate < 0)
        return QString::fromUtf8(uv_strerror(uv_translate_sys_error(errno)));
    d->addListener(duplicate);
    return {};
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
