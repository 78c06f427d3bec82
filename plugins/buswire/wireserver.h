#pragma once

#include <system/socketfile.h>

#include <QJsonObject>
#include <QObject>
#include <QVector>

#include <functional>
#include <memory>

class QJsonValue;
class QSocketNotifier;

namespace buswire {

class WireClient;

/// Serves any number of clients at one unix socket: what they send is published, and every chunk goes to all
/// of them. Event-loop thread.
class WireServer final : public QObject
{
    Q_OBJECT

public:
    /// Puts a chunk on the bus. Returns an empty string, or why that is not possible.
    using Publish = std::function<QString(const QJsonObject &chunk)>;

    explicit WireServer(Publish publish);
    /// Disconnects all clients and removes the socket.
    ~WireServer() override;
    Q_DISABLE_COPY_MOVE(WireServer)

    /// Listens at `path`; called once. Returns an empty string, or why it failed.
    [[nodiscard]] QString listen(const QString &path);

    /// Sends one chunk, which may be any JSON value, to every client.
    void broadcast(const QJsonValue &chunk);

private:
    void acceptClients();
    void addClient(int socket);
    void takeLine(WireClient &client, const QByteArray &line);

    const Publish m_publish;
    tessel::system::SocketFile m_socketFile;
    std::unique_ptr<QSocketNotifier> m_connecting;
    QVector<WireClient *> m_clients; // children
};

} // namespace buswire
