#include "logcapture.h"
#include "otheruser.h"
#include "testsocket.h"
#include "withoutnetlink.h"

#include <peerusers.h>
#include <refusallog.h>

#include <QtTest>

#include <dlfcn.h>
#include <pwd.h>

static int askedForNames = 0;

// Stands in front of the system's.
extern "C" int getpwuid_r(uid_t user, passwd *entry, char *buffer, std::size_t size, passwd **found)
{
    ++askedForNames;
    static const auto next = reinterpret_cast<decltype(&getpwuid_r)>(dlsym(RTLD_NEXT, "getpwuid_r"));
    return next(user, entry, buffer, size, found);
}

/// Who is admitted, with real connections of this process, of root and of another user.
class PeerUsersTest : public QObject
{
    Q_OBJECT

    static constexpr uid_t somebody = 4000000001U; // who is nobody of these

    const QString sentence = QStringLiteral("This host serves its own user only.");

    static QString refusalOfOwnConnection(PeerUsers &users)
    {
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        const TestSocket client = TestSocket::connected("127.0.0.1", listener.port());
        if (!client.isOpen())
            qFatal("No connection.");
        return users.refusal(listener.accept().get());
    }

private Q_SLOTS:
    void ownConnectionIsAdmitted()
    {
        const LogCapture log("ch.tessel.vexo-service.access");
        RefusalLog refusals;
        PeerUsers users(geteuid(), {}, refusals);
        QCOMPARE(refusalOfOwnConnection(users), QString());
        QCOMPARE(log.lines().size(), 0);
    }

    void anotherUsersConnection_data()
    {
        QTest::addColumn<uid_t>("client");
        QTest::addColumn<uid_t>("own");
        QTest::addColumn<QSet<uid_t>>("allowed");
        QTest::addColumn<bool>("isAdmitted");
        QTest::newRow("own user's") << nobody << nobody << QSet<uid_t>() << true;
        QTest::newRow("root's") << uid_t(0) << nobody << QSet<uid_t>() << true;
        QTest::newRow("listed user's") << nobody << uid_t(0) << QSet<uid_t>{somebody, nobody} << true;
        QTest::newRow("other user's") << nobody << somebody << QSet<uid_t>() << false;
        QTest::newRow("other user's where root is served") << nobody << uid_t(0) << QSet<uid_t>() << false;
        QTest::newRow("unlisted user's") << nobody << uid_t(0) << QSet<uid_t>{somebody} << false;
    }
    void anotherUsersConnection()
    {
        QFETCH(uid_t, client);
        QFETCH(uid_t, own);
        QFETCH(QSet<uid_t>, allowed);
        QFETCH(bool, isAdmitted);
        if (!OtherUser::isPossible(nobody))
            QSKIP("Only root can become another user.");
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        OtherUser other(client, [&] {
            TestSocket::connected("127.0.0.1", listener.port()).awaitEnd();
            return QByteArray();
        });
        const LogCapture log("ch.tessel.vexo-service.access");
        RefusalLog refusals;
        PeerUsers users(own, allowed, refusals);
        {
            const TestSocket accepted = listener.accept();
            QCOMPARE(users.refusal(accepted.get()), isAdmitted ? QString() : sentence);
        }
        QCOMPARE(other.result(), QByteArray());
        if (isAdmitted)
            QCOMPARE(log.lines().size(), 0);
        else
            QCOMPARE(log.lines(),
                     (QVector<LogCapture::Line>{
                         {QtWarningMsg, QStringLiteral("Connection refused: it is of user 65534 (nobody), "
                                                       "whom http.allowedUsers does not name")}}));
    }

    void userWithoutANameIsLoggedByNumber()
    {
        if (!OtherUser::isPossible(somebody))
            QSKIP("Only root can become another user.");
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        OtherUser other(somebody, [&] {
            TestSocket::connected("127.0.0.1", listener.port()).awaitEnd();
            return QByteArray();
        });
        const LogCapture log("ch.tessel.vexo-service.access");
        RefusalLog refusals;
        PeerUsers users(nobody, {}, refusals);
        {
            const TestSocket accepted = listener.accept();
            // The second time the name, which is none, is known.
            for (int i = 0; i < 2; ++i)
                QCOMPARE(users.refusal(accepted.get()), sentence);
        }
        QCOMPARE(other.result(), QByteArray());
        QCOMPARE(log.lines().size(), 2);
        QCOMPARE(log.lines().constFirst().text,
                 QStringLiteral("Connection refused: it is of user 4000000001, whom http.allowedUsers does "
                                "not name"));
        QVERIFY(log.lines().constFirst() == log.lines().constLast());
    }

    // Although it may be the own user's.
    void clientThatHasClosedIsRefused()
    {
        const LogCapture log("ch.tessel.vexo-service.access");
        RefusalLog refusals;
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket client = TestSocket::connected("127.0.0.1", listener.port());
        QVERIFY(client.isOpen());
        client.close();
        PeerUsers users(geteuid(), {}, refusals);
        QCOMPARE(users.refusal(listener.accept().get()), sentence);
        QCOMPARE(log.lines(),
                 (QVector<LogCapture::Line>{
                     {QtWarningMsg, QStringLiteral("Connection refused: its client has closed it, so that "
                                                   "nobody can tell whose it was")}}));
    }

