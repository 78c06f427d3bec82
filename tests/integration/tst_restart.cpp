#include "hostprocess.h"
#include "rawclient.h"
#include "wellbehavedclient.h"

#include <QtTest>

#include <optional>
#include <vector>

namespace {

constexpr int restarts = 8;
constexpr int floodingClients = 100;
constexpr int requestsAClient = 30;

QByteArray put(const QByteArray &path, const QByteArray &body)
{
    return "PUT " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
           + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// A port that is free for a listener and given to nobody else while this lives: a socket is bound to it, and
/// does not listen.
class ReservedPort final
{
public:
    ReservedPort()
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const int yes = 1;
        sockaddr_in address{};
        socklen_t size = sizeof address;
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        if (::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), size) != 0
            || ::getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &size) != 0)
            qFatal("No port.");
        m_port = ntohs(address.sin_port);
    }
    ~ReservedPort() { ::close(m_socket); }
    Q_DISABLE_COPY_MOVE(ReservedPort)

    [[nodiscard]] quint16 port() const { return m_port; }

private:
    int m_socket;
    quint16 m_port = 0;
};

/// Whether the kernel still has connections of a listener on this port, in FIN-WAIT or TIME-WAIT.
bool hasConnectionsLeft(quint16 port)
{
    QFile file(QStringLiteral("/proc/net/tcp"));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QRegularExpression line(
        QStringLiteral(R"(: 0100007F:%1 [0-9A-F:]+ 0[456] )").arg(port, 4, 16, QLatin1Char('0')),
        QRegularExpression::CaseInsensitiveOption);
    return line.match(QString::fromLatin1(file.readAll())).hasMatch();
}

} // namespace

/// The service after a sudden death.
class RestartTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void killedInAFloodAndStartedAtOnceOnTheSamePort()
    {
        const ReservedPort reserved;
        // Kept over all restarts, so that the kernel still knows the connections of those that were killed.
        std::vector<RawClient> clients;
        std::optional<HostProcess> host;
        for (int i = 0; i <= restarts; ++i) {
            host.emplace(QStringList{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN),
                                     QStringLiteral("--listen"),
                                     QStringLiteral("127.0.0.1:%1").arg(reserved.port())});
            QVERIFY2(host->start(), host->readLog().constData());
            QCOMPARE(host->port(), reserved.port());
            // Nothing is left of before.
            RawClient asking(host->port());
            asking.send("GET /context/flooded HTTP/1.1\r\nHost: localhost\r\n\r\n");
            QVERIFY(asking.readAnswer().startsWith("HTTP/1.1 404 "));
            WellBehavedClient other(host->port());
            QCOMPARE(other.round(), QByteArray());

            const QByteArray request = put("/context/flooded", "{\"a\":\"" + QByteArray(1000, 'x') + "\"}");
            for (int client = 0; client < floodingClients; ++client) {
                clients.emplace_back(host->port());
                clients.back().send(request.repeated(requestsAClient));
                if (client == floodingClients / 2)
                    QCOMPARE(other.round(), QByteArray());
            }
            // The first answer to the first of them: most of the flood is still to come.
            QVERIFY(clients[clients.size() - floodingClients].isReadable(30000));
            if (i == restarts)
                break;
            host->process.kill();
            QVERIFY(host->process.waitForFinished(30000));
            QCOMPARE(host->process.exitStatus(), QProcess::CrashExit);
            QVERIFY(hasConnectionsLeft(reserved.port()));
        }
        // The last one has lived on, and all its clients get their answers.
        for (std::size_t i = clients.size() - floodingClients; i < clients.size(); ++i) {
            for (int answer = 0; answer < requestsAClient; ++answer)
                QVERIFY(clients[i].readAnswer().startsWith("HTTP/1.1 20"));
        }
        QCOMPARE(WellBehavedClient(host->port()).round(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(RestartTest)
#include "tst_restart.moc"
