#include "rpccreatecontextbehaviour.h"

#include "rpcfixture.h"

#include <QLoggingCategory>

namespace {
const char categoryName[] = "ch.tessel.vexo-service.context.rpccreatecontextbehaviour";
const QString exchange = QStringLiteral("vexo-context-rpc-create");
} // namespace

class RpcCreateContextBehaviourTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void contextHoldsTheBodyAndItsId_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("stored");
        const auto row = [](const char *name, const char *body, const char *stored) {
            QTest::newRow(name) << QString::fromLatin1(body) << QString::fromLatin1(stored);
        };
        row("body", R"({"x":{"y":[1]}})", R"({"_id":"%1","x":{"y":[1]}})");
        row("id of the sender's own", R"({"_id":"abc","x":1})", R"({"_id":"%1","x":1})");
        row("id of another type", R"({"_id":{"a":1}})", R"({"_id":"%1"})");
        row("derived keys", R"({"matchingItems":[1],"inbox":2})",
            R"({"_id":"%1","inbox":2,"matchingItems":[1]})");
        row("empty body", "{}", R"({"_id":"%1"})");
        row("no body", "", R"({"_id":"%1"})");
        row("array as body", "[1,2]", R"({"_id":"%1"})");
        row("text as body", R"("x")", R"({"_id":"%1"})");
        row("null as body", "null", R"({"_id":"%1"})");
    }
    void contextHoldsTheBodyAndItsId()
    {
        QFETCH(QString, body);
        QFETCH(QString, stored);
        ContextStore store;
        RpcCreateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, body));
        QCOMPARE(store.contexts.getContextKeys().size(), 1);
        const QString id = store.contexts.getContextKeys().constFirst();
        QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9]{16}$")).match(id).hasMatch());
        stored = stored.arg(id);
        QCOMPARE(contents(store), QStringLiteral(R"({"%1":%2})").arg(id, stored));
        const QStringList chunks = published(store);
        QCOMPARE(chunks.size(), 3);
        QVERIFY2(chunks.at(0).contains(QLatin1String("\"context-created\"")), qPrintable(chunks.at(0)));
        QVERIFY2(chunks.at(1).contains(QLatin1String("\"context-changed\"")), qPrintable(chunks.at(1)));
        QCOMPARE(chunks.at(2), answer(stored));
    }

    void withoutABusTheContextIsStillCreated()
    {
        ContextStore store;
        store.proxy.setChunkService(nullptr);
        RpcCreateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"x":1})")));
        QCOMPARE(store.contexts.getContextKeys().size(), 1);
        const QString id = store.contexts.getContextKeys().constFirst();
        QCOMPARE(contents(store), QStringLiteral(R"({"%1":{"_id":"%1","x":1}})").arg(id));
        QVERIFY(store.bus.chunks.isEmpty());
    }

    void busThatGoesDuringTheRequestGetsNoAnswer()
    {
        ContextStore store;
        store.onPublish = [&store] { store.proxy.setChunkService(nullptr); };
        RpcCreateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral("{}")));
        QCOMPARE(store.bus.chunks.size(), 1);
        QCOMPARE(store.bus.chunks.at(0)[QLatin1String("exchange")].toString(),
                 QStringLiteral("context-created"));
        QCOMPARE(store.contexts.getContextKeys().size(), 1);
    }

    void otherChunksAreIgnored()
    {
        checkIgnoresOtherChunks<RpcCreateContextBehaviour>(exchange, QStringLiteral("{}"), categoryName);
    }

    void categoryIsNamedAndSilent()
    {
        QCOMPARE(rpcCreateContextBehaviourLogging().categoryName(), categoryName);
        const LogCapture log(categoryName);
        ContextStore store;
        RpcCreateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral("5")));
        QVERIFY(log.lines().isEmpty());
    }
};

QTEST_GUILESS_MAIN(RpcCreateContextBehaviourTest)
#include "tst_rpccreatecontextbehaviour.moc"
