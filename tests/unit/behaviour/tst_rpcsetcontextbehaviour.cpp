#include "rpcsetcontextbehaviour.h"

#include "rpcfixture.h"

#include <QLoggingCategory>

namespace {
const char categoryName[] = "ch.tessel.vexo-service.context.rpcsetcontextbehaviour";
const QString exchange = QStringLiteral("vexo-context-rpc-set");
} // namespace

class RpcSetContextBehaviourTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void restOfTheBodyReplacesTheContext_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("applied");
        const auto row = [](const char *name, const char *body, const char *stored, const char *applied) {
            QTest::newRow(name) << QString::fromLatin1(body) << QString::fromLatin1(stored)
                                << QString::fromLatin1(applied);
        };
        row("known id", R"({"_id":"a","x":2})", R"({"*":{},"a":{"matchingItems":[],"x":2}})", R"({"x":2})");
        row("unknown id", R"({"_id":"b","x":2})", R"({"*":{},"a":{"x":1,"y":1},"b":{"x":2}})", R"({"x":2})");
        row("id alone", R"({"_id":"a"})", R"({"*":{},"a":{}})", "{}");
        row("star is no wildcard", R"({"_id":"*","x":2})",
            R"({"*":{"matchingItems":[],"x":2},"a":{"x":1,"y":1}})", R"({"x":2})");
    }
    void restOfTheBodyReplacesTheContext()
    {
        QFETCH(QString, body);
        QFETCH(QString, stored);
        QFETCH(QString, applied);
        ContextStore store;
        store.contexts.setContext(QStringLiteral("*"), QJsonObject());
        store.contexts.setContext(QStringLiteral("a"), json(QStringLiteral(R"({"x":1,"y":1})")));
        store.bus.chunks.clear();
        RpcSetContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, body));
        QCOMPARE(contents(store), stored);
        QCOMPARE(published(store).last(), answer(applied));
        QCOMPARE(published(store).filter(QStringLiteral("correlation-id")).size(), 1);
    }

    void answerFollowsTheChange()
    {
        ContextStore store;
        RpcSetContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"_id":"a","x":2})")));
        QCOMPARE(store.events.size(), 3);
        QCOMPARE(store.events.at(0), QStringLiteral(R"(chunk {"x":2} {"x":2})"));
        QCOMPARE(store.events.at(1), QStringLiteral(R"(signal a {"x":2})"));
        QCOMPARE(published(store).at(1), answer(QStringLiteral(R"({"x":2})")));
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
        row("null", R"({"_id":null})", R"(QJsonObject({"_id":null}))");
        row("under context", R"({"context":"a"})", R"(QJsonObject({"context":"a"}))");
        row("no body", "", "QJsonObject()");
        row("array as body", "[1]", "QJsonObject()");
        row("text as body", R"("a")", "QJsonObject()");
    }
    void requestWithoutAnIdIsIgnored()
    {
        QFETCH(QString, body);
        QFETCH(QString, logged);
        const LogCapture log(categoryName);
        ContextStore store;
        RpcSetContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, body));
        QCOMPARE(contents(store), QStringLiteral("{}"));
        QVERIFY(store.bus.chunks.isEmpty());
        QCOMPARE(log.lines(), QVector<LogCapture::Line>(
                                  {{QtWarningMsg, QStringLiteral("Set context with empty _id ignored.")},
                                   {QtDebugMsg, logged}}));
    }

    void withoutABusTheContextIsStillSet()
    {
        const LogCapture log(categoryName);
        ContextStore store;
        store.proxy.setChunkService(nullptr);
        RpcSetContextBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"_id":"a","x":2})")));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{"x":2}})"));
        QVERIFY(store.bus.chunks.isEmpty());
        QVERIFY(log.lines().isEmpty());
    }

    void otherChunksAreIgnored()
    {
        checkIgnoresOtherChunks<RpcSetContextBehaviour>(exchange, QStringLiteral(R"({"_id":"a","x":2})"),
                                                        categoryName);
    }

    void categoryIsNamed() { QCOMPARE(rpcSetContextBehaviourLogging().categoryName(), categoryName); }
};

QTEST_GUILESS_MAIN(RpcSetContextBehaviourTest)
#include "tst_rpcsetcontextbehaviour.moc"
