#include "wireserver.h"

#include "chunkline.h"
#include "wireclient.h"

#include <QLoggingCategory>
#include <QSocketNotifier>
#include <QTimer>

#include <cerrno>
#include <sys/socket.h>

namespace buswire {

static const QLoggingCategory &wireServerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.buswire.server");
    return category;
}

WireServer::WireServer(Publish publish)
    : m_publish(std::move(publish))
{
}

WireServer::~WireServer() = default;

QString WireServer::listen(const QString &path)
{
    QString failure = m_socketFile.open(path);
    if (failure.isEmpty()) {
        m_connecting = std::make_unique<QSocketNotifier>(m_socketFile.descriptor(), QSocketNotifier::Read);
        connect(m_connecting.get(), &QSocketNotifier::activated, this, &WireServer::acceptClients);
    }
    return failure;
}

void WireServer::acceptClients()
{
    for (;;) {
        const int socket = accept4(m_socketFile.descriptor(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket >= 0) {
            addClient(socket);
            continue;
        }
        if (errno == EMFILE || errno == ENFILE) {
            // Who waits would wake the notifier without end.
            qCWarning(wireServerLogging) << "No descriptor is left for a client; trying again in a second.";
            m_connecting->setEnabled(false);
            QTimer::singleShot(1000, this, [this] { m_connecting->setEnabled(true); });
        }
        return;
    }
}

void WireServer::addClient(int socket)
{
    auto *client = new WireClient(socket, this);
    m_clients.append(client);
    connect(client, &WireClient::lineReceived, this,
            [this, client](const QByteArray &line) { takeLine(*client, line); });
    connect(client, &WireClient::left, this, [this, client] {
        m_clients.removeOne(client);
        client->deleteLater();
    });
}

void WireServer::takeLine(WireClient &client, const QByteArray &line)
{
    if (line.trimmed().isEmpty())
        return;
    const auto chunk = parseChunk(line);
    const QString *reason = std::get_if<QString>(&chunk);
    const QString refused = reason != nullptr ? *reason : m_publish(std::get<QJsonObject>(chunk));
    if (!refused.isEmpty())
        client.send(errorLine(refused));
}

void WireServer::broadcast(const QJsonValue &chunk)
{
    if (m_clients.isEmpty())
        return;
    const QByteArray line = chunkLine(chunk);
    // A copy: a client may leave from inside.
    const QVector<WireClient *> clients = m_clients;
    for (WireClient *client : clients)
        client->send(line);
}

} // namespace buswire
