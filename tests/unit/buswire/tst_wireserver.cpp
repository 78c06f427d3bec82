#include "logcapture.h"
#include "unixclient.h"

#include <wireclient.h>
#include <wireserver.h>

#include <QJsonArray>
#include <QtTest>

#include <memory>
#include <sys/resource.h>

using buswire::LineReader;
using buswire::WireClient;
using buswire::WireServer;

class WireServerTest : public QObject
{
    Q_OBJECT

    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.sock"));
    std::unique_ptr<WireServer> server;
    QVector<QJsonObject> published;
    QString refusal;

    static QJsonObject chunk(int n) { return {{QStringLiteral("n"), n}}; }
    static QByteArray lineOf(int n) { return "{\"n\":" + QByteArray::number(n) + "}"; }

    // A client that the server is known to have, since it has had an answer.
    [[nodiscard]] std::unique_ptr<UnixClient> connected() const
    {
        auto client = std::make_unique<UnixClient>(path);
        QVector<QByteArray> lines;
        const auto answered = [&] {
            lines += client->readLines();
            return !lines.isEmpty();
        };
        if (!client->send("?\n") || !QTest::qWaitFor(answered, 30000))
            qFatal("No answer.");
        return client;
    }

    // Sends everything while the server, which lives on this thread, takes it.
    [[nodiscard]] static bool sendAll(UnixClient &client, const QByteArray &bytes)
    {
        for (int sent = 0; sent < bytes.size();) {
            const int size = client.sendSome(bytes.mid(sent, 1 << 18));
            if (size < 0)
                return false;
            sent += size;
            QCoreApplication::processEvents();
        }
        return true;
    }

    [[nodiscard]] static QVector<QByteArray> awaitLines(UnixClient &client, int count)
    {
        QVector<QByteArray> lines;
        const bool came = QTest::qWaitFor(
            [&] {
                lines += client.readLines();
                return lines.size() >= count;
            },
            30000);
        return came ? lines : QVector<QByteArray>();
    }

    static QElapsedTimer started()
    {
        QElapsedTimer timer;
        timer.start();
        return timer;
    }

    [[nodiscard]] static bool isErrorLine(const QByteArray &line)
    {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        return object.size() == 1 && !object.value(QStringLiteral("error")).toString().isEmpty();
    }

private Q_SLOTS:
    void init()
    {
        published.clear();
        refusal.clear();
        server = std::make_unique<WireServer>([this](const QJsonObject &object) {
            if (refusal.isEmpty())
                published.append(object);
            return refusal;
        });
        QCOMPARE(server->listen(path), QString());
    }
    void cleanup() { server.reset(); }

