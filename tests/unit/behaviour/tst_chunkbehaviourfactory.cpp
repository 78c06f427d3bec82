#include "chunkbehaviourfactory.h"

#include "addactionrequestsbehaviour.h"
#include "addmatchingitemsbehaviour.h"
#include "addmessagesbehaviour.h"
#include "behaviour/newcontextbehaviour.h"
#include "messages.h"
#include "messageservice.h"
#include "rpccreatecontextbehaviour.h"
#include "rpcdeletecontextbehaviour.h"
#include "rpcfixture.h"
#include "rpcsetcontextbehaviour.h"
#include "rpcupdatecontextbehaviour.h"
#include "structure/chunk/addmessage.h"

#include <QLoggingCategory>

#include <memory>

namespace {

template <typename Behaviour>
bool is(const std::unique_ptr<ChunkBehaviour> &behaviour)
{
    return dynamic_cast<const Behaviour *>(behaviour.get()) != nullptr;
}

} // namespace

class ChunkBehaviourFactoryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void setIsInItsOrder()
    {
        ContextStore store;
        MessageService messages;
        std::vector<std::unique_ptr<ChunkBehaviour>> set;
        for (ChunkBehaviour *behaviour :
             ChunkBehaviourFactory(store.proxy, store.contexts, messages).createBehaviours())
            set.emplace_back(behaviour);
        QCOMPARE(set.size(), std::size_t(8));
        QVERIFY(is<RpcCreateContextBehaviour>(set.at(0)));
        QVERIFY(is<RpcDeleteContextBehaviour>(set.at(1)));
        QVERIFY(is<RpcSetContextBehaviour>(set.at(2)));
        QVERIFY(is<RpcUpdateContextBehaviour>(set.at(3)));
        QVERIFY(is<AddMatchingItemsBehaviour>(set.at(4)));
        QVERIFY(is<AddMessagesBehaviour>(set.at(5)));
        QVERIFY(is<AddActionRequestsBehaviour>(set.at(6)));
        QVERIFY(is<NewContextBehaviour>(set.at(7)));
    }

    void everyCallMakesANewSet()
    {
        ContextStore store;
        MessageService messages;
        ChunkBehaviourFactory factory(store.proxy, store.contexts, messages);
        const std::vector<ChunkBehaviour *> first = factory.createBehaviours();
        const std::vector<ChunkBehaviour *> second = factory.createBehaviours();
        QVERIFY(first.front() != second.front());
        store.contexts.setBehaviours(std::vector<ChunkBehaviour *>(first));
        store.contexts.setBehaviours(std::vector<ChunkBehaviour *>(second));
        store.contexts.pushChunk(
            request(QStringLiteral("vexo-context-rpc-set"), QStringLiteral(R"({"_id":"a"})")));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{}})"));
    }

    void setWorksOnTheGivenStoreAndBus()
    {
        ContextStore store;
        ContextStore other;
        MessageService messages;
        store.contexts.setBehaviours(
            ChunkBehaviourFactory(other.proxy, store.contexts, messages).createBehaviours());
        store.contexts.pushChunk(
            request(QStringLiteral("vexo-context-rpc-set"), QStringLiteral(R"({"_id":"a"})")));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{}})"));
        QCOMPARE(contents(other), QStringLiteral("{}"));
        QCOMPARE(published(store), QStringList());
        QCOMPARE(published(other), QStringList(answer(QStringLiteral("{}"))));
        QVERIFY(!messages.hasMessages());
        store.contexts.pushChunk(structure::chunk::AddMessage::create(message("a")));
        QVERIFY(messages.hasMessages());
    }
};

QTEST_GUILESS_MAIN(ChunkBehaviourFactoryTest)
#include "tst_chunkbehaviourfactory.moc"
