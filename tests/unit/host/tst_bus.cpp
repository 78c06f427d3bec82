#include "logcapture.h"

#include <bus.h>

#include <k7-plugin-api/chunkupdatelistener.h>

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonObject>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <stdexcept>

/// Keeps the values of "n" that it gets, and does more if told.
class FakeListener final : public ChunkUpdateListener
{
public:
    void onChunkUpdated(const QJsonValue &chunk) override
    {
        got.append(chunk.toObject().value(QStringLiteral("n")).toInt());
        if (onChunk)
            onChunk();
    }

    QVector<int> got;
    std::function<void()> onChunk;
};

class BusTest : public QObject
{
    Q_OBJECT

    static QJsonValue chunk(int n) { return QJsonObject{{QStringLiteral("n"), n}}; }

    // One turn of an event loop.
    static void turn()
    {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
    }

private Q_SLOTS:
    void chunkReachesEveryOtherPluginLater()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        FakeListener ofA;
        a.attachChunkListener(&ofA);
        FakeListener others[3];
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        b.attachChunkListener(&others[0]);
        b.attachChunkListener(&others[1]);
        bus.addEndpoint(QStringLiteral("c")).attachChunkListener(&others[2]);
        a.publishChunk(chunk(1));
        for (const FakeListener &other : others)
            QCOMPARE(other.got, QVector<int>());
        for (const FakeListener &other : others)
            QTRY_COMPARE(other.got, QVector<int>{1});
        QCOMPARE(ofA.got, QVector<int>());
    }

    void orderIsThatOfPublishingOverTheWholeBus()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener listener;
        bus.addEndpoint(QStringLiteral("c")).attachChunkListener(&listener);
        for (int i = 0; i < 1000; ++i)
            (i % 3 == 0 ? a : b).publishChunk(chunk(i));
        QTRY_COMPARE(listener.got.size(), 1000);
        QVERIFY(std::is_sorted(listener.got.cbegin(), listener.got.cend()));
    }

    void everyListenerSeesTheSameOrder()
    {
        Bus bus;
        BusEndpoint *endpoints[] = {
            &bus.addEndpoint(QStringLiteral("a")), &bus.addEndpoint(QStringLiteral("b")),
            &bus.addEndpoint(QStringLiteral("c")), &bus.addEndpoint(QStringLiteral("d"))};
        FakeListener listeners[4];
        QVector<int> expected[4];
        for (int i = 0; i < 4; ++i)
            endpoints[i]->attachChunkListener(&listeners[i]);
        const int count = Bus::chunksPerTurn * 5;
        for (int i = 0; i < count; ++i) {
            const int publisher = i * i % 7 % 3;
            endpoints[publisher]->publishChunk(chunk(i));
            for (int other = 0; other < 4; ++other) {
                if (other != publisher)
                    expected[other].append(i);
            }
        }
        QTRY_COMPARE(listeners[3].got.size(), count);
        for (int i = 0; i < 4; ++i)
            QCOMPARE(listeners[i].got, expected[i]);
    }

    void endpointOutlivesItsPlugin()
    {
        Bus bus;
        BusEndpoint &endpoint = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener ofB;
        b.attachChunkListener(&ofB);
        auto listener = std::make_unique<FakeListener>();
        endpoint.attachChunkListener(listener.get());
        endpoint.publishChunk(chunk(1));
        b.publishChunk(chunk(2)); // on its way to the listener that goes
        endpoint.cut();
        listener.reset();
        // What the plug-in has left behind, a timer say, may still hold the endpoint.
        endpoint.publishChunk(chunk(3));
        b.publishChunk(chunk(4));
        FakeListener ofC;
        bus.addEndpoint(QStringLiteral("c")).attachChunkListener(&ofC);
        QTRY_COMPARE(ofC.got, (QVector<int>{1, 2, 4}));
        QCOMPARE(ofB.got, QVector<int>{1});
    }

    void answerFromInsideAListenerComesAfterWhatWaits()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener ofA;
        FakeListener ofB;
        FakeListener ofC;
        a.attachChunkListener(&ofA);
        b.attachChunkListener(&ofB);
        bus.addEndpoint(QStringLiteral("c")).attachChunkListener(&ofC);
        ofB.onChunk = [&] {
            b.publishChunk(chunk(ofB.got.constLast() + 10));
            QCOMPARE(ofA.got.size(), 0);
        };
        a.publishChunk(chunk(1));
        a.publishChunk(chunk(2));
        QTRY_COMPARE(ofA.got, (QVector<int>{11, 12}));
        QCOMPARE(ofC.got, (QVector<int>{1, 2, 11, 12}));
    }

    void floodLeavesTheEventLoopItsOtherWork()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        FakeListener listener;
        bus.addEndpoint(QStringLiteral("b")).attachChunkListener(&listener);
        const int count = Bus::chunksPerTurn * 3 + 1;
        for (int i = 0; i < count; ++i)
            a.publishChunk(chunk(i));
        QVector<int> seen;
        for (int i = 0; i < 10 && listener.got.size() < count; ++i) {
            QCoreApplication::processEvents();
            seen.append(listener.got.size());
        }
        QCOMPARE(seen, (QVector<int>{100, 200, 300, 301}));
    }

    void endlessConversationLeavesTheEventLoopItsOtherWork()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener ofA;
        FakeListener ofB;
        ofA.onChunk = [&] { a.publishChunk(chunk(0)); };
        ofB.onChunk = [&] { b.publishChunk(chunk(0)); };
        a.attachChunkListener(&ofA);
        b.attachChunkListener(&ofB);
        a.publishChunk(chunk(0));
        QCoreApplication::processEvents();
        QCOMPARE(ofA.got.size() + ofB.got.size(), Bus::chunksPerTurn);
    }

    void listenerThatThrowsIsLoggedAndKeptFromTheOthers_data()
    {
        QTest::addColumn<bool>("standard");
        QTest::newRow("std::exception") << true;
        QTest::newRow("something else") << false;
    }
    void listenerThatThrowsIsLoggedAndKeptFromTheOthers()
    {
        QFETCH(bool, standard);
        const LogCapture log("ch.tessel.vexo-service.busendpoint");
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener broken;
        FakeListener beside;
        FakeListener behind;
        broken.onChunk = [&] {
            if (standard)
                throw std::runtime_error("broken");
            throw 42;
        };
        b.attachChunkListener(&broken);
        b.attachChunkListener(&beside);
        bus.addEndpoint(QStringLiteral("c")).attachChunkListener(&behind);
        a.publishChunk(chunk(1));
        a.publishChunk(chunk(2));
        QTRY_COMPARE(behind.got, (QVector<int>{1, 2}));
        QCOMPARE(beside.got, (QVector<int>{1, 2}));
        QCOMPARE(broken.got, (QVector<int>{1, 2}));
        QCOMPARE(log.lines().size(), 2);
        QCOMPARE(log.lines().constFirst().type, QtWarningMsg);
        QVERIFY(log.lines().constFirst().text.contains(QLatin1String("\"b\"")));
    }

    void cutEndpointNeitherGetsNorGives()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener ofA;
        FakeListener ofB;
        a.attachChunkListener(&ofA);
        b.attachChunkListener(&ofB);
        a.publishChunk(chunk(1)); // on its way when the endpoint is cut
        b.cut();
        a.publishChunk(chunk(2));
        b.publishChunk(chunk(3));
        FakeListener late;
        b.attachChunkListener(&late);
        FakeListener ofC;
        bus.addEndpoint(QStringLiteral("c")).attachChunkListener(&ofC);
        QTRY_COMPARE(ofC.got, (QVector<int>{1, 2}));
        QCOMPARE(ofA.got, QVector<int>());
        QCOMPARE(ofB.got, QVector<int>());
        QCOMPARE(late.got, QVector<int>());
    }

    void listenerMayCutItsOwnEndpoint()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener first;
        FakeListener second;
        FakeListener ofC;
        first.onChunk = [&] { b.cut(); };
        b.attachChunkListener(&first);
        b.attachChunkListener(&second);
        bus.addEndpoint(QStringLiteral("c")).attachChunkListener(&ofC);
        a.publishChunk(chunk(1));
        a.publishChunk(chunk(2));
        QTRY_COMPARE(ofC.got, (QVector<int>{1, 2}));
        QCOMPARE(first.got, QVector<int>{1});
        QCOMPARE(second.got, QVector<int>());
    }

    void listenersAndPluginsMayComeFromInsideAListener()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener first;
        std::vector<std::unique_ptr<FakeListener>> more;
        first.onChunk = [&] {
            for (int i = 0; i < 50; ++i) {
                more.push_back(std::make_unique<FakeListener>());
                (i % 2 == 0 ? b : bus.addEndpoint(QStringLiteral("c")))
                    .attachChunkListener(more.back().get());
            }
            first.onChunk = nullptr;
        };
        b.attachChunkListener(&first);
        a.publishChunk(chunk(1));
        QTRY_COMPARE(first.got.size(), 1);
        a.publishChunk(chunk(2));
        QTRY_COMPARE(first.got.size(), 2);
        for (const auto &listener : more)
            QCOMPARE(listener->got.constLast(), 2);
    }

    void listenerAttachedTwiceGetsAChunkOnce()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        BusEndpoint &b = bus.addEndpoint(QStringLiteral("b"));
        FakeListener listener;
        b.attachChunkListener(&listener);
        b.attachChunkListener(&listener);
        b.attachChunkListener(nullptr);
        a.publishChunk(chunk(1));
        QTRY_COMPARE(listener.got, QVector<int>{1});
        turn();
        QCOMPARE(listener.got, QVector<int>{1});
    }

    void nestedLoopInAListenerKeepsTheOrder()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        FakeListener nesting;
        FakeListener behind;
        nesting.onChunk = [&] {
            const int before = nesting.got.size();
            a.publishChunk(chunk(before + 100));
            turn();
            turn();
            QCOMPARE(nesting.got.size(), before);
            if (before == 2)
                nesting.onChunk = nullptr;
        };
        bus.addEndpoint(QStringLiteral("b")).attachChunkListener(&nesting);
        bus.addEndpoint(QStringLiteral("c")).attachChunkListener(&behind);
        a.publishChunk(chunk(1));
        a.publishChunk(chunk(2));
        QTRY_COMPARE(behind.got, (QVector<int>{1, 2, 101, 102}));
        QCOMPARE(nesting.got, (QVector<int>{1, 2, 101, 102}));
    }

    void chunksGoOnUnderANestedLoopElsewhere()
    {
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        FakeListener listener;
        QEventLoop nested;
        listener.onChunk = [&] { nested.quit(); };
        bus.addEndpoint(QStringLiteral("b")).attachChunkListener(&listener);
        a.publishChunk(chunk(1));
        QTimer::singleShot(5000, &nested, [&] { nested.exit(1); });
        QCOMPARE(nested.exec(), 0);
        QCOMPARE(listener.got, QVector<int>{1});
    }

    void publishedChunksShowAtDebugLevel_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("shown");
        QTest::newRow("object") << QJsonValue(
            QJsonObject{{QStringLiteral("b"), 1}, {QStringLiteral("a"), QStringLiteral("x\n")}})
                                << R"({"a":"x\n","b":1})";
        QTest::newRow("array") << QJsonValue(QJsonArray{1, 2}) << "[1,2]";
        QTest::newRow("text") << QJsonValue(QStringLiteral("x")) << "\"x\"";
        QTest::newRow("null") << QJsonValue() << "null";
    }
    void publishedChunksShowAtDebugLevel()
    {
        QFETCH(QJsonValue, value);
        QFETCH(QString, shown);
        const LogCapture log("ch.tessel.vexo-service.bus");
        Bus bus;
        BusEndpoint &a = bus.addEndpoint(QStringLiteral("a"));
        a.publishChunk(value);
        QCOMPARE(log.lines(),
                 (QVector<LogCapture::Line>{{QtDebugMsg, QStringLiteral("a published ") + shown}}));
        a.cut();
        a.publishChunk(value);
        QCOMPARE(log.lines().size(), 1);
    }
};

QTEST_GUILESS_MAIN(BusTest)
#include "tst_bus.moc"
