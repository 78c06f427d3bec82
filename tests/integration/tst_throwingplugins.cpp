#include "hostlog.h"
#include "hostprocess.h"
#include "problem.h"
#include "processfigures.h"
#include "rawclient.h"
#include "wellbehavedclient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <optional>
#include <vector>

namespace {

constexpr int clientCount = 20;
constexpr int batches = 100;
/// Batches until all that is made once is made.
constexpr int warmUp = 20;

QByteArray get(const QByteArray &path)
{
    return "GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

QByteArray send(const QByteArray &line, const QByteArray &body)
{
    return line + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + QByteArray::number(body.size())
           + "\r\n\r\n" + body;
}

} // namespace

/// Plug-ins that throw again and again, under load, while all that do not are served.
class ThrowingPluginsTest final : public QObject
{
    Q_OBJECT

    std::optional<HostProcess> host;
    std::optional<ProcessFigures> figures;
    std::optional<WellBehavedClient> other;
    std::vector<RawClient> clients;
    qint64 memoryBefore = 0;

    [[nodiscard]] QByteArray ask(const QByteArray &bytes) const
    {
        RawClient client(host->port());
        client.send(bytes);
        return client.readAnswer();
    }

    /// Runs the batches, each with a well-behaved round in the middle.
    template <typename Ask, typename Verify>
    void runBatches(Ask &&ask, Verify &&verify)
    {
        for (int batch = 1; batch <= batches; ++batch) {
            for (RawClient &client : clients)
                ask(client, batch);
            QCOMPARE(other->round(), QByteArray());
            verify(batch);
            if (QTest::currentTestFailed())
                return;
            if (batch == warmUp)
                memoryBefore = figures->residentBytes();
        }
    }
    /// Too little for an object that each of them leaves behind.
    void verifyGrowth(int throwsAClient)
    {
        verifyMemoryGrowth(figures->residentBytes() - memoryBefore,
                           64 * (batches - warmUp) * clientCount * throwsAClient);
    }

private Q_SLOTS:
    void init()
    {
        host.emplace(QStringList{QStringLiteral("--plugin"), QStringLiteral(TEST_PLUGIN_DIR "/libfirst.so"),
                                 QStringLiteral("--plugin"), QStringLiteral(TEST_PLUGIN_DIR "/libsecond.so"),
                                 QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)});
        QVERIFY2(host->start(), host->readLog().constData());
        figures.emplace(host->process.processId());
        other.emplace(host->port());
        for (int i = 0; i < clientCount; ++i)
            clients.emplace_back(host->port());
    }
    void cleanup()
    {
        clients.clear();
        other.reset();
        host.reset();
    }

    void controllersAndStrategies()
    {
        QVERIFY(ask(send("PUT /context/kept", R"({"a":1})")).startsWith("HTTP/1.1 201 "));
        const QByteArray requests = get("/first/throw") + get("/context/kept") + get("/first/throw-number")
                                    + get("/second/hello") + get("/first/strategy-throw");
        runBatches([&](RawClient &client, int) { client.send(requests); },
                   [&](int batch) {
                       for (RawClient &client : clients) {
                           QVERIFY(isProblem(client.readAnswer(), 500));
                           QVERIFY(client.readAnswer().endsWith("\r\n\r\n{\n    \"a\": 1\n}\n"));
                           QVERIFY(isProblem(client.readAnswer(), 500));
                           QVERIFY(client.readAnswer().endsWith("\r\n\r\nsecond"));
                           QVERIFY(isProblem(client.readAnswer(), 500));
                       }
                       QVERIFY(waitForLog(*host, "A strategy has thrown: ", batch * clientCount));
                   });
        verifyGrowth(3);
        QVERIFY(stopHost(*host));
        QStringList released = pluginLog(*host).filter(QStringLiteral("release"));
        for (const char *controller :
             {"first release throw", "first release throw-number", "second release hello"})
            QCOMPARE(released.removeAll(QLatin1String(controller)), batches * clientCount);
        QCOMPARE(released, QStringList());
        QCOMPARE(host->readLog().count(R"(A controller has thrown: "thrown on purpose")"),
                 batches * clientCount);
        QCOMPARE(host->readLog().count("A controller has thrown: "), 2 * batches * clientCount);
    }

    void listeners()
    {
        int id = 0;
        const QByteArray thrown = R"(A listener of "second" has thrown: "thrown on purpose")";
        runBatches(
            [&](RawClient &client, int) {
                client.send(send("POST /first/publish",
                                 R"({"throw":1,"exchange":"vexo-context-add-messages","messages":[{"id":")"
                                     + QByteArray::number(++id) + R"(","title":"t","text":"t"}]})"));
            },
            [&](int batch) {
                for (RawClient &client : clients)
                    QVERIFY(client.readAnswer().startsWith("HTTP/1.1 200 "));
                QVERIFY(waitForLog(*host, thrown, batch * clientCount));
                // Each chunk has reached the listener behind the one that throws.
                const QByteArray all = ask(send("POST /message", {}));
                const QJsonArray messages =
                    QJsonDocument::fromJson(all.mid(all.indexOf("\r\n\r\n") + 4)).array();
                QCOMPARE(messages.size(), clientCount);
                QJsonArray ids;
                for (const QJsonValue &message : messages)
                    ids.append(message[QLatin1String("id")]);
                for (int i = 0; i < clientCount; ++i)
                    QVERIFY(ids.contains(QString::number(id - i)));
                QVERIFY(ask(send("POST /message", QJsonDocument(ids).toJson())).endsWith("\r\n\r\n[\n]\n"));
            });
        verifyGrowth(1);
        QVERIFY(stopHost(*host));
        QCOMPARE(host->readLog().count("has thrown"), batches * clientCount);
    }
};

QTEST_GUILESS_MAIN(ThrowingPluginsTest)
#include "tst_throwingplugins.moc"
