#include "system/socketfile.h"
#include "unixclient.h"

#include <QtTest>

#include <algorithm>
#include <array>
#include <atomic>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

using tessel::system::SocketFile;

class SocketFileTest : public QObject
{
    Q_OBJECT

    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.sock"));

    static mode_t modeOf(const QString &file)
    {
        struct stat status
        {
        };
        return lstat(QFile::encodeName(file).constData(), &status) == 0 ? status.st_mode : 0;
    }

    // Somebody else's listening socket.
    [[nodiscard]] int listenElsewhere(int backlog, int type = SOCK_STREAM) const
    {
        const int socket = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path - 1);
        if (bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0
            || listen(socket, backlog) != 0)
            qFatal("No socket.");
        return socket;
    }

private Q_SLOTS:
    void cleanup() { QFile::remove(path); }

    void onlyItsOwnerMayUseIt_data()
    {
        QTest::addColumn<int>("mask");
        QTest::newRow("usual umask") << 0022;
        QTest::newRow("no umask") << 0000;
    }
    void onlyItsOwnerMayUseIt()
    {
        QFETCH(int, mask);
        const mode_t before = umask(static_cast<mode_t>(mask));
        SocketFile file;
        const QString failure = file.open(path);
        QCOMPARE(umask(before), static_cast<mode_t>(mask));
        QCOMPARE(failure, QString());
        QCOMPARE(modeOf(path), static_cast<mode_t>(S_IFSOCK | 0600));
        QVERIFY(UnixClient(path).isConnected());
    }

    void isNeverOpenToOthersWhileItIsMade()
    {
        std::atomic<bool> done = false;
        std::atomic<bool> wasOpen = false;
        std::thread onlooker([&] {
            while (!done) {
                if ((modeOf(path) & (S_IRWXG | S_IRWXO)) != 0)
                    wasOpen = true;
            }
        });
        const mode_t before = umask(0);
        QString failure;
        for (int i = 0; i < 500 && failure.isEmpty(); ++i)
            failure = SocketFile().open(path);
        umask(before);
        done = true;
        onlooker.join();
        QCOMPARE(failure, QString());
        QVERIFY(!wasOpen);
    }

    void goesWithItsOwner()
    {
        {
            SocketFile file;
            QCOMPARE(file.open(path), QString());
            QVERIFY(file.descriptor() >= 0);
        }
        QCOMPARE(modeOf(path), static_cast<mode_t>(0));
    }

    void replacesWhatADeadProcessLeft()
    {
        close(listenElsewhere(1));
        QVERIFY(QFile::exists(path));
        QVERIFY(!UnixClient(path).isConnected());
        SocketFile file;
        QCOMPARE(file.open(path), QString());
        QVERIFY(UnixClient(path).isConnected());
    }

    // Whoever comes second must neither take the first one's file for the stale one, nor the first one for
    // dead because it does not listen yet.
    void oneOfManyThatStartAtOnceReplacesIt()
    {
        static constexpr int rounds = 100;
        for (int round = 0; round < rounds; ++round) {
            close(listenElsewhere(1));
            std::array<SocketFile, 3> starting;
            std::array<QString, 3> failures;
            std::atomic<int> waiting = static_cast<int>(starting.size());
            std::vector<std::thread> threads;
            for (std::size_t i = 0; i < starting.size(); ++i) {
                threads.emplace_back([&, i] {
                    for (--waiting; waiting > 0;) { }
                    failures[i] = starting[i].open(path);
                });
            }
            for (std::thread &thread : threads)
                thread.join();
            QCOMPARE(std::count(failures.cbegin(), failures.cend(), QString()), 1);
            QCOMPARE(
                std::count(failures.cbegin(), failures.cend(), QStringLiteral("another process serves it")),
                2);
            const UnixClient client(path);
            QVERIFY(client.isConnected());
            const auto winner = std::find(failures.cbegin(), failures.cend(), QString());
            const int accepted =
                accept(starting[static_cast<std::size_t>(winner - failures.cbegin())].descriptor(), nullptr,
                       nullptr);
            QVERIFY(accepted >= 0);
            close(accepted);
        }
    }

    // Any user who may list the directory can lock it, and keep it locked.
    void doesNotWaitForeverForOthersThatStart()
    {
        const int directory = ::open(QFile::encodeName(dir.path()).constData(), O_RDONLY | O_CLOEXEC);
        QCOMPARE(flock(directory, LOCK_EX), 0);
        SocketFile file;
        const QString failure = file.open(path);
        close(directory);
        QCOMPARE(failure, QString());
        QVERIFY(UnixClient(path).isConnected());
    }

    void leavesALivingOneAlone()
    {
        SocketFile living;
        QCOMPARE(living.open(path), QString());
        {
            SocketFile second;
            QCOMPARE(second.open(path), QStringLiteral("another process serves it"));
            QCOMPARE(second.descriptor(), -1);
        }
        QVERIFY(UnixClient(path).isConnected());
    }

    void leavesALivingOneThatIsBusyAlone()
    {
        const int other = listenElsewhere(0);
        const UnixClient queued(path); // which fills the queue
        QVERIFY(queued.isConnected());
        SocketFile file;
        const QString failure = file.open(path);
        const bool isThere = QFile::exists(path);
        close(other);
        QCOMPARE(failure, QStringLiteral("another process serves it"));
        QVERIFY(isThere);
    }

    void leavesAForeignFileAlone()
    {
        QFile other(path);
        QVERIFY(other.open(QIODevice::WriteOnly));
        other.close();
        {
            SocketFile file;
            QCOMPARE(file.open(path), QStringLiteral("it exists and is no socket"));
        }
        QVERIFY(QFile::exists(path));
    }

    void leavesALivingOneOfAnotherTypeAlone()
    {
        const int other = listenElsewhere(1, SOCK_SEQPACKET);
        SocketFile file;
        const QString failure = file.open(path);
        close(other);
        QCOMPARE(failure, qt_error_string(EPROTOTYPE));
        QVERIFY(QFile::exists(path));
    }

    void leavesALinkAlone()
    {
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("elsewhere")), path));
        SocketFile file;
        QCOMPARE(file.open(path), QStringLiteral("it exists and is no socket"));
    }

    void leavesTheFileOfASuccessorAlone()
    {
        auto first = std::make_unique<SocketFile>();
        QCOMPARE(first->open(path), QString());
        QVERIFY(QFile::remove(path));
        SocketFile successor;
        QCOMPARE(successor.open(path), QString());
        first.reset();
        QVERIFY(UnixClient(path).isConnected());
    }

    void placeThatCannotBeTellsWhy_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("why");
        QTest::newRow("no such directory")
            << dir.filePath(QStringLiteral("absent/a.sock")) << QStringLiteral("No such file or directory");
        QTest::newRow("too long") << QString(108, QLatin1Char('x'))
                                  << QStringLiteral("the path is longer than 107 bytes");
        const QString why = QStringLiteral("the path has a NUL in it");
        const QChar nul(QChar::Null);
        QTest::newRow("NUL") << dir.filePath(QStringLiteral("a%1b").arg(nul)) << why;
        QTest::newRow("NUL in front, which is no file") << QStringLiteral("%1a").arg(nul) << why;
    }
    void placeThatCannotBeTellsWhy()
    {
        QFETCH(QString, place);
        QFETCH(QString, why);
        SocketFile file;
        QCOMPARE(file.open(place), why);
        QCOMPARE(file.descriptor(), -1);
    }
};

QTEST_GUILESS_MAIN(SocketFileTest)
#include "tst_socketfile.moc"
