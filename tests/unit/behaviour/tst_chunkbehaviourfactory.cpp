#include "chunkbehaviourfactory.h"

#include "addactionrequestsbehaviour.h"
#include "addmatchingitemsbehaviour.h"
#include "rpccreatecontextbehaviour.h"
#include "rpcdeletecontextbehaviour.h"
#include "rpcfixture.h"
#include "rpcgetfilebehaviour.h"
#include "rpcsetcontextbehaviour.h"
#include "rpcupdatecontextbehaviour.h"

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
        std::vector<std::unique_ptr<ChunkBehaviour>> set;
        for (ChunkBehaviour *behaviour :
             ChunkBehaviourFactory(store.proxy, store.contexts).createBehaviours())
            set.emplace_back(behaviour);
        QCOMPARE(set.size(), std::size_t(7));
        QVERIFY(is<RpcCreateContextBehaviour>(set.at(0)));
        QVERIFY(is<RpcDeleteContextBehaviour>(set.at(1)));
        QVERIFY(is<RpcGetFileBehaviour>(set.at(2)));
        QVERIFY(is<RpcSetContextBehaviour>(set.at(3)));
        QVERIFY(is<RpcUpdateContextBehaviour>(set.at(4)));
        QVERIFY(is<AddMatchingItemsBehaviour>(set.at(5)));
        QVERIFY(is<AddActionRequestsBehaviour>(set.at(6)));
    }

    void everyCallMakesANewSet()
    {
        ContextStore store;
        ChunkBehaviourFactory factory(store.proxy, store.contexts);
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
        store.contexts.setBehaviours(ChunkBehaviourFactory(other.proxy, store.contexts).createBehaviours());
        store.contexts.pushChunk(
            request(QStringLiteral("vexo-context-rpc-set"), QStringLiteral(R"({"_id":"a"})")));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{}})"));
        QCOMPARE(contents(other), QStringLiteral("{}"));
        QCOMPARE(published(store), QStringList());
        QCOMPARE(published(other), QStringList(answer(QStringLiteral("{}"))));
    }
};

QTEST_GUILESS_MAIN(ChunkBehaviourFactoryTest)
#include "tst_chunkbehaviourfactory.moc"
