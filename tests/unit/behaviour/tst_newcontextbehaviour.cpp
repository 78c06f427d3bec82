#include "behaviour/newcontextbehaviour.h"

#include "rpcfixture.h"

#include <QLoggingCategory>

namespace {

const char category[] = "ch.tessel.vexo-service.context.newcontextbehaviour";

QJsonValue announcement(const QString &context)
{
    return json(QStringLiteral(R"({"data":{"event":"new-context","data":%1}})").arg(context));
}

} // namespace

class NewContextBehaviourTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void contextHoldsTheAnnouncedObjectAndItsId_data()
    {
        QTest::addColumn<QString>("announced");
        QTest::addColumn<QString>("stored");
        const auto row = [](const char *name, const char *announced, const char *stored) {
            QTest::newRow(name) << QString::fromLatin1(announced) << QString::fromLatin1(stored);
        };
        row("object", R"({"patient":{"id":[1]}})", R"({"_id":"%1","patient":{"id":[1]}})");
        row("id of the sender's own", R"({"_id":"abc","x":1})", R"({"_id":"%1","x":1})");
        row("id of another type", R"({"_id":{"a":1}})", R"({"_id":"%1"})");
        row("derived keys", R"({"matchingItems":[1],"inbox":2})",
            R"({"_id":"%1","inbox":2,"matchingItems":[1]})");
        row("empty object", "{}", R"({"_id":"%1"})");
    }
    void contextHoldsTheAnnouncedObjectAndItsId()
    {
        QFETCH(QString, announced);
        QFETCH(QString, stored);
        ContextStore store;
        NewContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(announcement(announced));
        QCOMPARE(store.contexts.getContextKeys().size(), 1);
        const QString id = store.contexts.getContextKeys().constFirst();
        QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9]{16}$")).match(id).hasMatch());
        QCOMPARE(contents(store), QStringLiteral(R"({"%1":%2})").arg(id, stored.arg(id)));
    }

    void storeAloneTellsOfIt()
    {
        ContextStore store;
        NewContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(json(QStringLiteral(
            R"({"data":{"event":"new-context","data":{"x":1}},"properties":{"reply-to":"123456789r"}})")));
        const QString id = store.contexts.getContextKeys().constFirst();
        const QString stored = QStringLiteral(R"({"_id":"%1","x":1})").arg(id);
        QCOMPARE(store.events,
                 (QStringList{QStringLiteral("created ") + id, QStringLiteral("chunk %1 %1").arg(stored),
                              QStringLiteral("signal %1 %2").arg(id, stored)}));
        QCOMPARE(store.bus.chunks.size(), 2);
    }

    void withoutABusTheContextIsStillCreated()
    {
        ContextStore store;
        store.proxy.setChunkService(nullptr);
        NewContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(announcement(QStringLiteral("{}")));
        QCOMPARE(store.contexts.getContextKeys().size(), 1);
        QVERIFY(store.bus.chunks.isEmpty());
    }

    void sameAnnouncementMakesAnotherContext()
    {
        ContextStore store;
        NewContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(announcement(QStringLiteral(R"({"x":1})")));
        behaviour.onChunk(announcement(QStringLiteral(R"({"x":1})")));
        const QStringList ids = store.contexts.getContextKeys();
        QCOMPARE(ids.size(), 2);
        for (const QString &id : ids)
            QCOMPARE(jsonText(store.contexts.getContext(id)),
                     QStringLiteral(R"({"_id":"%1","x":1})").arg(id));
    }

    void announcementIsLoggedBeforeItIsStored()
    {
        QCOMPARE(NewContextBehaviourLogging().categoryName(), category);
        const LogCapture log(category);
        ContextStore store;
        QVector<int> linesWhenPublished;
        store.onPublish = [&] { linesWhenPublished.append(log.lines().size()); };
        NewContextBehaviour behaviour(store.contexts);
        QVERIFY(log.lines().isEmpty());
        behaviour.onChunk(announcement(QStringLiteral(R"({"x":1})")));
        // The announcement of the new id is the first, the change the second.
        QCOMPARE(linesWhenPublished, (QVector<int>{1, 1}));
        QCOMPARE(log.lines().size(), 1);
        const QString line = QStringLiteral("Received new context chunk:  QJsonValue(object, QJsonObject("
                                            R"({"data":{"data":{"x":1},"event":"new-context"}})))");
        QVERIFY2(log.contains(QtDebugMsg, line), qPrintable(log.lines().constFirst().text));
    }

    void otherChunksAreIgnored_data()
    {
        QTest::addColumn<QString>("chunk");
        const auto row = [](const char *name, const char *chunk) {
            QTest::newRow(name) << QString::fromLatin1(chunk);
        };
        row("no context", R"({"data":{"event":"new-context"}})");
        row("context as array", R"({"data":{"event":"new-context","data":[{}]}})");
        row("event at the top", R"({"event":"new-context","data":{"x":1}})");
        row("another event", R"({"data":{"event":"context-changed","data":{"x":1}}})");
        row("event as exchange", R"({"exchange":"new-context","data":{"data":{}}})");
        row("array", R"([{"data":{"event":"new-context","data":{}}}])");
        row("null", "null");
    }
    void otherChunksAreIgnored()
    {
        QFETCH(QString, chunk);
        const LogCapture log(category);
        ContextStore store;
        NewContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(json(chunk));
        QVERIFY(store.contexts.getContextKeys().isEmpty());
        QVERIFY(store.bus.chunks.isEmpty());
        QVERIFY(log.lines().isEmpty());
    }
};

QTEST_GUILESS_MAIN(NewContextBehaviourTest)
#include "tst_newcontextbehaviour.moc"
