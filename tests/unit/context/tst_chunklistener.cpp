#include "chunklistener.h"

#include "chunkbehaviour.h"
#include "contextstore.h"

#include <QtTest>

namespace {

class StoringBehaviour final : public ChunkBehaviour
{
public:
    explicit StoringBehaviour(ContextService &contexts)
        : m_contexts(contexts)
    {
    }
    void onChunk(const QJsonValue &chunk) override { m_contexts.setContext(jsonText(chunk), chunk); }

private:
    ContextService &m_contexts;
};

} // namespace

class ChunkListenerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyChunkIsPassedOn_data()
    {
        QTest::addColumn<QString>("chunk");
        for (const char *chunk : {"{\"a\":1}", "{}", "[1]", "\"t\"", "5", "false"})
            QTest::newRow(chunk) << QString::fromLatin1(chunk);
    }
    void everyChunkIsPassedOn()
    {
        QFETCH(QString, chunk);
        ContextStore store;
        store.contexts.setBehaviours({new StoringBehaviour(store.contexts)});
        ChunkListener listener(store.contexts);
        listener.onChunkUpdated(json(chunk));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(chunk));
        QCOMPARE(jsonText(store.contexts.getContext(chunk)), chunk);
    }

    void behavioursMayPublishFromInside()
    {
        ContextStore store;
        store.contexts.setBehaviours({new StoringBehaviour(store.contexts)});
        ChunkListener listener(store.contexts);
        ChunkUpdateListener &door = listener;
        door.onChunkUpdated(QJsonValue::Null);
        QCOMPARE(store.events, QStringList(QStringLiteral("removed null")));
    }
};

QTEST_GUILESS_MAIN(ChunkListenerTest)
#include "tst_chunklistener.moc"
