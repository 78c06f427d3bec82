#include "hostlog.h"
#include "hostprocess.h"
#include "otheruser.h"
#include "rawclient.h"
#include "testsocket.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <sys/stat.h>
#include <sys/wait.h>

#include <memory>

/// Whom the real host serves, at its port and at its unix socket: hosts and clients of several users.
class SameUserTest final : public QObject
{
    Q_OBJECT

    static constexpr uid_t root = 0;
    static constexpr uid_t somebodyElse = 65533;

    const QTemporaryDir dir;
    const QString socket = dir.filePath(QStringLiteral("host.sock"));

    // The host where all users find it: the tree may lie where only its owner gets in.
    const QStringList plugin{QStringLiteral("--plugin"), dir.filePath(QStringLiteral("plugin.so"))};
    const QString program = dir.filePath(QStringLiteral("vexo-service"));

    [[nodiscard]] bool copyHost() const
    {
        return dir.isValid() && ::chmod(QFile::encodeName(dir.path()).constData(), 0755) == 0
               && QFile::copy(QStringLiteral(VEXO_SERVICE), program)
               && QFile::copy(QStringLiteral(CONTEXT_PLUGIN), plugin.last())
               && QFile::copy(QStringLiteral(TQ_HTTP),
                              dir.filePath(QFileInfo(QStringLiteral(TQ_HTTP)).fileName()));
    }
    [[nodiscard]] std::unique_ptr<HostProcess> makeHost(const QByteArray &settings = {},
                                                        uid_t user = root) const
    {
        auto host = std::make_unique<HostProcess>(plugin, settings, user);
        QProcessEnvironment environment = host->process.processEnvironment();
        environment.insert(QStringLiteral("LD_LIBRARY_PATH"), dir.path());
        host->process.setProcessEnvironment(environment);
        host->process.setProgram(program);
        return host;
    }
    [[nodiscard]] QByteArray socketSetting() const { return "http.socket=" + QFile::encodeName(socket); }

