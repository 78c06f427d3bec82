#include "rpcupdatecontextbehaviour.h"

#include "rpcfixture.h"

#include <QLoggingCategory>

namespace {
const char categoryName[] = "ch.tessel.vexo-service.context.rpcupdatecontextbehaviour";
const QString exchange = QStringLiteral("vexo-context-rpc-update");
} // namespace

class RpcUpdateContextBehaviourTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void restOfTheBodyIsMergedIn_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("applied");
        const auto row = [](const char *name, const char *body, const char *stored, const char *applied) {
            QTest::newRow(name) << QString::fromLatin1(body) << QString::fromLatin1(stored)
                                << QString::fromLatin1(applied);
        };
        row("known id", R"({"_id":"b","x":2})",
            R"({"a":{"_id":"a","n":1},"b":{"matchingItems":[],"n":2,"x":2},"c":[3]})", R"({"x":2})");
        row("unknown id", R"({"_id":"z","x":2})",
            R"({"a":{"_id":"a","n":1},"b":{"n":2},"c":[3],"z":{"x":2}})", R"({"x":2})");
        row("context that is no object", R"({"_id":"c","x":2})",
            R"({"a":{"_id":"a","n":1},"b":{"n":2},"c":[3]})", R"({"x":2})");
        row("nothing to merge", R"({"_id":"a"})", R"({"a":{"_id":"a","n":1},"b":{"n":2},"c":[3]})", "{}");
        row("star reaches all", R"({"_id":"*","x":2})",
            R"({"a":{"_id":"a","matchingItems":[],"n":1,"x":2},"b":{"matchingItems":[],"n":2,"x":2},"c":[3]})",
            R"({"x":2})");
        row("star in a longer id is none", R"({"_id":"**","x":2})",
            R"({"**":{"x":2},"a":{"_id":"a","n":1},"b":{"n":2},"c":[3]})", R"({"x":2})");
    }
    void restOfTheBodyIsMergedIn()
    {
        QFETCH(QString, body);
        QFETCH(QString, stored);
        QFETCH(QString, applied);
        ContextStore store;
        store.contexts.setContext(QStringLiteral("a"), json(QStringLiteral(R"({"_id":"a","n":1})")));
        store.contexts.setContext(QStringLiteral("b"), json(QStringLiteral(R"({"n":2})")));
        store.contexts.setContext(QStringLiteral("c"), json(QStringLiteral("[3]")));
        store.bus.chunks.clear();
        RpcUpdateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, body));
        QCOMPARE(contents(store), stored);
        QCOMPARE(published(store).last(), answer(applied));
        QCOMPARE(published(store).filter(QStringLiteral("correlation-id")).size(), 1);
    }

    void starGoesThroughTheContextsInOrderAndAnswersOnce()
    {
        ContextStore store;
        for (const char *id : {"b", "c", "a"})
            store.contexts.setContext(QLatin1String(id), QJsonObject());
        store.events.clear();
        store.bus.chunks.clear();
        RpcUpdateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"_id":"*","x":2})")));
        const QString changed = QStringLiteral(R"({"matchingItems":[],"x":2})");
        QCOMPARE(store.events.filter(QStringLiteral("signal")),
                 QStringList({QStringLiteral("signal a ") + changed, QStringLiteral("signal b ") + changed,
                              QStringLiteral("signal c ") + changed}));
        QCOMPARE(store.bus.chunks.size(), 4);
        QCOMPARE(published(store).last(), answer(QStringLiteral(R"({"x":2})")));
    }

    void starTakesTheContextsOfTheMoment()
    {
        ContextStore store;
        store.contexts.setContext(QStringLiteral("a"), QJsonObject());
        store.contexts.setContext(QStringLiteral("b"), QJsonObject());
        store.onPublish = [&store] {
            store.onPublish = nullptr;
            store.contexts.deleteContext(QStringLiteral("b"));
            store.contexts.setContext(QStringLiteral("c"), QJsonObject());
        };
        RpcUpdateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"_id":"*","x":2})")));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{"matchingItems":[],"x":2},"b":{"x":2},"c":{}})"));
    }

    void starOverNoContextsIsAnswered()
    {
        ContextStore store;
        RpcUpdateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"_id":"*","x":2})")));
        QCOMPARE(contents(store), QStringLiteral("{}"));
        QCOMPARE(published(store), QStringList(answer(QStringLiteral(R"({"x":2})"))));
    }

    void requestWithoutAnIdIsIgnored_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("logged");
        const auto row = [](const char *name, const char *body, const char *logged) {
            QTest::newRow(name) << QString::fromLatin1(body) << QString::fromLatin1(logged);
        };
        row("missing", R"({"x":1})", R"(QJsonObject({"x":1}))");
        row("empty", R"({"_id":"","x":1})", R"(QJsonObject({"_id":"","x":1}))");
        row("number", R"({"_id":12})", R"(QJsonObject({"_id":12}))");
        row("array with a star", R"({"_id":["*"]})", R"(QJsonObject({"_id":["*"]}))");
        row("no body", "", "QJsonObject()");
        row("array as body", "[1]", "QJsonObject()");
    }
    void requestWithoutAnIdIsIgnored()
    {
        QFETCH(QString, body);
        QFETCH(QString, logged);
        const LogCapture log(categoryName);
        ContextStore store;
        store.contexts.setContext(QStringLiteral("a"), QJsonObject());
        RpcUpdateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, body));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{}})"));
        QVERIFY(store.bus.chunks.isEmpty());
        QCOMPARE(log.lines(), QVector<LogCapture::Line>(
                                  {{QtWarningMsg, QStringLiteral("Update context with empty _id ignored.")},
                                   {QtDebugMsg, logged}}));
    }

    void withoutABusTheContextsStillChange()
    {
        const LogCapture log(categoryName);
        ContextStore store;
        store.contexts.setContext(QStringLiteral("a"), QJsonObject());
        store.proxy.setChunkService(nullptr);
        RpcUpdateContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"_id":"*","x":2})")));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{"matchingItems":[],"x":2}})"));
        QVERIFY(store.bus.chunks.isEmpty());
        QVERIFY(log.lines().isEmpty());
    }

    void otherChunksAreIgnored()
    {
        checkIgnoresOtherChunks<RpcUpdateContextBehaviour>(exchange, QStringLiteral(R"({"_id":"a","x":2})"),
                                                           categoryName);
    }

    void categoryIsNamed() { QCOMPARE(rpcUpdateContextBehaviourLogging().categoryName(), categoryName); }
};

QTEST_GUILESS_MAIN(RpcUpdateContextBehaviourTest)
#include "tst_rpcupdatecontextbehaviour.moc"
