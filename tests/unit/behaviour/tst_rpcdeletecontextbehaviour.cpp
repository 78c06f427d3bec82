#include "rpcdeletecontextbehaviour.h"

#include "rpcfixture.h"

#include <QLoggingCategory>

namespace {

const char categoryName[] = "ch.tessel.vexo-service.context.rpcdeletecontextbehaviour";
const QString exchange = QStringLiteral("vexo-context-rpc-delete");

QString removed(const QString &id)
{
    return QStringLiteral(R"({"data":{"contextId":"%1"},"exchange":"context-removed"})").arg(id);
}

} // namespace

class RpcDeleteContextBehaviourTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void idComesFromContext_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("left");
        const auto row = [](const char *name, const char *body, const char *id, const char *left) {
            QTest::newRow(name) << QString::fromLatin1(body) << QString::fromLatin1(id)
                                << QString::fromLatin1(left);
        };
        const char all[] = R"({"":{"n":0},"*":{"n":1},"a":{"n":2},"b":{"n":3}})";
        row("known id", R"({"context":"a"})", "a", R"({"":{"n":0},"*":{"n":1},"b":{"n":3}})");
        row("unknown id", R"({"context":"z"})", "z", all);
        const char withoutEmpty[] = R"({"*":{"n":1},"a":{"n":2},"b":{"n":3}})";
        row("empty id", R"({"context":""})", "", withoutEmpty);
        row("_id is not read", R"({"_id":"a"})", "", withoutEmpty);
        row("number", R"({"context":12})", "", withoutEmpty);
        row("no body", "", "", withoutEmpty);
        row("array as body", R"(["a"])", "", withoutEmpty);
        row("null as body", "null", "", withoutEmpty);
        row("star is no wildcard", R"({"context":"*"})", "*", R"({"":{"n":0},"a":{"n":2},"b":{"n":3}})");
        row("rest of the body stays behind", R"({"context":"a","x":1})", "a",
            R"({"":{"n":0},"*":{"n":1},"b":{"n":3}})");
    }
    void idComesFromContext()
    {
        QFETCH(QString, body);
        QFETCH(QString, id);
        QFETCH(QString, left);
        ContextStore store;
        int number = 0;
        for (const char *known : {"", "*", "a", "b"})
            store.contexts.setContext(QLatin1String(known), QJsonObject{{QStringLiteral("n"), number++}});
        store.bus.chunks.clear();
        RpcDeleteContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, body));
        QCOMPARE(published(store),
                 QStringList({removed(id), answer(QStringLiteral(R"({"context":"%1"})").arg(id))}));
        QCOMPARE(contents(store), left);
    }

    void withoutABusTheContextStillGoes()
    {
        ContextStore store;
        store.contexts.setContext(QStringLiteral("a"), QJsonObject());
        store.proxy.setChunkService(nullptr);
        RpcDeleteContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"context":"a"})")));
        QCOMPARE(contents(store), QStringLiteral("{}"));
        QVERIFY(store.bus.chunks.isEmpty());
    }

    void otherChunksAreIgnored()
    {
        checkIgnoresOtherChunks<RpcDeleteContextBehaviour>(exchange, QStringLiteral(R"({"context":"a"})"),
                                                           categoryName);
    }

    void categoryIsNamedAndSilent()
    {
        QCOMPARE(rpcDeleteContextBehaviourLogging().categoryName(), categoryName);
        const LogCapture log(categoryName);
        ContextStore store;
        RpcDeleteContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral("5")));
        QVERIFY(log.lines().isEmpty());
    }
};

QTEST_GUILESS_MAIN(RpcDeleteContextBehaviourTest)
#include "tst_rpcdeletecontextbehaviour.moc"