    void eachLineIsPublishedInOrder_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("line feeds") << QByteArray("{\"n\":1}\n{\"n\":2}\n{\"n\":3}\n");
        QTest::newRow("carriage returns") << QByteArray("{\"n\":1}\r\n{\"n\":2}\r\n{\"n\":3}\r\n");
        QTest::newRow("empty lines between")
            << QByteArray("\n\n{\"n\":1}\n \t\r\n{\"n\":2}\n\n{\"n\":3}\n\n");
    }
    void eachLineIsPublishedInOrder()
    {
        QFETCH(QByteArray, bytes);
        UnixClient whole(path);
        QVERIFY(whole.send(bytes));
        QTRY_COMPARE(published, (QVector<QJsonObject>{chunk(1), chunk(2), chunk(3)}));

        published.clear();
        UnixClient slow(path);
        for (const char byte : std::as_const(bytes)) {
            QVERIFY(slow.send(QByteArray(1, byte)));
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(published, (QVector<QJsonObject>{chunk(1), chunk(2), chunk(3)}));
        // Nothing came back, empty lines included.
        QVERIFY(slow.send("?\n"));
        const QVector<QByteArray> lines = awaitLines(slow, 1);
        QCOMPARE(lines.size(), 1);
        QCOMPARE(whole.readLines(), QVector<QByteArray>());
    }

    void manyLinesAreAllPublished()
    {
        constexpr int count = WireClient::linesPerTurn * 20 + 1;
        QByteArray bytes;
        QVector<QJsonObject> expected;
        for (int i = 0; i < count; ++i) {
            bytes += lineOf(i) + '\n';
            expected.append(chunk(i));
        }
        UnixClient client(path);
        QVERIFY(client.send(bytes));
        int most = 0;
        for (int turn = 0; turn < 1000 && published.size() < count; ++turn) {
            const int before = published.size();
            QCoreApplication::processEvents();
            most = qMax(most, published.size() - before);
        }
        QCOMPARE(published, expected);
        // Others get their turn in between.
        QVERIFY2(most <= 2 * WireClient::linesPerTurn, qPrintable(QString::number(most)));
    }

    void lastLineNeedsNoLineFeed()
    {
        UnixClient client(path);
        QVERIFY(client.send("{\"n\":1}\n{\"n\":2}"));
        QTRY_COMPARE(published, QVector<QJsonObject>{chunk(1)});
        client.endOutput();
        QTRY_COMPARE(published, (QVector<QJsonObject>{chunk(1), chunk(2)}));
    }

    void lineThatIsNoChunkIsAnsweredAndHarmsNothing_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("no JSON") << QByteArray("hello");
        QTest::newRow("cut off") << QByteArray("{\"n\":");
        QTest::newRow("array") << QByteArray("[1]");
        QTest::newRow("number") << QByteArray("1");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("binary") << QByteArray("\x00\x01\xff", 3);
        QTest::newRow("1 000 000 brackets") << QByteArray(1000000, '[');
    }
    void lineThatIsNoChunkIsAnsweredAndHarmsNothing()
    {
        QFETCH(QByteArray, line);
        const auto bystander = connected();
        UnixClient client(path);
        QVERIFY(sendAll(client, line + "\n{\"n\":1}\n"));
        QTRY_COMPARE(published, QVector<QJsonObject>{chunk(1)});
        const QVector<QByteArray> lines = awaitLines(client, 1);
        QCOMPARE(lines.size(), 1);
        QVERIFY2(isErrorLine(lines[0]), lines[0].constData());
        QCOMPARE(bystander->readLines(), QVector<QByteArray>());
        QVERIFY(!client.isClosed());
    }

    void chunkThatCannotBePublishedIsAnswered()
    {
        refusal = QStringLiteral("There is no bus.");
        UnixClient client(path);
        QVERIFY(client.send("{\"n\":1}\n"));
        QCOMPARE(awaitLines(client, 1), QVector<QByteArray>{R"({"error":"There is no bus."})"});
    }

    void everyClientGetsEveryChunkAsOneCompactLine()
    {
        const auto first = connected();
        const auto second = connected();
        server->broadcast(QJsonObject{{QStringLiteral("b"), QJsonArray{1, 2}},
                                      {QStringLiteral("a"), QStringLiteral("x\ny")}});
        server->broadcast(QJsonArray{true});
        const QVector<QByteArray> expected{R"({"a":"x\ny","b":[1,2]})", "[true]"};
        QCOMPARE(awaitLines(*first, 2), expected);
        QCOMPARE(awaitLines(*second, 2), expected);
    }

    void whatOneSendsReachesNoOther()
    {
        const auto sender = connected();
        const auto other = connected();
        QVERIFY(sender->send("{\"n\":1}\n"));
        QTRY_COMPARE(published.size(), 1);
        server->broadcast(chunk(2));
        QCOMPARE(awaitLines(*sender, 1), QVector<QByteArray>{lineOf(2)});
        QCOMPARE(awaitLines(*other, 1), QVector<QByteArray>{lineOf(2)});
    }

    void clientThatHasEndedItsOutputGoesOnReceiving()
    {
        const auto client = connected();
        QVERIFY(client->send("{\"n\":1}\n"));
        client->endOutput();
        QTRY_COMPARE(published.size(), 1);
        for (int i = 0; i < 3; ++i) {
            server->broadcast(chunk(i));
            QCOMPARE(awaitLines(*client, 1), QVector<QByteArray>{lineOf(i)});
        }
    }

    void clientThatLeavesIsForgotten_data()
    {
        QTest::addColumn<bool>("endsOutputFirst");
        QTest::newRow("at once") << false;
        QTest::newRow("after the end of its output") << true;
    }
    void clientThatLeavesIsForgotten()
    {
        QFETCH(bool, endsOutputFirst);
        const auto client = connected();
        QCOMPARE(server->findChildren<WireClient *>().size(), 1);
        if (endsOutputFirst) {
            client->endOutput();
            QTest::qWait(1);
            QCOMPARE(server->findChildren<WireClient *>().size(), 1);
        }
        client->close();
        QTRY_COMPARE(server->findChildren<WireClient *>().size(), 0);
        server->broadcast(chunk(1));
    }

    void whatAClientHasSentBeforeItClosedIsPublished()
    {
        UnixClient client(path);
        QTRY_COMPARE(server->findChildren<WireClient *>().size(), 1);
        QVERIFY(client.send("{\"n\":1}\n{\"n\":2}\n"));
        client.close();
        // It finds nobody before the lines are read.
        server->broadcast(chunk(0));
        QTRY_COMPARE(published, (QVector<QJsonObject>{chunk(1), chunk(2)}));
        QTRY_COMPARE(server->findChildren<WireClient *>().size(), 0);
    }

    void readerThatStallsIsDisconnectedOnce1MiBWaits()
    {
        const LogCapture log("ch.tessel.vexo-service.buswire.client");
        const auto stalled = connected();
        const auto reader = connected();
        const QJsonObject large{{QStringLiteral("text"), QString(64000, QLatin1Char('x'))}};
        const auto clients = [this] { return server->findChildren<WireClient *>().size(); };
        int read = 0;
        int sent = 0;
        for (; sent < 100 && log.lines().isEmpty(); ++sent) {
            server->broadcast(large);
            read += awaitLines(*reader, 1).size();
        }
        // The kernel keeps some for itself; 1 MiB are a little over 16 chunks.
        QVERIFY2(sent >= 17 && sent < 40, qPrintable(QString::number(sent)));
        QCOMPARE(log.lines(),
                 (QVector<LogCapture::Line>{
                     {QtWarningMsg, QStringLiteral("A client that does not read is disconnected.")}}));
        QTRY_COMPARE(clients(), 1);
        QCOMPARE(read, sent);
        QTRY_VERIFY(stalled->isClosed());
        QVERIFY(!reader->isClosed());
    }

    // As the change of a context and the reply to who asked for it, in one turn.
    void twoChunksOfAnyLengthReachAReader()
    {
        const auto reader = connected();
        const QString text(10000000, QLatin1Char('x'));
        const QJsonObject large{{QStringLiteral("text"), text}};
        server->broadcast(large);
        server->broadcast(large);
        const QVector<QByteArray> lines = awaitLines(*reader, 2);
        QCOMPARE(lines.size(), 2);
        for (const QByteArray &line : lines)
            QCOMPARE(QJsonDocument::fromJson(line).object(), large);
    }

    void thirdLargeChunkIsOneTooMany()
    {
        const auto stalled = connected();
        const QJsonObject large{{QStringLiteral("text"), QString(2000000, QLatin1Char('x'))}};
        for (int i = 0; i < 3; ++i)
            server->broadcast(large);
        QTRY_COMPARE(server->findChildren<WireClient *>().size(), 0);
    }

    void whoDoesNotReadErrorsIsNotReadFrom()
    {
        UnixClient client(path);
        // More at once than what may wait of the answers to it.
        const QByteArray burst = QByteArray("?\n").repeated(100000);
        const int most = 20000000;
        int sent = 0;
        int idle = 0;
        while (sent < most && idle < 2000) {
            const int size = client.sendSome(burst.mid(sent % 2));
            QVERIFY(size >= 0);
            sent += size;
            idle = size == 0 ? idle + 1 : 0;
            QCoreApplication::processEvents();
        }
        QVERIFY2(sent < most, "Everything is read although nobody reads the answers.");
        // Each line gets its answer once somebody reads.
        client.endOutput();
        const int expected = (sent + 1) / 2;
        int answers = 0;
        for (QElapsedTimer timer(started()); answers < expected && timer.elapsed() < 60000;) {
            QCoreApplication::processEvents();
            answers += client.readLines().size();
        }
        QCOMPARE(answers, expected);
    }

    void longestLineIsTaken()
    {
        UnixClient client(path);
        const QByteArray around = "{\"text\":\"\"}";
        QByteArray line = around;
        line.insert(9, QByteArray(LineReader::maxLineBytes - around.size(), 'x'));
        QCOMPARE(line.size(), LineReader::maxLineBytes);
        QVERIFY(sendAll(client, line + '\n'));
        QTRY_COMPARE(published.size(), 1);
        QCOMPARE(published[0].value(QStringLiteral("text")).toString().size(),
                 LineReader::maxLineBytes - around.size());
    }

    void longerLineDisconnectsWithAnError_data()
    {
        QTest::addColumn<QByteArray>("end");
        QTest::newRow("complete") << QByteArray("\n");
        QTest::newRow("without end") << QByteArray();
    }
    void longerLineDisconnectsWithAnError()
    {
        QFETCH(QByteArray, end);
        const LogCapture log("ch.tessel.vexo-service.buswire.client");
        const auto bystander = connected();
        UnixClient client(path);
        QVERIFY(sendAll(client, "{\"n\":1}\n" + QByteArray(LineReader::maxLineBytes + 1, ' ') + end));
        QVector<QByteArray> lines;
        QTRY_VERIFY((lines += client.readLines(), client.isClosed()));
        lines += client.readLines();
        QCOMPARE(lines, QVector<QByteArray>{R"({"error":"A line is longer than 16777216 bytes."})"});
        QCOMPARE(log.lines(), (QVector<LogCapture::Line>{
                                  {QtWarningMsg,
                                   QStringLiteral("A client that sends too long a line is disconnected.")}}));
        QCOMPARE(published, QVector<QJsonObject>{chunk(1)});
        QTRY_COMPARE(server->findChildren<WireClient *>().size(), 1);
        QVERIFY(!bystander->isClosed());
    }

    void clientsAreTakenAgainOnceThereAreDescriptors()
    {
        const LogCapture log("ch.tessel.vexo-service.buswire.server");
        UnixClient client(path);
        QVERIFY(client.send("{\"n\":1}\n"));
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        const rlimit before = limit;
        limit.rlim_cur = 3;
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
        QTRY_VERIFY(!log.lines().isEmpty());
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &before), 0);
        QCOMPARE(published.size(), 0);
        QTRY_COMPARE(published.size(), 1);
        QCOMPARE(log.lines().size(), 1);
    }

    void endOfTheServerDisconnectsAllAndRemovesTheSocket()
    {
        const auto first = connected();
        const auto second = connected();
        QVERIFY(QFile::exists(path));
        server.reset();
        QVERIFY(first->isClosed());
        QVERIFY(second->isClosed());
        QVERIFY(!QFile::exists(path));
    }
};

QTEST_GUILESS_MAIN(WireServerTest)
#include "tst_wireserver.moc"
