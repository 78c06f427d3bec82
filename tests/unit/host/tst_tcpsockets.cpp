#include "logcapture.h"
#include "nodescriptors.h"
#include "testsocket.h"

#include <tcpsockets.h>

#include <QtTest>

#include <fcntl.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>

#include <optional>

/// A listening socket, a client and the connection between them.
struct Connection
{
    explicit Connection(const QByteArray &address = "127.0.0.1")
        : listener(TestSocket::listening(address))
        , client(TestSocket::connected(address, listener.port()))
    {
        if (!listener.isOpen() || !client.isOpen())
            qFatal("No connection.");
        accepted.emplace(listener.accept());
        clientEnd = *TcpEnd::ofSocket(client.get());
        ownEnd = *TcpEnd::ofSocket(accepted->get());
    }

    TestSocket listener;
    TestSocket client;
    std::optional<TestSocket> accepted;
    TcpEnd clientEnd;
    TcpEnd ownEnd;
};

class TcpSocketsTest : public QObject
{
    Q_OBJECT

    // The socket that a TcpSockets asks by, one at a time.
    static int findQuerySocket()
    {
        for (int descriptor = 0; descriptor < 1024; ++descriptor) {
            int family = 0;
            socklen_t size = sizeof family;
            if (getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &family, &size) == 0 && family == AF_NETLINK)
                return descriptor;
        }
        return -1;
    }
    // From here on nothing can be asked by it.
    static bool breakQuerySocket()
    {
        const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        const bool isBroken = dup3(null, findQuerySocket(), O_CLOEXEC) >= 0;
        ::close(null);
        return isBroken;
    }

private Q_SLOTS:
    void tellsStateUserAndOwner()
    {
        const Connection connection;
        TcpSockets sockets;
        for (const bool isClient : {true, false}) {
            const auto found = isClient ? sockets.find(connection.clientEnd, connection.ownEnd)
                                        : sockets.find(connection.ownEnd, connection.clientEnd);
            QVERIFY(found);
            QCOMPARE(found->state, int(TCP_ESTABLISHED));
            QCOMPARE(found->user, geteuid());
            QVERIFY(found->hasOwner);
        }
    }

    void aClosedOneHasNoOwner()
    {
        Connection connection;
        connection.client.close();
        TcpSockets sockets;
        const auto found = sockets.find(connection.clientEnd, connection.ownEnd);
        QVERIFY(found);
        QVERIFY(!found->hasOwner);
    }

    void oneInTimeWaitHasNoOwner()
    {
        Connection connection;
        connection.client.close();
        connection.accepted->close();
        TcpSockets sockets;
        const auto found = sockets.find(connection.clientEnd, connection.ownEnd);
        QVERIFY(found);
        QCOMPARE(found->state, int(TCP_TIME_WAIT));
        QVERIFY(!found->hasOwner);
    }

    void absentOneIsNone()
    {
        Connection connection;
        TcpSockets sockets;
        const TcpEnd clientEnd = connection.clientEnd;
        connection.client.reset();
        QVERIFY(!sockets.find(clientEnd, connection.ownEnd));
    }

    // The kernel falls back on who listens there.
    void aListenerIsNotTakenForAConnection()
    {
        const Connection connection;
        const TestSocket other = TestSocket::listening("127.0.0.1");
        TcpSockets sockets;
        QVERIFY(!sockets.find(*TcpEnd::ofSocket(other.get()), connection.ownEnd));
    }

    void leftAnswersAreDropped()
    {
        const Connection connection;
        const Connection other;
        TcpSockets sockets;
        // Questions about another socket, whose answers nobody has read.
        struct
        {
            nlmsghdr header;
            inet_diag_req_v2 request;
        } query{};
        query.header = {sizeof query, SOCK_DIAG_BY_FAMILY, NLM_F_REQUEST, 4711, 0};
        query.request.sdiag_family = AF_INET;
        query.request.sdiag_protocol = IPPROTO_TCP;
        query.request.id.idiag_sport = other.listener.port();
        memcpy(&query.request.id.idiag_src[0], &other.ownEnd.address.s6_addr[12], 4);
        query.request.id.idiag_cookie[0] = query.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
        const int querySocket = findQuerySocket();
        for (int i = 0; i < 5; ++i)
            QCOMPARE(send(querySocket, &query, sizeof query, 0), ssize_t(sizeof query));
        const auto found = sockets.find(connection.clientEnd, connection.ownEnd);
        QVERIFY(found);
        QCOMPARE(found->state, int(TCP_ESTABLISHED));
        // None is left for the next one.
        char ignored = 0;
        QCOMPARE(recv(querySocket, &ignored, 1, MSG_DONTWAIT), ssize_t(-1));
    }

    void manyAreAskedForByOneDescriptor()
    {
        const Connection connection;
        TcpSockets sockets;
        const int querySocket = findQuerySocket();
        for (int i = 0; i < 1000; ++i)
            QVERIFY(sockets.find(connection.clientEnd, connection.ownEnd));
        QCOMPARE(findQuerySocket(), querySocket);
    }

    void descriptorNeitherWaitsNorIsInherited()
    {
        {
            const TcpSockets sockets;
            const int querySocket = findQuerySocket();
            QVERIFY(querySocket >= 0);
            QVERIFY((fcntl(querySocket, F_GETFD) & FD_CLOEXEC) != 0);
            QVERIFY((fcntl(querySocket, F_GETFL) & O_NONBLOCK) != 0);
        }
        QCOMPARE(findQuerySocket(), -1);
    }

    void brokenDescriptorIsReplaced()
    {
        const Connection connection;
        TcpSockets sockets;
        QVERIFY(breakQuerySocket());
        QVERIFY(sockets.find(connection.clientEnd, connection.ownEnd));
        QVERIFY(findQuerySocket() >= 0);
    }

    void lackOfDescriptorsIsLoggedOnceUntilItIsOver()
    {
        const LogCapture log("ch.tessel.vexo-service.tcpsockets");
        const Connection connection;
        TcpSockets sockets;
        for (int time = 1; time <= 2; ++time) {
            QVERIFY(breakQuerySocket());
            bool isFound = false;
            {
                const NoDescriptors none;
                for (int i = 0; i < 3; ++i)
                    isFound = isFound || sockets.find(connection.clientEnd, connection.ownEnd);
            }
            QVERIFY(!isFound);
            QCOMPARE(log.lines().size(), time);
            QCOMPARE(log.lines().constLast().type, QtWarningMsg);
            QCOMPARE(log.lines().constLast().text,
                     QStringLiteral("The kernel cannot be asked about connections: Too many open files"));
            QVERIFY(sockets.find(connection.clientEnd, connection.ownEnd));
        }
    }
};

QTEST_GUILESS_MAIN(TcpSocketsTest)
#include "tst_tcpsockets.moc"
