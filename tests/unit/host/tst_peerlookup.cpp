#include "otheruser.h"
#include "testsocket.h"
#include "withoutnetlink.h"

#include <peerlookup.h>

#include <QtTest>

#include <netinet/tcp.h>
#include <sched.h>
#include <sys/un.h>

Q_DECLARE_METATYPE(NoPeer)
Q_DECLARE_METATYPE(std::optional<TcpSocket>)

/// Real connections, of this process and of one that is another user.
class PeerLookupTest : public QObject
{
    Q_OBJECT

    static void addRowForEachKindOfClient()
    {
        QTest::addColumn<QByteArray>("listening");
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("source");
        const auto row = [](const char *name, const char *listening, const char *target,
                            const QByteArray &source = {}) {
            QTest::newRow(name) << QByteArray(listening) << QByteArray(target) << source;
        };
        row("IPv4", "127.0.0.1", "127.0.0.1");
        row("from another loopback address", "127.0.0.1", "127.0.0.1", "127.3.2.1");
        row("to another loopback address", "127.0.0.2", "127.0.0.2");
        row("IPv6", "::1", "::1");
        row("IPv4 where IPv6 is served", "::", "127.0.0.1");
        row("IPv4 by an IPv6 socket", "127.0.0.1", "::ffff:127.0.0.1");
        row("IPv4 by an IPv6 socket where IPv6 is served", "::", "::ffff:127.0.0.1");
        row("from an address beyond the loopback", "127.0.0.1", "127.0.0.1", addressBeyondLoopback());
    }

    // A client of the current row.
    static TestSocket connectAsRowSays(in_port_t port)
    {
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, source);
        return TestSocket::connected(target, port, source);
    }
    // Why the current row cannot be; null if it can.
    static const char *obstacle()
    {
        QFETCH(QByteArray, listening);
        QFETCH(QByteArray, source);
        if (!TestSocket::listening(listening).isOpen())
            return "This machine has no such address.";
        if (source.isEmpty() && qstrcmp(QTest::currentDataTag(), "from an address beyond the loopback") == 0)
            return "This machine has no address but the loopback's.";
        return OtherUser::isPossible(nobody) ? nullptr : "Only root can become another user.";
    }

