#include "httpdoors.h"

#include "hostsettings.h"
#include "listenaddress.h"
#include "system/descriptor.h"
#include "tokenfile.h"

#include <QLoggingCategory>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

using http::server::RequestHandler;
using http::server::Server;
using tessel::system::Descriptor;
using tessel::system::SocketFile;

static const QLoggingCategory &hostLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service");
    return category;
}

static StartFailure cannotListen(const QString &where, const QString &why)
{
    return {QStringLiteral("cannot listen on %1: %2").arg(where, why)};
}

static bool hasIpv6Loopback()
{
    sockaddr_in6 loopback{};
    loopback.sin6_family = AF_INET6;
    loopback.sin6_addr = in6addr_loopback;
    const Descriptor socket(::socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return socket.isOpen()
           && ::bind(socket.get(), reinterpret_cast<const sockaddr *>(&loopback), sizeof loopback) == 0;
}

static bool isUnixSocket(int socket)
{
    int family = AF_UNSPEC;
    socklen_t size = sizeof family;
    return ::getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size) == 0 && family == AF_UNIX;
}

HttpDoors::HttpDoors(RequestHandler &handler)
    : m_handler(handler)
{
}

HttpDoors::~HttpDoors() = default;

std::optional<StartFailure> HttpDoors::open(const ListenAddress &address, const HostSettings &settings)
{
    if (!address.isLoopback() && settings.access.tokenFile.isEmpty()) {
        return cannotListen(address.toString(),
                            QStringLiteral("other machines reach it, which takes an access token; set "
                                           "http.tokenFile, or listen on 127.0.0.1"));
    }
    if (auto failure = makeGuard(settings))
        return failure;
    m_server = std::make_unique<Server>(settings.limits, m_handler, m_guard.get());
    if (auto failure = listen(address))
        return failure;
    m_guard->setPort(m_server->port());
    return settings.access.socket.isEmpty() ? std::nullopt : listen(settings.access.socket);
}

std::optional<StartFailure> HttpDoors::makeGuard(const HostSettings &settings)
{
    auto users = PeerUsers::resolve(settings.access.allowedUsers);
    if (auto *failure = std::get_if<StartFailure>(&users))
        return std::move(*failure);
    m_users = std::make_unique<PeerUsers>(::geteuid(), std::get<QSet<uid_t>>(std::move(users)), m_refusals);
    // Of a unix socket the kernel can always tell.
    auto peerCheck = [this, isAsked = settings.access.sameUser](int socket) {
        return isAsked || isUnixSocket(socket) ? m_users->refusal(socket) : QString();
    };
    std::optional<AccessToken> token;
    if (!settings.access.tokenFile.isEmpty()) {
        auto read = readTokenFile(settings.access.tokenFile);
        if (auto *failure = std::get_if<StartFailure>(&read))
            return std::move(*failure);
        token.emplace(std::get<QByteArray>(std::move(read)));
    }
    m_guard =
        std::make_unique<HostGuard>(settings.access, std::move(token), std::move(peerCheck), m_refusals);
    return {};
}

std::optional<StartFailure> HttpDoors::listen(const ListenAddress &address)
{
    const QString refused = m_server->listen(address.address, address.port);
    if (!refused.isEmpty())
        return cannotListen(address.toString(), refused);
    const quint16 port = m_server->port();
    m_names.append(ListenAddress{address.address, port}.toString());

    // Who asks for "localhost" may be sent to either: nobody else is to answer there.
    if (address.address != ListenAddress().address || !hasIpv6Loopback())
        return {};
    const ListenAddress six{QStringLiteral("::1"), port};
    const QString sixRefused = m_server->listen(six.address, six.port);
    if (sixRefused.isEmpty()) {
        m_names.append(six.toString());
    } else {
        qCWarning(hostLogging).noquote() << "Not listening on" << six.toString() << "as well:" << sixRefused;
    }
    return {};
}

std::optional<StartFailure> HttpDoors::listen(const QString &socketPath)
{
    m_socketFile = std::make_unique<SocketFile>();
    QString refused = m_socketFile->open(socketPath);
    if (refused.isEmpty())
        refused = m_server->listen(m_socketFile->descriptor());
    if (!refused.isEmpty())
        return cannotListen(socketPath, refused);
    m_names.append(socketPath);
    return {};
}

QString HttpDoors::describe() const
{
    QStringList names = m_names;
    const QString last = names.takeLast();
    return names.isEmpty() ? last : names.join(QStringLiteral(", ")) + QStringLiteral(" and ") + last;
}

quint16 HttpDoors::port() const
{
    return m_server ? m_server->port() : quint16(0);
}

void HttpDoors::stopListening()
{
    if (m_server)
        m_server->stopListening();
    m_socketFile.reset();
}
