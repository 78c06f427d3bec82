#include "logcapture.h"
#include "testsocket.h"
#include "unixclient.h"

#include <http/server/answer.h>
#include <http/server/connection.h>
#include <http/server/guard.h>
#include <http/server/listener.h>
#include <http/server/request.h>
#include <http/server/response.h>
#include <http/server/server.h>

#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using namespace http::server;

namespace {

using RequestPointer = QSharedPointer<Request>;
using ResponsePointer = QSharedPointer<Response>;

class FunctionHandler final : public RequestHandler
{
public:
    std::function<void(const RequestPointer &, const ResponsePointer &)> function;
    void requestReceived(const RequestPointer &request, const ResponsePointer &response) override
    {
        function(request, response);
    }
};

class FunctionGuard final : public Guard
{
public:
    std::function<QString(int)> refusalOf;
    std::function<Screening(Request::HttpMethod, const HeaderFields &)> screening;
    QString refusal(int socket) override { return refusalOf ? refusalOf(socket) : QString(); }
    Screening screen(Request::HttpMethod method, const HeaderFields &headers) override
    {
        return screening ? screening(method, headers) : Screening();
    }
};

QByteArray get(const char *path)
{
    return QByteArray("GET ") + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

/// Connects, sends `bytes` and leaves reading to the test.
std::unique_ptr<QTcpSocket> client(quint16 port, const QByteArray &bytes)
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost(QHostAddress::LocalHost, port);
    if (!socket->waitForConnected(5000))
        qFatal("No connection.");
    socket->write(bytes);
    socket->flush();
    return socket;
}

void reset(QTcpSocket &socket)
{
    const linger immediately{1, 0};
    ::setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &immediately,
                 sizeof immediately);
    socket.abort();
}

/// Leaves the process without a free descriptor, with one socket that is not connected yet.
class AllDescriptorsTaken final
{
public:
    AllDescriptorsTaken()
    {
        if (::getrlimit(RLIMIT_NOFILE, &m_limit) != 0)
            qFatal("There is no limit of open files.");
        rlimit few = m_limit;
        few.rlim_cur = std::min<rlim_t>(m_limit.rlim_cur, 256);
        ::setrlimit(RLIMIT_NOFILE, &few);
        m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        for (int spare = ::dup(m_socket); spare >= 0; spare = ::dup(m_socket))
            m_spare.push_back(spare);
    }
    ~AllDescriptorsTaken()
    {
        freeSpare();
        ::close(m_socket);
        ::setrlimit(RLIMIT_NOFILE, &m_limit);
    }
    Q_DISABLE_COPY_MOVE(AllDescriptorsTaken)

    [[nodiscard]] bool connectTo(quint16 port) const
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return ::connect(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    }
    void send(const QByteArray &bytes) const
    {
        if (::send(m_socket, bytes.constData(), static_cast<std::size_t>(bytes.size()), 0) != bytes.size())
            qFatal("Nothing can be sent.");
    }
    /// All that has come so far.
    [[nodiscard]] QByteArray received() const
    {
        QByteArray bytes(4096, '\0');
        bytes.resize(static_cast<int>(
            ::recv(m_socket, bytes.data(), static_cast<std::size_t>(bytes.size()), MSG_DONTWAIT | MSG_PEEK)));
        return bytes;
    }
    void freeSpare()
    {
        for (const int spare : std::exchange(m_spare, {}))
            ::close(spare);
    }

private:
    rlimit m_limit{};
    int m_socket = -1;
    std::vector<int> m_spare;
};

/// A unix stream socket that listens.
class UnixListener final
{
public:
    explicit UnixListener(const QString &path)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
        const QByteArray name = QFile::encodeName(path);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, name.constData(), sizeof address.sun_path);
        if (::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0
            || ::listen(m_socket, 5) != 0)
            qFatal("No unix socket.");
    }
    ~UnixListener() { ::close(m_socket); }
    Q_DISABLE_COPY_MOVE(UnixListener)

    [[nodiscard]] int descriptor() const { return m_socket; }

private:
    int m_socket;
};

} // namespace

class ServerTest : public QObject
{
    Q_OBJECT

    FunctionHandler handler;
    std::unique_ptr<Server> server;