    void silenceOfTheKernelRefusesAndNamesTheWayOut()
    {
        const LogCapture log("ch.tessel.vexo-service.access");
        RefusalLog refusals;
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket client = TestSocket::connected("127.0.0.1", listener.port());
        QVERIFY(client.isOpen());
        const TestSocket accepted = listener.accept();
        QString refusal;
        const bool isRestricted =
            withoutNetlink([&] { refusal = PeerUsers(geteuid(), {}, refusals).refusal(accepted.get()); });
        if (!isRestricted)
            QSKIP("This process may not restrict itself.");
        QCOMPARE(refusal, sentence);
        QCOMPARE(log.lines(), (QVector<LogCapture::Line>{
                                  {QtWarningMsg,
                                   QStringLiteral("Connection refused: the system does not tell whose it is; "
                                                  "http.sameUser=off serves all users of this machine")}}));
    }

    void connectionBeyondTheLoopbackIsNotAskedAbout()
    {
        const QByteArray address = addressBeyondLoopback();
        if (address.isEmpty())
            QSKIP("This machine has no address but the loopback's.");
        const TestSocket listener = TestSocket::listening(address);
        TestSocket client = TestSocket::connected(address, listener.port());
        QVERIFY(client.isOpen());
        RefusalLog refusals;
        // Not even its own user would be admitted here.
        PeerUsers users(somebody, {}, refusals);
        QCOMPARE(users.refusal(listener.accept().get()), QString());
    }

    void manyRefusalsAreFewLines()
    {
        const LogCapture log("ch.tessel.vexo-service.access");
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        TestSocket client = TestSocket::connected("127.0.0.1", listener.port());
        QVERIFY(client.isOpen());
        client.close();
        const TestSocket accepted = listener.accept();
        {
            RefusalLog refusals;
            PeerUsers users(geteuid(), {}, refusals);
            for (int i = 0; i < 1000; ++i)
                QCOMPARE(users.refusal(accepted.get()), sentence);
        }
        // And one that tells how many more there were.
        QCOMPARE(log.lines().size(), RefusalLog::linesPerPeriod + 1);
    }

    // To ask may take long, and a user may have many numbers to come by (subuid(5)).
    void namesAreAskedForOnlyForTheLog()
    {
        if (!OtherUser::isPossible(somebody))
            QSKIP("Only root can become another user.");
        const TestSocket listener = TestSocket::listening("127.0.0.1");
        RefusalLog refusals;
        PeerUsers users(nobody, {}, refusals);
        askedForNames = 0;
        for (uid_t i = 0; i < RefusalLog::linesPerPeriod + 5; ++i) {
            OtherUser other(somebody + i, [&] {
                TestSocket::connected("127.0.0.1", listener.port()).awaitEnd();
                return QByteArray();
            });
            const TestSocket accepted = listener.accept();
            QCOMPARE(users.refusal(accepted.get()), sentence);
        }
        QCOMPARE(askedForNames, RefusalLog::linesPerPeriod);
    }

    void listIsResolved_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QSet<uid_t>>("users");
        QTest::newRow("nobody at all") << QStringList() << QSet<uid_t>();
        QTest::newRow("name") << QStringList{QStringLiteral("root")} << QSet<uid_t>{0};
        QTest::newRow("number without a name")
            << QStringList{QStringLiteral("4000000001")} << QSet<uid_t>{somebody};
        QTest::newRow("greatest number")
            << QStringList{QStringLiteral("4294967294")} << QSet<uid_t>{4294967294U};
        QTest::newRow("several") << QStringList{QStringLiteral("root"), QStringLiteral("7"),
                                                QStringLiteral("0")}
                                 << QSet<uid_t>{0, 7};
    }
    void listIsResolved()
    {
        QFETCH(QStringList, list);
        const auto resolved = PeerUsers::resolve(list);
        const auto *users = std::get_if<QSet<uid_t>>(&resolved);
        QVERIFY(users != nullptr);
        QTEST(*users, "users");
    }

    void listThatMakesNoSenseIsAFailure_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QString>("rest");
        const auto row = [](const char *name, const QStringList &list, const QString &rest) {
            QTest::newRow(name) << list << rest;
        };
        row("unknown name", {QStringLiteral("root"), QStringLiteral("no-such-user")},
            QStringLiteral("\"root, no-such-user\": there is no user \"no-such-user\""));
        row("empty", {QString()}, QStringLiteral("\"\": must name users"));
        row("number of no user", {QStringLiteral("4294967295")},
            QStringLiteral("\"4294967295\": 4294967295 is too large for the number of a user"));
        row("number too large", {QStringLiteral("99999999999")},
            QStringLiteral("\"99999999999\": 99999999999 is too large for the number of a user"));
        row("negative number", {QStringLiteral("-1")}, QStringLiteral("\"-1\": there is no user \"-1\""));
    }
    void listThatMakesNoSenseIsAFailure()
    {
        QFETCH(QStringList, list);
        QFETCH(QString, rest);
        const auto resolved = PeerUsers::resolve(list);
        const auto *failure = std::get_if<StartFailure>(&resolved);
        QVERIFY(failure != nullptr);
        QCOMPARE(failure->text,
                 QStringLiteral("setting ch.tessel.vexo-service/http.allowedUsers is ") + rest);
        QCOMPARE(failure->exitStatus, 1);
    }
};

QTEST_GUILESS_MAIN(PeerUsersTest)
#include "tst_peerusers.moc"
