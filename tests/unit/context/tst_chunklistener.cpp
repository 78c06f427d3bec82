#include "chunklistener.h"

#include "carddirectory.h"
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

// Reads the card of the cardholder "1".
class CardReader final : public ChunkBehaviour
{
public:
    CardReader(CardService &cards, QStringList &numbers)
        : m_cards(cards)
        , m_numbers(numbers)
    {
    }
    void onChunk(const QJsonValue & /*chunk*/) override
    {
        m_numbers.append(m_cards.getInitialCard(QStringLiteral("1")));
    }

private:
    CardService &m_cards;
    QStringList &m_numbers;
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
        ChunkListener listener(store.cards, store.contexts);
        listener.onChunkUpdated(json(chunk));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(chunk));
        QCOMPARE(jsonText(store.contexts.getContext(chunk)), chunk);
    }

    void cardIsKeptBeforeABehaviourSeesItsChunk()
    {
        ContextStore store;
        QStringList numbers;
        store.contexts.setBehaviours({new CardReader(store.cards, numbers)});
        ChunkListener listener(store.cards, store.contexts);
        for (const char *number : {"10", "11"})
            listener.onChunkUpdated(
                cardChunk(QStringLiteral("Vexo"), cardXml(QStringLiteral("1"), QString::fromLatin1(number))));
        QCOMPARE(numbers, QStringList({QStringLiteral("10"), QStringLiteral("11")}));
    }

    void behavioursMayPublishFromInside()
    {
        ContextStore store;
        store.contexts.setBehaviours({new StoringBehaviour(store.contexts)});
        ChunkListener listener(store.cards, store.contexts);
        ChunkUpdateListener &door = listener;
        door.onChunkUpdated(QJsonValue::Null);
        QCOMPARE(store.events, QStringList(QStringLiteral("removed null")));
    }
};

QTEST_GUILESS_MAIN(ChunkListenerTest)
#include "tst_chunklistener.moc"