private Q_SLOTS:
    void ownUserIsFound_data() { addRowForEachKindOfClient(); }
    void ownUserIsFound()
    {
        QFETCH(QByteArray, listening);
        const TestSocket listener = TestSocket::listening(listening);
        QFETCH(QByteArray, source);
        if (!listener.isOpen())
            QSKIP("This machine has no such address.");
        const TestSocket client = connectAsRowSays(listener.port());
        QVERIFY(client.isOpen());
        QVERIFY(PeerLookup().of(listener.accept().get()) == Peer(geteuid()));
    }

    void anotherUserIsFound_data() { addRowForEachKindOfClient(); }
    void anotherUserIsFound()
    {
        if (const char *why = obstacle())
            QSKIP(why);
        QFETCH(QByteArray, listening);
        const TestSocket listener = TestSocket::listening(listening);
        OtherUser client(nobody, [&] {
            connectAsRowSays(listener.port()).awaitEnd();
            return QByteArray();
        });
        {
            const TestSocket accepted = listener.accept();
            QVERIFY(PeerLookup().of(accepted.get()) == Peer(nobody));
        }
        QCOMPARE(client.result(), QByteArray());
    }

    // The kernel says root of a socket that no process has open any more.
    void anotherUserThatHasClosedIsNotRoot_data() { addRowForEachKindOfClient(); }
    void anotherUserThatHasClosedIsNotRoot()
    {
        if (const char *why = obstacle())
            QSKIP(why);
        QFETCH(QByteArray, listening);
        const TestSocket listener = TestSocket::listening(listening);
        OtherUser client(nobody, [&] {
            const TestSocket socket = connectAsRowSays(listener.port());
            return QByteArray::number(static_cast<int>(send(socket.get(), "PUT", 3, 0)));
        });
        QCOMPARE(client.result(), QByteArray("3"));
        const TestSocket accepted = listener.accept();
        QVERIFY(PeerLookup().of(accepted.get()) == Peer(NoPeer::HasClosed));
        char bytes[4] = "";
        QCOMPARE(recv(accepted.get(), bytes, sizeof bytes, 0), ssize_t(3));
    }

    void oneThatHasResetIsNobody()
    {
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket client = TestSocket::connected("127.0.0.1", listener.port());
        QVERIFY(client.isOpen());
        client.reset();
        QVERIFY(PeerLookup().of(listener.accept().get()) == Peer(NoPeer::HasClosed));
    }

    // Both are bound to one port before either connects. Who has it now is not who sent what waits to be
    // read.
    void successorAtTheSamePortIsNotTakenForTheClient()
    {
        if (!OtherUser::isPossible(nobody))
            QSKIP("Only root can become another user.");
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket successor = TestSocket::bound(TcpAddress("127.0.0.1"));
        OtherUser client(nobody, [&] {
            TestSocket socket = TestSocket::bound(TcpAddress("127.0.0.1", successor.port()));
            const bool hasSent =
                socket.connect("127.0.0.1", listener.port()) && send(socket.get(), "PUT", 3, 0) == 3;
            socket.reset();
            return QByteArray(hasSent ? "sent" : "failed");
        });
        QCOMPARE(client.result(), QByteArray("sent"));
        QVERIFY(successor.connect("127.0.0.1", listener.port()));
        const TestSocket first = listener.accept();
        const TestSocket second = listener.accept();
        char bytes[4] = "";
        QVERIFY(PeerLookup().of(second.get()) == Peer(geteuid()));
        QVERIFY(PeerLookup().of(first.get()) == Peer(NoPeer::HasClosed));
        QCOMPARE(recv(first.get(), bytes, sizeof bytes, 0), ssize_t(3));
    }

    void oneThatHasOnlyEndedItsOutputIsFound()
    {
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket client = TestSocket::connected("127.0.0.1", listener.port());
        QVERIFY(client.isOpen());
        QCOMPARE(shutdown(client.get(), SHUT_WR), 0);
        QVERIFY(PeerLookup().of(listener.accept().get()) == Peer(geteuid()));
    }

    void oneThatIsBoundToTheDeviceIsFound()
    {
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket client = TestSocket::bound(TcpAddress("127.0.0.1"));
        if (setsockopt(client.get(), SOL_SOCKET, SO_BINDTODEVICE, "lo", 2) != 0)
            QSKIP("The loopback's device cannot be bound to.");
        QVERIFY(client.connect("127.0.0.1", listener.port()));
        QVERIFY(PeerLookup().of(listener.accept().get()) == Peer(geteuid()));
    }

    void oneOfTwoTransportsAtOnceIsFound()
    {
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_MPTCP));
        if (!client.isOpen())
            QSKIP("This machine has no Multipath TCP.");
        QVERIFY(client.connect("127.0.0.1", listener.port()));
        QVERIFY(PeerLookup().of(listener.accept().get()) == Peer(geteuid()));
    }

    void nobodyIsAskedAboutWhereNeitherEndIsLoopback()
    {
        const QByteArray address = addressBeyondLoopback();
        if (address.isEmpty())
            QSKIP("This machine has no address but the loopback's.");
        const TestSocket listener = TestSocket::listening(address);
        TestSocket client = TestSocket::connected(address, listener.port());
        QVERIFY(client.isOpen());
        QVERIFY(PeerLookup().of(listener.accept().get()) == Peer(NoPeer::OffLoopback));
        // Either end alone is enough to be asked about.
        TestSocket other = TestSocket::bound(TcpAddress("127.0.0.1"));
        QVERIFY(other.connect(address, listener.port()));
        QVERIFY(PeerLookup().of(listener.accept().get()) == Peer(geteuid()));
    }

    void silenceOfTheKernelIsNoUser()
    {
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket client = TestSocket::connected("127.0.0.1", listener.port());
        QVERIFY(client.isOpen());
        const TestSocket accepted = listener.accept();
        Peer peer;
        if (!withoutNetlink([&] { peer = PeerLookup().of(accepted.get()); }))
            QSKIP("This process may not restrict itself.");
        QVERIFY(peer == Peer(NoPeer::Untold));
    }

    // What the kernel may tell in the moments in which connections end, of which none can be waited for.
    void momentsAreJudged_data()
    {
        QTest::addColumn<std::optional<TcpSocket>>("client");
        QTest::addColumn<int>("acceptedState");
        QTest::addColumn<bool>("isUser");
        QTest::addColumn<NoPeer>("noPeer");
        const auto row = [](const char *name, const std::optional<TcpSocket> &client, int acceptedState,
                            std::optional<NoPeer> noPeer) {
            QTest::newRow(name) << client << acceptedState << !noPeer << noPeer.value_or(NoPeer::Untold);
        };
        const auto client = [](int state) { return TcpSocket{state, 7, true}; };
        const auto orphan = [](int state) { return TcpSocket{state, 0, false}; };
        row("connected", client(TCP_ESTABLISHED), TCP_ESTABLISHED, {});
        row("ends its output", client(TCP_FIN_WAIT1), TCP_ESTABLISHED, {});
        row("has ended its output", client(TCP_FIN_WAIT2), TCP_CLOSE_WAIT, {});
        row("ends its output after the answer", client(TCP_ESTABLISHED), TCP_CLOSE_WAIT, {});
        row("closes", orphan(TCP_FIN_WAIT1), TCP_ESTABLISHED, NoPeer::HasClosed);
        row("has closed", orphan(TCP_FIN_WAIT2), TCP_CLOSE_WAIT, NoPeer::HasClosed);
        row("has closed long ago", {}, TCP_CLOSE_WAIT, NoPeer::HasClosed);
        row("has reset", {}, TCP_CLOSE, NoPeer::HasClosed);
        row("resets after the answer", client(TCP_ESTABLISHED), TCP_CLOSE, NoPeer::HasClosed);
        row("successor that connects", client(TCP_SYN_SENT), TCP_CLOSE_WAIT, NoPeer::HasClosed);
        row("successor that has connected", client(TCP_ESTABLISHED), TCP_CLOSE, NoPeer::HasClosed);
        row("no answer", {}, TCP_ESTABLISHED, NoPeer::Untold);
    }
    void momentsAreJudged()
    {
        QFETCH(std::optional<TcpSocket>, client);
        QFETCH(int, acceptedState);
        QFETCH(bool, isUser);
        QFETCH(NoPeer, noPeer);
        QVERIFY(PeerLookup::judge(client, acceptedState) == (isUser ? Peer(client->user) : Peer(noPeer)));
    }

    void userAtAUnixSocketIsFound()
    {
        int ends[2] = {-1, -1};
        QCOMPARE(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        const TestSocket here(ends[0]);
        const TestSocket there(ends[1]);
        QVERIFY(PeerLookup().of(here.get()) == Peer(geteuid()));
    }

    void anotherUserAtAUnixSocketIsFoundAlsoOnceClosed()
    {
        if (!OtherUser::isPossible(nobody))
            QSKIP("Only root can become another user.");
        // A socket in the abstract namespace, where no file keeps anybody away.
        sockaddr_un address{AF_UNIX, {}};
        const TestSocket listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        socklen_t size = sizeof(sa_family_t);
        QCOMPARE(bind(listener.get(), reinterpret_cast<const sockaddr *>(&address), size), 0);
        QCOMPARE(listen(listener.get(), 1), 0);
        size = sizeof address;
        QCOMPARE(getsockname(listener.get(), reinterpret_cast<sockaddr *>(&address), &size), 0);
        OtherUser client(nobody, [&] {
            const TestSocket socket(::socket(AF_UNIX, SOCK_STREAM, 0));
            return QByteArray::number(
                ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), size));
        });
        QCOMPARE(client.result(), QByteArray("0"));
        QVERIFY(PeerLookup().of(listener.accept().get()) == Peer(nobody));
    }

    // In a user namespace the kernel has one number for all users who have none there, 65534.
    void usersWithoutANumberAreNotToldApart_data()
    {
        QTest::addColumn<QByteArray>("map");
        QTest::addColumn<bool>("isTold");
        QTest::newRow("no user has a number") << QByteArray() << false;
        QTest::newRow("the user has one") << QByteArray("7 0 1") << true;
        QTest::newRow("the user has that of those who have none") << QByteArray("65534 0 1") << false;
    }
    void usersWithoutANumberAreNotToldApart()
    {
        QFETCH(QByteArray, map);
        QFETCH(bool, isTold);
        if (!OtherUser::isPossible(0))
            QSKIP("Only root can become another user.");
        OtherUser elsewhere(0, [&] {
            const TestSocket listener = TestSocket::listening("127.0.0.1");
            const TestSocket client = TestSocket::connected("127.0.0.1", listener.port());
            const TestSocket accepted = listener.accept();
            int ends[2] = {-1, -1};
            if (!client.isOpen() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
                return QByteArray("no connection");
            const TestSocket here(ends[0]);
            const TestSocket there(ends[1]);
            if (unshare(CLONE_NEWUSER) != 0)
                return QByteArray("no user namespace");
            QFile file(QStringLiteral("/proc/self/uid_map"));
            if (!map.isEmpty()
                && (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(map) < 0))
                return QByteArray("no number");
            for (const TestSocket *socket : {&accepted, &here}) {
                if (!(PeerLookup().of(socket->get()) == (isTold ? Peer(geteuid()) : Peer(NoPeer::Untold))))
                    return QByteArray("wrong");
            }
            return "user " + QByteArray::number(geteuid());
        });
        const QByteArray result = elsewhere.result();
        if (result == "no user namespace")
            QSKIP("This machine has no user namespaces.");
        QCOMPARE(result, QByteArray(isTold ? "user 7" : "user 65534"));
    }

    void whatIsNoSocketHasNoUser() { QVERIFY(PeerLookup().of(-1) == Peer(NoPeer::Untold)); }
};

QTEST_GUILESS_MAIN(PeerLookupTest)
#include "tst_peerlookup.moc"
