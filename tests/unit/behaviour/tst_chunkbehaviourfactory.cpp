#include "chunkbehaviourfactory.h"

#include "addactionrequestsbehaviour.h"
#include "addmatchingitemsbehaviour.h"
#include "addmessagesbehaviour.h"
#include "behaviour/newcontextbehaviour.h"
#include "carddirectory.h"
#include "messages.h"
#include "removeattachmentsbehaviour.h"
#include "rpccreatecontextbehaviour.h"
#include "rpcdeletecontextbehaviour.h"
#include "rpcfixture.h"
#include "rpcgetfilebehaviour.h"
#include "rpcsetcontextbehaviour.h"
#include "rpcupdatecontextbehaviour.h"
#include "structure/chunk/addmessage.h"
#include "writecardtoxmlbehaviour.h"
#include "writefiletocontextbehaviour.h"
#include "writevekatoxmlbehaviour.h"

#include <QLoggingCategory>

#include <memory>

namespace {

std::vector<std::unique_ptr<ChunkBehaviour>> ownedSet(ContextStore &store)
{
    std::vector<std::unique_ptr<ChunkBehaviour>> set;
    for (ChunkBehaviour *behaviour :
         ChunkBehaviourFactory(store.cards, store.proxy, store.contexts, store.messages).createBehaviours())
        set.emplace_back(behaviour);
    return set;
}

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

    void setIsInItsOrder_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("writesCards");
        QTest::newRow("without the setting") << QStringLiteral("another=key") << false;
        QTest::newRow("with the setting") << QStringLiteral("xml.directory=/some/where") << true;
        QTest::newRow("with an empty setting") << QStringLiteral("xml.directory=") << true;
    }
    void setIsInItsOrder()
    {
        QFETCH(QString, line);
        QFETCH(bool, writesCards);
        const CardDirectory directory;
        QVERIFY(directory.isReady() && directory.setLine(line));
        ContextStore store;
        const auto set = ownedSet(store);
        const std::size_t first = writesCards ? 2 : 0;
        QCOMPARE(set.size(), first + 11);
        if (writesCards) {
            QVERIFY(is<WriteCardToXmlBehaviour>(set.at(0)));
            QVERIFY(is<WriteVekaToXmlBehaviour>(set.at(1)));
        }
        QVERIFY(is<WriteFileToContextBehaviour>(set.at(first)));
        QVERIFY(is<RpcCreateContextBehaviour>(set.at(first + 1)));
        QVERIFY(is<RpcDeleteContextBehaviour>(set.at(first + 2)));
        QVERIFY(is<RpcGetFileBehaviour>(set.at(first + 3)));
        QVERIFY(is<RpcSetContextBehaviour>(set.at(first + 4)));
        QVERIFY(is<RpcUpdateContextBehaviour>(set.at(first + 5)));
        QVERIFY(is<AddMatchingItemsBehaviour>(set.at(first + 6)));
        QVERIFY(is<AddMessagesBehaviour>(set.at(first + 7)));
        QVERIFY(is<AddActionRequestsBehaviour>(set.at(first + 8)));
        QVERIFY(is<RemoveAttachmentsBehaviour>(set.at(first + 9)));
        QVERIFY(is<NewContextBehaviour>(set.at(first + 10)));
    }

    void settingIsThatOfTheSystemAlone()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady() && directory.setLine(QStringLiteral("another=key")));
        QVERIFY(directory.settings().set(QStringLiteral("ch.tessel.vexo-service.context"),
                                         QStringLiteral("xml.directory=/some/where")));
        ContextStore store;
        QVERIFY(is<WriteFileToContextBehaviour>(ownedSet(store).front()));
    }

    void settingThatCannotBeReadIsNone()
    {
        const SettingsDirectory settings;
        QVERIFY(settings.isReady());
        QVERIFY(QDir().mkpath(settings.filePath(QStringLiteral("system/maker/program.ini"))));
        ContextStore store;
        QCOMPARE(ownedSet(store).size(), std::size_t(11));
    }

    void settingIsReadForEachSet()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        ContextStore store;
        QVERIFY(is<WriteCardToXmlBehaviour>(ownedSet(store).front()));
        QVERIFY(directory.setLine(QStringLiteral("another=key")));
        QVERIFY(is<WriteFileToContextBehaviour>(ownedSet(store).front()));
    }

    void cardsComeFromTheGivenStore()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        ContextStore store;
        store.cards.pushChunk(
            cardChunk(QStringLiteral("Vexo"), cardXml(QStringLiteral("1"), QStringLiteral("10"))));
        store.contexts.setBehaviours(
            ChunkBehaviourFactory(store.cards, store.proxy, store.contexts, store.messages)
                .createBehaviours());
        store.contexts.pushChunk(
            cardChunk(QStringLiteral("veka"), QStringLiteral("<unique_id>1</unique_id>")));
        QCOMPARE(directory.files(), QStringList(QStringLiteral("vkc_10.xml")));
    }

    void everyCallMakesANewSet()
    {
        ContextStore store;
        ChunkBehaviourFactory factory(store.cards, store.proxy, store.contexts, store.messages);
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
        store.contexts.setBehaviours(
            ChunkBehaviourFactory(store.cards, other.proxy, store.contexts, store.messages)
                .createBehaviours());
        store.contexts.pushChunk(
            request(QStringLiteral("vexo-context-rpc-set"), QStringLiteral(R"({"_id":"a"})")));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{}})"));
        QCOMPARE(contents(other), QStringLiteral("{}"));
        QCOMPARE(published(store), QStringList());
        QCOMPARE(published(other), QStringList(answer(QStringLiteral("{}"))));
        QVERIFY(!store.messages.hasMessages());
        store.contexts.pushChunk(structure::chunk::AddMessage::create(message("a")));
        QVERIFY(store.messages.hasMessages());
    }
};

QTEST_GUILESS_MAIN(ChunkBehaviourFactoryTest)
#include "tst_chunkbehaviourfactory.moc"