    void serve(const Limits &limits = {}, Guard *guard = nullptr)
    {
        server = std::make_unique<Server>(limits, handler, guard);
        QCOMPARE(server->listen(QStringLiteral("127.0.0.1"), 0), QString());
        QVERIFY(server->port() != 0);
    }

private Q_SLOTS:
    void init()
    {
        handler.function = [](const RequestPointer &request, const ResponsePointer &response) {
            response->end(request->url().path().toUtf8() + request->body());
        };
    }
    void cleanup() { server.reset(); }

    void answersOverASocket()
    {
        serve();
        const auto socket = client(server->port(), get("/a"));
        QTRY_VERIFY(socket->bytesAvailable() > 0);
        QVERIFY(socket->readAll().endsWith("\r\n\r\n/a"));
        socket->write(get("/b") + get("/c"));
        QByteArray answers;
        QTRY_VERIFY((answers += socket->readAll()).endsWith("/c"));
        QVERIFY(answers.contains("\r\n\r\n/b"));
        QCOMPARE(server->connectionCount(), 1);
        socket->disconnectFromHost();
        QTRY_COMPARE(server->connectionCount(), 0);
    }

    void listensOnIpv6()
    {
        server = std::make_unique<Server>(Limits(), handler);
        const QString error = server->listen(QStringLiteral("::1"), 0);
        if (!error.isEmpty())
            QSKIP("There is no IPv6 loopback here.");
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHostIPv6, server->port());
        QVERIFY(socket.waitForConnected());
        socket.write(get("/six"));
        QTRY_VERIFY(socket.bytesAvailable() > 0);
        QVERIFY(socket.readAll().endsWith("/six"));
    }

    void listenFails_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("why");
        QTest::newRow("in use") << "127.0.0.1"
                                << "address already in use";
        QTest::newRow("not of this machine") << "192.0.2.1"
                                             << "address not available";
        QTest::newRow("no number") << "localhost"
                                   << "localhost is no numeric IP address";
    }
    void listenFails()
    {
        QFETCH(QString, address);
        QFETCH(QString, why);
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::LocalHost));
        serve();
        const quint16 port = server->port();
        QCOMPARE(server->listen(address, other.serverPort()), why);
        QCOMPARE(server->port(), port);
        const auto socket = client(port, get("/still"));
        QByteArray answer;
        QTRY_VERIFY((answer += socket->readAll()).endsWith("/still"));
    }

    void servesOnSeveralAddresses()
    {
        serve();
        const quint16 first = server->port();
        QCOMPARE(server->listen(QStringLiteral("127.0.0.2"), first), QString());
        QCOMPARE(server->port(), first);
        for (const char *address : {"127.0.0.1", "127.0.0.2"}) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress(QLatin1String(address)), first);
            QVERIFY(socket.waitForConnected());
            socket.write(get("/there"));
            QByteArray answer;
            QTRY_VERIFY((answer += socket.readAll()).endsWith("/there"));
        }
    }

    void servesOnAUnixSocket()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("socket"));
        server = std::make_unique<Server>(Limits(), handler);
        {
            const UnixListener listener(path);
            QCOMPARE(server->listen(listener.descriptor()), QString());
            QCOMPARE(server->port(), quint16(0));
        }
        UnixClient there(path);
        QVERIFY(there.isConnected());
        QVERIFY(there.send(get("/unix")));
        QByteArray answer;
        QTRY_VERIFY((answer += there.readSome()).endsWith("/unix"));
        server->stopListening();
        QVERIFY(!UnixClient(path).isConnected());
    }

    void aSocketThatIsNoneIsNotServed()
    {
        server = std::make_unique<Server>(Limits(), handler);
        QCOMPARE(server->listen(-1), QStringLiteral("bad file descriptor"));
    }

    void theGuardIsAskedOnceAConnection()
    {
        FunctionGuard guard;
        int asked = 0;
        guard.refusalOf = [&](int socket) {
            sockaddr_in peer{};
            socklen_t size = sizeof peer;
            if (::getpeername(socket, reinterpret_cast<sockaddr *>(&peer), &size) != 0)
                qFatal("The guard gets no connected socket.");
            ++asked;
            return QString();
        };
        serve({}, &guard);
        const auto socket = client(server->port(), get("/a") + get("/b"));
        QByteArray answer;
        QTRY_VERIFY((answer += socket->readAll()).endsWith("/b"));
        QCOMPARE(asked, 1);
    }

    void whomTheGuardRefusesIsToldAndClosed()
    {
        FunctionGuard guard;
        guard.refusalOf = [](int) { return QStringLiteral("Not you."); };
        handler.function = [](const auto &, const auto &) { qFatal("A refused client is served."); };
        serve({}, &guard);
        const auto socket = client(server->port(), get("/a"));
        QTRY_COMPARE(socket->state(), QAbstractSocket::UnconnectedState);
        const QByteArray answer = socket->readAll();
        QVERIFY(answer.startsWith("HTTP/1.1 403 Forbidden\r\n"));
        QVERIFY(answer.contains("\r\nContent-Type: application/problem+json\r\n"));
        QVERIFY(answer.contains("Not you."));
        QCOMPARE(answer.count("HTTP/1.1"), 1);
    }

    void refusedConnectionsTakeNobodysPlace()
    {
        FunctionGuard guard;
        bool refuses = true;
        guard.refusalOf = [&](int) { return refuses ? QStringLiteral("Not you.") : QString(); };
        Limits limits;
        limits.maxConnections = 1;
        serve(limits, &guard);
        std::vector<std::unique_ptr<QTcpSocket>> strangers;
        for (int i = 0; i < 100; ++i)
            strangers.push_back(client(server->port(), {}));
        // The last of them is past those that are told, and is closed without a word.
        QTRY_COMPARE(strangers.back()->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(server->connectionCount(), 0);
        refuses = false;
        const auto socket = client(server->port(), get("/own"));
        QByteArray answer;
        QTRY_VERIFY((answer += socket->readAll()).endsWith("/own"));
    }

    void ownConnectionsAmongManyRefusedOnesAreServed()
    {
        const LogCapture log("ch.tessel.http.server");
        FunctionGuard guard;
        int asked = 0;
        guard.refusalOf = [&](int) { return ++asked <= 100 ? QStringLiteral("Not you.") : QString(); };
        Limits limits;
        limits.maxConnections = 1;
        serve(limits, &guard);
        // All wait for the same turn, more of them than are told.
        std::vector<std::unique_ptr<QTcpSocket>> strangers;
        for (int i = 0; i < 100; ++i)
            strangers.push_back(client(server->port(), {}));
        const auto own = client(server->port(), get("/own"));
        QByteArray answer;
        QTRY_VERIFY((answer += own->readAll()).endsWith("/own"));
        QCOMPARE(asked, 101);
        QCOMPARE(log.lines().size(), 0);
    }

    void whatARefusedClientSendsIsNotReadWithoutEnd()
    {
        FunctionGuard guard;
        guard.refusalOf = [](int) { return QStringLiteral("Not you."); };
        serve({}, &guard);
        TestSocket stranger = TestSocket::connected("127.0.0.1", htons(server->port()));
        QVERIFY(stranger.isOpen());
        // Until the server closes, or has taken more than the kernel could keep for it.
        const QByteArray bytes(1 << 20, 'x');
        constexpr qint64 tooMuch = 64 << 20;
        qint64 sent = 0;
        QTimer flood;
        connect(&flood, &QTimer::timeout, [&] {
            const ssize_t size = ::send(stranger.get(), bytes.constData(),
                                        static_cast<std::size_t>(bytes.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (size > 0)
                sent += size;
            else if (errno != EAGAIN)
                flood.stop();
        });
        flood.start(0);
        QTRY_VERIFY(!flood.isActive() || sent > tooMuch);
        QVERIFY2(sent <= tooMuch, qPrintable(QString::number(sent)));
    }

    void theGuardScreensRequests()
    {
        FunctionGuard guard;
        guard.screening = [](Request::HttpMethod method, const HeaderFields &) {
            Screening screening;
            if (method == Request::HttpMethod::Put)
                screening.answer = problem(421);
            return screening;
        };
        serve({}, &guard);
        const auto socket = client(
            server->port(), get("/a") + "PUT / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 9\r\n\r\n");
        QByteArray answer;
        QTRY_VERIFY((answer += socket->readAll()).contains("HTTP/1.1 421 "));
        QCOMPARE(answer.count("HTTP/1.1 200 "), 1);
    }

    void departuresAreNoticedAtOnce_data()
    {
        QTest::addColumn<QByteArray>("how");
        QTest::addColumn<bool>("behindInput");
        for (const char *how : {"close", "half-close", "reset"}) {
            QTest::addRow("%s", how) << QByteArray(how) << false;
            QTest::addRow("%s behind input that waits", how) << QByteArray(how) << true;
        }
    }
    void departuresAreNoticedAtOnce()
    {
        QFETCH(QByteArray, how);
        QFETCH(bool, behindInput);
        int finished = 0;
        ResponsePointer parked;
        handler.function = [&](const auto &, const ResponsePointer &response) {
            parked = response;
            response->onFinished([&] { ++finished; });
        };
        serve();
        const auto socket = client(server->port(), get("/poll"));
        QTRY_VERIFY(parked);
        if (behindInput) {
            // More than the server is willing to keep, and little enough for the kernel to take the rest.
            socket->write(QByteArray(2 * Connection::maxWaitingBytes + 4096, 'x'));
            QTRY_COMPARE(socket->bytesToWrite(), 0);
        }
        QCOMPARE(finished, 0);
        if (how == "close")
            socket->abort();
        else if (how == "half-close")
            ::shutdown(static_cast<int>(socket->socketDescriptor()), SHUT_WR);
        else
            reset(*socket);
        QTRY_COMPARE(finished, 1);
        QVERIFY(!parked->isOpen());
        QTRY_COMPARE(server->connectionCount(), 0);
    }

    void aRequestBeforeAHalfCloseIsAnswered()
    {
        serve();
        const auto socket = client(server->port(), get("/a") + get("/b"));
        ::shutdown(static_cast<int>(socket->socketDescriptor()), SHUT_WR);
        QTRY_COMPARE(socket->state(), QAbstractSocket::UnconnectedState);
        const QByteArray answers = socket->readAll();
        QVERIFY(answers.contains("\r\n\r\n/a"));
        QVERIFY(answers.endsWith("\r\n\r\n/b"));
    }

    void aNestedEventLoopStallsNobody()
    {
        QEventLoop nested;
        QStringList order;
        handler.function = [&](const RequestPointer &request, const ResponsePointer &response) {
            const QString path = request->url().path();
            order.append(path);
            if (path == QLatin1String("/wait"))
                QCOMPARE(nested.exec(), 7);
            response->end(path.toUtf8());
            order.append(path + QLatin1Char('!'));
        };
        serve();
        const auto waiting = client(server->port(), get("/wait"));
        const auto sameTurn = client(server->port(), get("/a"));
        QByteArray second;
        // Driven from inside the nested loop: one client from before it, one that comes while it runs.
        std::unique_ptr<QTcpSocket> later;
        connect(sameTurn.get(), &QTcpSocket::readyRead, [&] {
            if (!later) {
                later = client(server->port(), get("/b"));
                connect(later.get(), &QTcpSocket::readyRead, [&] { nested.exit(7); });
            }
        });
        QTimer::singleShot(5000, &nested, [&] { nested.exit(1); });
        QTRY_VERIFY(waiting->bytesAvailable() > 0);
        QCOMPARE(order.join(QLatin1Char(' ')), QStringLiteral("/wait /a /a! /b /b! /wait!"));
    }

    void connectionsBeyondTheCapAreToldAndTheCapRecovers()
    {
        const LogCapture log("ch.tessel.http.server");
        Limits limits;
        limits.maxConnections = 2;
        serve(limits);
        auto first = client(server->port(), {});
        const auto second = client(server->port(), {});
        QTRY_COMPARE(server->connectionCount(), 2);
        const auto third = client(server->port(), get("/"));
        QTRY_COMPARE(third->state(), QAbstractSocket::UnconnectedState);
        QVERIFY(third->readAll().startsWith("HTTP/1.1 503 "));
        const auto another = client(server->port(), get("/"));
        QTRY_COMPARE(another->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(server->connectionCount(), 2);
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.contains(QtWarningMsg, QStringLiteral("All 2 connections are taken.")));
        first.reset();
        QTRY_COMPARE(server->connectionCount(), 1);
        const auto fourth = client(server->port(), get("/d"));
        QByteArray answer;
        QTRY_VERIFY((answer += fourth->readAll()).endsWith("/d"));
        const auto fifth = client(server->port(), {});
        QTRY_COMPARE(fifth->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(log.lines().size(), 2); // as often as the last place is taken
    }

    void dawdlersAreEnded_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("idle") << QByteArray() << QByteArray();
        QTest::newRow("headers") << QByteArray("GET / HTTP/1.1\r\n") << QByteArray("HTTP/1.1 408 ");
        QTest::newRow("body") << QByteArray("PUT / HTTP/1.1\r\nHost: a\r\nContent-Length: 2\r\n\r\nx")
                              << QByteArray("HTTP/1.1 408 ");
    }
    void dawdlersAreEnded()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, answer);
        Limits limits;
        limits.headerTimeout = limits.bodyTimeout = limits.idleTimeout = std::chrono::milliseconds(20);
        serve(limits);
        const auto socket = client(server->port(), bytes);
        QTRY_COMPARE(socket->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(socket->readAll().left(answer.isEmpty() ? 1 : answer.size()), answer);
    }

    void whoSpeaksWhileTheApplicationIsBusyIsInTime_data()
    {
        QTest::addColumn<QByteArray>("begin");
        QTest::addColumn<QByteArray>("rest");
        QTest::newRow("idle") << QByteArray() << get("/late");
        QTest::newRow("headers") << QByteArray("GET /late HTTP/1.1\r\nHost: a\r\n") << QByteArray("\r\n");
        QTest::newRow("body") << QByteArray("PUT /late HTTP/1.1\r\nHost: a\r\nContent-Length: 2\r\n\r\nx")
                              << QByteArray("y");
    }
    void whoSpeaksWhileTheApplicationIsBusyIsInTime()
    {
        QFETCH(QByteArray, begin);
        QFETCH(QByteArray, rest);
        Limits limits;
        limits.headerTimeout = limits.bodyTimeout = limits.idleTimeout = std::chrono::milliseconds(500);
        std::unique_ptr<QTcpSocket> speaker;
        handler.function = [&](const RequestPointer &request, const ResponsePointer &response) {
            if (request->url().path() == QLatin1String("/busy")) {
                speaker->write(rest);
                QVERIFY(speaker->flush());
                QThread::sleep(1);
            }
            response->end(request->url().path().toUtf8() + request->body());
        };
        serve(limits);
        speaker = client(server->port(), begin);
        const auto busy = client(server->port(), get("/busy"));
        QByteArray answer;
        QTRY_VERIFY((answer += speaker->readAll()).contains("\r\n\r\n/late"));
        QVERIFY2(answer.startsWith("HTTP/1.1 200 "), answer.constData());
    }

    void largeBodiesGoBothWays()
    {
        handler.function = [](const RequestPointer &request, const ResponsePointer &response) {
            response->end(request->body());
        };
        serve();
        QByteArray body(8 << 20, Qt::Uninitialized);
        for (int i = 0; i < body.size(); ++i)
            body[i] = static_cast<char>(i * 31);
        const QByteArray head =
            "PUT / HTTP/1.1\r\nHost: a\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n";
        const auto socket = client(server->port(), head + body + get("/after"));
        QByteArray answers;
        QTRY_VERIFY_WITH_TIMEOUT((answers += socket->readAll()).size() > body.size() + 200, 20000);
        const int begin = answers.indexOf("\r\n\r\n") + 4;
        QVERIFY(answers.mid(begin, body.size()) == body);
        QTRY_VERIFY((answers += socket->readAll()).count("HTTP/1.1 200 OK") == 2);
    }

    void anAnswerThatIsNotReadIsGivenUp()
    {
        Limits limits;
        limits.idleTimeout = std::chrono::milliseconds(50);
        handler.function = [](const auto &, const ResponsePointer &response) {
            response->end(QByteArray(64 << 20, 'x'));
        };
        serve(limits);
        QTcpSocket socket;
        socket.setReadBufferSize(1);
        socket.connectToHost(QHostAddress::LocalHost, server->port());
        QVERIFY(socket.waitForConnected());
        socket.write(get("/"));
        QTRY_COMPARE(server->connectionCount(), 1);
        QTRY_COMPARE(server->connectionCount(), 0);
    }

    void acceptingPausesWithoutDescriptorsAndResumes()
    {
        const LogCapture log("ch.tessel.http.server");
        serve();
        const auto kept = client(server->port(), get("/a"));
        QByteArray answer;
        QTRY_VERIFY((answer += kept->readAll()).endsWith("/a"));

        AllDescriptorsTaken taken;
        QVERIFY(taken.connectTo(server->port()));
        taken.send(get("/waited"));
        // Twice the time of a pause, in which the others are served.
        QElapsedTimer time;
        time.start();
        while (time.elapsed() < 2 * Listener::pauseTime.count()) {
            answer.clear();
            kept->write(get("/b"));
            QTRY_VERIFY((answer += kept->readAll()).endsWith("/b"));
        }
        QCOMPARE(server->connectionCount(), 1);
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.contains(QtWarningMsg, QStringLiteral("Accepting pauses: too many open files")));

        taken.freeSpare();
        QTRY_VERIFY(taken.received().endsWith("/waited"));
        QCOMPARE(log.lines().size(), 2);
        QVERIFY(log.contains(QtInfoMsg, QStringLiteral("Accepting resumes.")));
        const auto later = client(server->port(), get("/later"));
        answer.clear();
        QTRY_VERIFY((answer += later->readAll()).endsWith("/later"));
    }

    // So many that a turn ends with the last of them, and nobody is left for the next one.
    void acceptingResumesWhenAWholeTurnOfClientsHasWaited()
    {
        const LogCapture log("ch.tessel.http.server");
        serve();
        std::vector<TestSocket> clients;
        for (int i = 0; i < Listener::acceptsPerTurn; ++i) {
            clients.push_back(TestSocket::connected("127.0.0.1", htons(server->port())));
            QVERIFY(clients.back().isOpen());
        }
        {
            const AllDescriptorsTaken taken;
            QTRY_COMPARE(log.lines().size(), 1);
            QCOMPARE(server->connectionCount(), 0);
        }
        QTRY_COMPARE(server->connectionCount(), Listener::acceptsPerTurn);
        QTRY_VERIFY(log.contains(QtInfoMsg, QStringLiteral("Accepting resumes.")));
    }

    void aSocketThatListensNoMoreDoesNotSpin()
    {
        const LogCapture log("ch.tessel.http.server");
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        serve();
        QCOMPARE(server->listen(listener.get()), QString());
        QCOMPARE(::shutdown(listener.get(), SHUT_RDWR), 0);
        QTRY_COMPARE(log.lines().size(), 1);
        QVERIFY(log.contains(QtWarningMsg, QStringLiteral("Accepting pauses: invalid argument")));
        // The other one is served, and the log says no more.
        QElapsedTimer time;
        time.start();
        while (time.elapsed() < 2 * Listener::pauseTime.count()) {
            const auto socket = client(server->port(), get("/a"));
            QByteArray answer;
            QTRY_VERIFY((answer += socket->readAll()).endsWith("/a"));
        }
        QCOMPARE(log.lines().size(), 1);
    }

    void aDepartureIsNoticedWithoutADescriptorToWatchItBy()
    {
        int finished = 0;
        ResponsePointer parked;
        handler.function = [&](const auto &, const ResponsePointer &response) {
            parked = response;
            response->onFinished([&] { ++finished; });
        };
        serve();
        const auto socket = client(server->port(), get("/poll"));
        QTRY_VERIFY(parked);
        const AllDescriptorsTaken taken;
        socket->write(QByteArray(2 * Connection::maxWaitingBytes + 4096, 'x'));
        QTRY_COMPARE(socket->bytesToWrite(), 0);
        socket->abort();
        QTRY_COMPARE(finished, 1);
        QTRY_COMPARE(server->connectionCount(), 0);
    }

    void openConnectionsGoOnAfterListeningStopped()
    {
        serve();
        const auto socket = client(server->port(), {});
        QTRY_COMPARE(server->connectionCount(), 1);
        const quint16 port = server->port();
        server->stopListening();
        QCOMPARE(server->port(), quint16(0));
        socket->write(get("/still"));
        QByteArray answer;
        QTRY_VERIFY((answer += socket->readAll()).endsWith("/still"));
        QTcpSocket refused;
        refused.connectToHost(QHostAddress::LocalHost, port);
        QVERIFY(!refused.waitForConnected(2000));
    }

    void destructionEndsOpenExchangesSilently()
    {
        int finished = 0;
        ResponsePointer parked;
        handler.function = [&](const auto &, const ResponsePointer &response) {
            parked = response;
            response->onFinished([&] { ++finished; });
        };
        serve();
        const auto socket = client(server->port(), get("/poll"));
        QTRY_VERIFY(parked);
        server.reset();
        QCOMPARE(finished, 0);
        parked->end("into the void");
        QTRY_COMPARE(socket->state(), QAbstractSocket::UnconnectedState);
        QVERIFY(socket->readAll().isEmpty());
    }
};

QTEST_GUILESS_MAIN(ServerTest)
#include "tst_server.moc"