    static QByteArray put(const QByteArray &id)
    {
        return "PUT /context/" + id
               + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\nContent-Length: 7\r\n\r\n{\"a\":1}";
    }
    static QByteArray get(const QByteArray &id)
    {
        return "GET /context/" + id + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
    }
    // All that the host answers until it closes; it is reached by a port or by a path.
    template <typename Place>
    static QByteArray ask(const Place &place, const QByteArray &request)
    {
        RawClient client(place);
        client.send(request);
        return client.readUntilClosed();
    }
    template <typename Place>
    static QByteArray askAs(uid_t user, const Place &place, const QByteArray &request)
    {
        return OtherUser(user, [&] { return ask(place, request); }).result();
    }
    static int statusOf(const QByteArray &answer)
    {
        return answer.startsWith("HTTP/1.1 ") ? answer.mid(9, 3).toInt() : 0;
    }

    static void compareWithRefusal(const QByteArray &answer)
    {
        const int headEnd = answer.indexOf("\r\n\r\n");
        const QByteArray head = answer.left(headEnd + 2);
        QVERIFY2(head.startsWith("HTTP/1.1 403 Forbidden\r\n"), answer.constData());
        QVERIFY2(head.contains("\r\nContent-Type: application/problem+json\r\n"), head.constData());
        QVERIFY2(head.contains("\r\nConnection: close\r\n"), head.constData());
        const QJsonObject expected{
            {QStringLiteral("title"), QStringLiteral("Forbidden")},
            {QStringLiteral("status"), 403},
            {QStringLiteral("detail"), QStringLiteral("This host serves its own user only.")}};
        QCOMPARE(QJsonDocument::fromJson(answer.mid(headEnd + 4)).object(), expected);
    }

    [[nodiscard]] mode_t modeOfSocket() const
    {
        struct stat status
        {
        };
        return ::lstat(QFile::encodeName(socket).constData(), &status) == 0 ? status.st_mode : 0;
    }

    // What the host says that does not start.
    [[nodiscard]] static QByteArray failureOf(HostProcess &host)
    {
        host.process.start();
        if (!host.process.waitForFinished(30000) || host.process.exitStatus() != QProcess::NormalExit
            || host.process.exitCode() != 1)
            return "It has not failed with 1.";
        return host.readLog();
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (geteuid() != root)
            QSKIP("Only root can be several users.");
        QVERIFY2(OtherUser::isPossible(nobody), "root may not become another user here");
        QVERIFY(copyHost());
        const auto isReachable = [this] {
            return QByteArray::number(::access(QFile::encodeName(program).constData(), X_OK));
        };
        QVERIFY2(OtherUser(nobody, isReachable).result() == "0",
                 "other users cannot reach the directory of temporary files");
    }

    void clientsAreServedByTheirUser_data()
    {
        QTest::addColumn<uid_t>("hostUser");
        QTest::addColumn<uid_t>("clientUser");
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<bool>("isServed");
        const auto row = [](const char *name, uid_t host, uid_t client, bool isServed,
                            const QByteArray &settings = {}) {
            QTest::newRow(name) << host << client << settings << isServed;
        };
        row("root's own", root, root, true);
        row("own", nobody, nobody, true);
        row("root's", nobody, root, true);
        row("other user's", nobody, somebodyElse, false);
        row("other user's of a host of root", root, nobody, false);
        row("listed by name", root, nobody, true, "http.allowedUsers=nobody");
        row("listed by number", root, nobody, true, "http.allowedUsers=1, 65534");
        row("not listed", root, somebodyElse, false, "http.allowedUsers=nobody");
        row("anybody's", root, nobody, true, "http.sameUser=off");
    }
    void clientsAreServedByTheirUser()
    {
        QFETCH(uid_t, hostUser);
        QFETCH(uid_t, clientUser);
        QFETCH(QByteArray, settings);
        QFETCH(bool, isServed);
        const auto host = makeHost(settings, hostUser);
        QVERIFY2(host->start(), host->readLog().constData());

        const QByteArray answer = askAs(clientUser, host->port(), put("desk"));
        if (isServed)
            QCOMPARE(statusOf(answer), 201);
        else
            compareWithRefusal(answer);
        QCOMPARE(statusOf(askAs(clientUser, host->port(), get("desk"))), isServed ? 200 : 403);
        QCOMPARE(statusOf(askAs(hostUser, host->port(), get("desk"))), isServed ? 200 : 404);
        QVERIFY2(stopHost(*host), host->readLog().constData());
        QCOMPARE(host->readLog().contains(" warning ch.tessel.vexo-service.access: "), !isServed);
    }

    void noWayToThePortLeadsPastTheQuestion_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("source");
        QTest::newRow("IPv6") << QByteArray("::1") << QByteArray();
        QTest::newRow("IPv4 by an IPv6 socket") << QByteArray("::ffff:127.0.0.1") << QByteArray();
        QTest::newRow("from another loopback address") << QByteArray("127.0.0.1") << QByteArray("127.0.0.2");
        const QByteArray own = addressBeyondLoopback();
        if (!own.isEmpty())
            QTest::newRow("from an address beyond the loopback") << QByteArray("127.0.0.1") << own;
    }
    void noWayToThePortLeadsPastTheQuestion()
    {
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, source);
        if (!TestSocket::listening(target).isOpen())
            QSKIP("This machine has no such address.");
        const auto host = makeHost();
        QVERIFY2(host->start(), host->readLog().constData());
        OtherUser client(nobody, [&] {
            const auto connected = TestSocket::connected(target, htons(host->port()), source);
            return connected.isOpen() ? connected.awaitEnd() : QByteArray("no connection");
        });
        compareWithRefusal(client.result());
    }

    void refusalIsLoggedWithUserAndSetting()
    {
        const auto host = makeHost();
        QVERIFY2(host->start(), host->readLog().constData());
        compareWithRefusal(askAs(nobody, host->port(), get("desk")));
        QVERIFY(waitForLog(*host,
                           " warning ch.tessel.vexo-service.access: Connection refused: it is of user 65534 "
                           "(nobody), whom http.allowedUsers does not name\n"));
    }

    void clientIsRefusedBeforeItHasSentAnything()
    {
        const auto host = makeHost();
        QVERIFY2(host->start(), host->readLog().constData());
        compareWithRefusal(
            OtherUser(nobody, [&] { return RawClient(host->port()).readUntilClosed(); }).result());
    }

    // Of a client that has closed the kernel knows no user, and would name root.
    void clientThatHasClosedHasNoEffect_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<int>("status");
        QTest::newRow("users are told apart") << QByteArray() << 404;
        QTest::newRow("listed user") << QByteArray("http.allowedUsers=nobody") << 404;
        // What shows that the request would have its effect.
        QTest::newRow("users are not told apart") << QByteArray("http.sameUser=off") << 200;
    }
    void clientThatHasClosedHasNoEffect()
    {
        QFETCH(QByteArray, settings);
        const auto host = makeHost(settings);
        QVERIFY2(host->start(), host->readLog().constData());
        const auto process = static_cast<pid_t>(host->process.processId());
        siginfo_t stopped{};
        QCOMPARE(::kill(process, SIGSTOP), 0);
        QCOMPARE(::waitid(P_PID, static_cast<id_t>(process), &stopped, WSTOPPED), 0);
        OtherUser client(nobody, [&] {
            RawClient sending(host->port());
            sending.send(put("desk"));
            return QByteArray(sending.awaitReceipt() ? "received" : "lost");
        });
        QCOMPARE(client.result(), QByteArray("received"));
        QCOMPARE(::kill(process, SIGCONT), 0);
        // Who connects later is served later.
        QTEST(statusOf(ask(host->port(), get("desk"))), "status");
        QVERIFY2(stopHost(*host), host->readLog().constData());
        QCOMPARE(host->readLog().contains("its client has closed it"), settings != "http.sameUser=off");
    }

    void unknownUserKeepsTheHostFromStarting()
    {
        const auto host = makeHost("http.allowedUsers=nobody, no-such-user");
        QCOMPARE(failureOf(*host),
                 QByteArray("vexo-service: setting ch.tessel.vexo-service/http.allowedUsers is \"nobody, "
                            "no-such-user\": there is no user \"no-such-user\"\n"));
    }

    void unixSocketServesTheSame()
    {
        const auto host = makeHost(socketSetting());
        QVERIFY2(host->start(), host->readLog().constData());
        QCOMPARE(modeOfSocket(), static_cast<mode_t>(S_IFSOCK | 0600));
        QCOMPARE(statusOf(ask(socket, put("desk"))), 201);
        QCOMPARE(statusOf(ask(socket, get("other"))), 404);
        const QByteArray answer = ask(socket, get("desk"));
        QCOMPARE(statusOf(answer), 200);
        const auto bodyOf = [](const QByteArray &whole) { return whole.mid(whole.indexOf("\r\n\r\n")); };
        QCOMPARE(bodyOf(ask(host->port(), get("desk"))), bodyOf(answer));
        QVERIFY(bodyOf(answer).contains("\"a\""));
    }

    void userOfTheUnixSocketIsAskedForToo_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<bool>("isServed");
        QTest::newRow("other user") << QByteArray() << false;
        QTest::newRow("listed user") << QByteArray("http.allowedUsers=nobody\n") << true;
        QTest::newRow("anybody at the port alone") << QByteArray("http.sameUser=off\n") << false;
    }
    void userOfTheUnixSocketIsAskedForToo()
    {
        QFETCH(QByteArray, settings);
        QFETCH(bool, isServed);
        const auto host = makeHost(settings + socketSetting());
        QVERIFY2(host->start(), host->readLog().constData());
        // Not the file's mode is what keeps others away.
        QCOMPARE(::chmod(QFile::encodeName(socket).constData(), 0666), 0);
        const QByteArray answer = askAs(nobody, socket, put("desk"));
        if (isServed)
            QCOMPARE(statusOf(answer), 201);
        else
            compareWithRefusal(answer);
        QCOMPARE(statusOf(ask(socket, get("desk"))), isServed ? 200 : 404);
    }

    void unixSocketOfAKilledHostIsReplaced()
    {
        {
            const auto killed = makeHost(socketSetting());
            QVERIFY2(killed->start(), killed->readLog().constData());
            killed->process.kill();
            QVERIFY(killed->process.waitForFinished());
        }
        QVERIFY(modeOfSocket() != 0);
        const auto host = makeHost(socketSetting());
        QVERIFY2(host->start(), host->readLog().constData());
        QCOMPARE(statusOf(ask(socket, put("desk"))), 201);
        QCOMPARE(modeOfSocket(), static_cast<mode_t>(S_IFSOCK | 0600));
    }

    void unixSocketOfALivingHostIsLeftAlone()
    {
        const auto living = makeHost(socketSetting());
        QVERIFY2(living->start(), living->readLog().constData());
        const auto second = makeHost(socketSetting());
        const QByteArray failure = failureOf(*second);
        QVERIFY2(failure.startsWith("vexo-service: "), failure.constData());
        QVERIFY2(failure.endsWith(QFile::encodeName(socket) + ": another process serves it\n"),
                 failure.constData());
        QCOMPARE(failure.count('\n'), 1);
        QCOMPARE(statusOf(ask(socket, put("desk"))), 201);
    }

    void unixSocketGoesWithTheHost_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
    }
    void unixSocketGoesWithTheHost()
    {
        QFETCH(int, signal);
        const auto host = makeHost(socketSetting());
        QVERIFY2(host->start(), host->readLog().constData());
        QVERIFY(modeOfSocket() != 0);
        QVERIFY2(stopHost(*host, signal), host->readLog().constData());
        QCOMPARE(modeOfSocket(), static_cast<mode_t>(0));
    }
};

QTEST_GUILESS_MAIN(SameUserTest)
#include "tst_sameuser.moc"
