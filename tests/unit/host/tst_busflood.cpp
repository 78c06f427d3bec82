#include <bus.h>

#include <http/server/request.h>
#include <http/server/response.h>
#include <http/server/server.h>
#include <k7-plugin-api/chunkupdatelistener.h>

#include <QJsonObject>
#include <QSharedPointer>
#include <QTcpSocket>
#include <QtTest>

class CountingListener final : public ChunkUpdateListener
{
public:
    void onChunkUpdated(const QJsonValue & /*chunk*/) override { ++count; }
    int count = 0;
};

/// Answers at once, and keeps how many chunks had been delivered when each request came.
class CountingHandler final : public http::server::RequestHandler
{
public:
    explicit CountingHandler(const CountingListener &listenerToWatch)
        : listener(listenerToWatch)
    {
    }
    void requestReceived(const QSharedPointer<http::server::Request> & /*request*/,
                         const QSharedPointer<http::server::Response> &response) override
    {
        counts.append(listener.count);
        response->writeHead(200);
        response->end("answered");
    }

    const CountingListener &listener;
    QVector<int> counts;
};

class BusFloodTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void requestIsAnsweredWhileAHundredThousandChunksWait()
    {
        constexpr int flood = 100000;
        Bus bus;
        BusEndpoint &publisher = bus.addEndpoint(QStringLiteral("a"));
        CountingListener listener;
        bus.addEndpoint(QStringLiteral("b")).attachChunkListener(&listener);
        CountingHandler handler(listener);
        http::server::Server server({}, handler);
        QCOMPARE(server.listen(QStringLiteral("127.0.0.1"), 0), QString());
        QTcpSocket client;
        client.connectToHost(QStringLiteral("127.0.0.1"), server.port());
        QVERIFY(client.waitForConnected(30000));

        int deliveredAtAnswer = -1;
        connect(&client, &QTcpSocket::readyRead, this, [&] {
            if (deliveredAtAnswer < 0)
                deliveredAtAnswer = listener.count;
        });
        for (int i = 0; i < flood; ++i)
            publisher.publishChunk(QJsonObject{{QStringLiteral("n"), i}});
        client.write("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
        QTRY_COMPARE_WITH_TIMEOUT(listener.count, flood, 60000);

        QCOMPARE(handler.counts.size(), 1);
        QVERIFY2(handler.counts[0] < flood / 10, qPrintable(QString::number(handler.counts[0])));
        QVERIFY2(deliveredAtAnswer >= 0 && deliveredAtAnswer < flood / 10,
                 qPrintable(QString::number(deliveredAtAnswer)));
        QVERIFY(client.readAll().endsWith("answered"));
    }
};

QTEST_GUILESS_MAIN(BusFloodTest)
#include "tst_busflood.moc"
