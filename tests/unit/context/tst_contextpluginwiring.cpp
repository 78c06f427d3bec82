#include "contextplugin.h"

#include "cardservice.h"
#include "chunkbehaviour.h"
#include "chunkbehaviourfactory.h"
#include "chunklistener.h"
#include "chunkserviceproxy.h"
#include "contextservice.h"
#include "controller/contextcontrollerstrategy.h"
#include "fileservice.h"
#include "messageservice.h"
#include "recordingchunkservice.h"

#include <QJsonObject>
#include <QLoggingCategory>
#include <QtTest>

#include <array>
#include <cstdlib>
#include <new>

struct ContextPluginProbe
{
    /// One letter for each owning field that is set, in field order.
    static QString fieldsSet(const ContextPlugin &plugin)
    {
        QString text;
        text += QLatin1String(plugin.m_contextControllerStrategy ? "R" : "-");
        text += QLatin1String(plugin.m_cardService ? "K" : "-");
        text += QLatin1String(plugin.m_contextService ? "C" : "-");
        text += QLatin1String(plugin.m_messageService ? "M" : "-");
        text += QLatin1String(plugin.m_chunkListener ? "L" : "-");
        text += QLatin1String(plugin.m_chunkServiceProxy ? "P" : "-");
        text += QLatin1String(plugin.m_fileService ? "F" : "-");
        return text;
    }
    static CardService *cards(const ContextPlugin &plugin) { return plugin.m_cardService.get(); }
    static ChunkServiceProxy *proxy(const ContextPlugin &plugin) { return plugin.m_chunkServiceProxy.get(); }
    static FileService *files(const ContextPlugin &plugin) { return plugin.m_fileService.get(); }
    static ContextService *contexts(const ContextPlugin &plugin) { return plugin.m_contextService.get(); }
    static MessageService *messages(const ContextPlugin &plugin) { return plugin.m_messageService.get(); }
    static ChunkListener *listener(const ContextPlugin &plugin) { return plugin.m_chunkListener.get(); }
};

namespace {

struct Recorder
{
    QStringList journal;
    ContextPlugin *plugin = nullptr;
    CardService *cards = nullptr;
    ChunkServiceProxy *proxy = nullptr;
    FileService *files = nullptr;
    ContextService *contexts = nullptr;
    MessageService *strategyMessages = nullptr;
    ChunkService *strategyBus = nullptr;
    CardService *factoryCards = nullptr;
    ChunkServiceProxy *factoryProxy = nullptr;
    ContextService *factoryContexts = nullptr;
    MessageService *factoryMessages = nullptr;

    void note(const char *event)
    {
        journal.append(QLatin1String(event) + QLatin1Char(' ')
                       + (plugin != nullptr ? ContextPluginProbe::fieldsSet(*plugin) : QString()));
    }
};

Recorder *recorder = nullptr;

// The cards, the proxy and the listener have no destructor to look into: their memory tells when they go.
struct Watched
{
    const void *address;
    const char *event;
};
std::array<Watched, 3> watched{};

void noteFreed(const void *address)
{
    for (Watched &item : watched) {
        if (address != nullptr && item.address == address) {
            item.address = nullptr;
            recorder->note(item.event);
        }
    }
}

class SilentBehaviour final : public ChunkBehaviour
{
public:
    void onChunk(const QJsonValue & /*chunk*/) override { }
};

std::vector<ChunkBehaviour *> madeBehaviours()
{
    static SilentBehaviour first;
    static SilentBehaviour second;
    return {&first, &second};
}

} // namespace

void *operator new(std::size_t size)
{
    if (void *memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void *memory) noexcept
{
    noteFreed(memory);
    std::free(memory);
}
void operator delete(void *memory, std::size_t /*size*/) noexcept
{
    noteFreed(memory);
    std::free(memory);
}

CardService::CardService()
{
    recorder->note("+cards");
    recorder->cards = this;
}
void CardService::pushChunk(const QJsonValue &chunk)
{
    recorder->cards = this;
    recorder->note(chunk[QLatin1String("x")].toInt() == 7 ? "card x" : "card");
}

FileService::FileService()
{
    recorder->note("+files");
}
FileService::~FileService()
{
    recorder->note("-files");
}

MessageService::MessageService()
{
    recorder->note("+messages");
}
MessageService::~MessageService()
{
    recorder->note("-messages");
}

ContextService::ContextService(ChunkServiceProxy &proxy, FileService &files)
    : m_chunkServiceProxy(proxy)
    , m_fileService(files)
{
    recorder->note("+contexts");
    recorder->proxy = &proxy;
    recorder->files = &files;
}
ContextService::~ContextService()
{
    recorder->note("-contexts");
}
void ContextService::pushChunk(const QJsonValue &chunk)
{
    recorder->contexts = this;
    recorder->note(chunk[QLatin1String("x")].toInt() == 7 ? "pushChunk x" : "pushChunk");
}
void ContextService::setContext(const QString & /*id*/, QJsonValue /*value*/)
{
    recorder->note("setContext");
}

void ContextService::setBehaviours(std::vector<ChunkBehaviour *> &&behaviours)
{
    recorder->contexts = this;
    recorder->note(behaviours == madeBehaviours() ? "=behaviours" : "=other behaviours");
}

ChunkBehaviourFactory::ChunkBehaviourFactory(CardService &cardService, ChunkServiceProxy &chunkServiceProxy,
                                             ContextService &contextService, MessageService &messageService)
    : m_cardService(cardService)
    , m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
    , m_messageService(messageService)
{
}
std::vector<ChunkBehaviour *> ChunkBehaviourFactory::createBehaviours()
{
    recorder->note("+behaviours");
    recorder->factoryCards = &m_cardService;
    recorder->factoryProxy = &m_chunkServiceProxy;
    recorder->factoryContexts = &m_contextService;
    recorder->factoryMessages = &m_messageService;
    return madeBehaviours();
}

ContextControllerStrategy::ContextControllerStrategy(ContextService &contextService,
                                                     MessageService &messageService)
    : m_contextService(contextService)
    , m_messageService(messageService)
    , m_changeRouter(contextService)
{
    recorder->note("+routes");
    recorder->contexts = &contextService;
    recorder->strategyMessages = &m_messageService;
}
ContextControllerStrategy::~ContextControllerStrategy()
{
    recorder->note("-routes");
    recorder->note(recorder->plugin->getControllers().empty() ? "list empty" : "list filled");
}
http::Controller *
ContextControllerStrategy::createController(QSharedPointer<http::server::Request> /*request*/)
{
    return nullptr;
}
void ContextControllerStrategy::setChunkService(ChunkService *chunkService)
{
    recorder->note(ContextPluginProbe::proxy(*recorder->plugin)->getChunkService() == chunkService
                       ? "routes get the bus after the proxy"
                       : "routes get the bus first");
    recorder->strategyBus = chunkService;
}

class ContextPluginWiringTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_recorder = Recorder();
        recorder = &m_recorder;
        m_plugin = std::make_unique<ContextPlugin>();
        m_recorder.plugin = m_plugin.get();
    }
    void cleanup() { m_plugin.reset(); }

    void constructionLeavesAllEmpty()
    {
        QCOMPARE(ContextPluginProbe::fieldsSet(*m_plugin), QStringLiteral("-------"));
        QVERIFY(m_plugin->getControllers().empty());
        QVERIFY(m_plugin->parent() == nullptr);
        m_plugin.reset();
        QCOMPARE(m_recorder.journal, QStringList());
    }

    void initializeBuildsInOrder()
    {
        m_plugin->initialize();
        QCOMPARE(m_recorder.journal,
                 QStringList({QStringLiteral("+cards -------"), QStringLiteral("+files -K---P-"),
                              QStringLiteral("+contexts -K---PF"), QStringLiteral("+messages -KC--PF"),
                              QStringLiteral("+behaviours -KCM-PF"), QStringLiteral("=behaviours -KCM-PF"),
                              QStringLiteral("+routes -KCM-PF")}));
        QCOMPARE(ContextPluginProbe::fieldsSet(*m_plugin), QStringLiteral("RKCMLPF"));
        QCOMPARE(m_recorder.cards, ContextPluginProbe::cards(*m_plugin));
        QCOMPARE(m_recorder.factoryCards, ContextPluginProbe::cards(*m_plugin));
        QCOMPARE(m_recorder.proxy, ContextPluginProbe::proxy(*m_plugin));
        QCOMPARE(m_recorder.files, ContextPluginProbe::files(*m_plugin));
        QCOMPARE(m_recorder.contexts, ContextPluginProbe::contexts(*m_plugin));
        QCOMPARE(m_recorder.factoryProxy, ContextPluginProbe::proxy(*m_plugin));
        QCOMPARE(m_recorder.factoryContexts, ContextPluginProbe::contexts(*m_plugin));
        QCOMPARE(m_recorder.factoryMessages, ContextPluginProbe::messages(*m_plugin));
        QCOMPARE(m_recorder.strategyMessages, ContextPluginProbe::messages(*m_plugin));
        QVERIFY(m_recorder.proxy->getChunkService() == nullptr);
        QCOMPARE(m_plugin->getControllers().size(), std::size_t(1));
    }

    void listOfStrategiesIsACopy()
    {
        m_plugin->initialize();
        m_plugin->getControllers().clear();
        QCOMPARE(m_plugin->getControllers().size(), std::size_t(1));
    }

    void attachGivesProxyThenRoutesThenListener()
    {
        m_plugin->initialize();
        m_recorder.journal.clear();
        AttachingBus bus;
        m_plugin->attachChunkService(bus);
        QCOMPARE(m_recorder.journal,
                 QStringList({QStringLiteral("routes get the bus after the proxy RKCMLPF"),
                              QStringLiteral("listener attached RKCMLPF")}));
        QCOMPARE(m_recorder.proxy->getChunkService(), &bus);
        QCOMPARE(m_recorder.strategyBus, &bus);
        QCOMPARE(bus.listener, ContextPluginProbe::listener(*m_plugin));
    }

    void detachEmptiesTheProxyAlone()
    {
        m_plugin->initialize();
        AttachingBus bus;
        m_plugin->attachChunkService(bus);
        m_recorder.journal.clear();
        RecordingChunkService another;
        m_plugin->detachChunkService(another);
        QCOMPARE(m_recorder.journal, QStringList());
        QVERIFY(m_recorder.proxy->getChunkService() == nullptr);
        QCOMPARE(m_recorder.strategyBus, &bus);

        bus.listener->onChunkUpdated(QJsonObject{{QStringLiteral("x"), 7}});
        QCOMPARE(m_recorder.journal,
                 QStringList({QStringLiteral("card x RKCMLPF"), QStringLiteral("pushChunk x RKCMLPF")}));
        QCOMPARE(m_recorder.cards, ContextPluginProbe::cards(*m_plugin));
        QCOMPARE(m_recorder.contexts, ContextPluginProbe::contexts(*m_plugin));
    }

    void destructionEmptiesFieldsInReverse()
    {
        m_plugin->initialize();
        AttachingBus bus;
        m_plugin->attachChunkService(bus);
        m_recorder.journal.clear();
        watched = {{{ContextPluginProbe::proxy(*m_plugin), "-proxy"},
                    {ContextPluginProbe::listener(*m_plugin), "-listener"},
                    {ContextPluginProbe::cards(*m_plugin), "-cards"}}};
        m_plugin.reset();
        QCOMPARE(m_recorder.journal,
                 QStringList({QStringLiteral("-files RKCMLP-"), QStringLiteral("-proxy RKCML--"),
                              QStringLiteral("-listener RKCM---"), QStringLiteral("-messages RKC----"),
                              QStringLiteral("-contexts RK-----"), QStringLiteral("-cards R------"),
                              QStringLiteral("-routes -------"), QStringLiteral("list filled -------")}));
    }

    void initializeAgainDropsTheEarlierObjects()
    {
        m_plugin->initialize();
        m_recorder.journal.clear();
        m_plugin->initialize();
        for (const char *event : {"-files", "-contexts", "-messages", "-routes"})
            QCOMPARE(m_recorder.journal.filter(QLatin1String(event)).size(), 1);
        // Appended, and nothing is taken out.
        QCOMPARE(m_plugin->getControllers().size(), std::size_t(2));
    }

    void categoryIsNamed()
    {
        QCOMPARE(contextPluginLogging().categoryName(), "ch.tessel.vexo-service.context");
    }

private:
    class AttachingBus final : public ChunkService
    {
    public:
        void publishChunk(const QJsonValue & /*chunk*/) override { recorder->note("published"); }
        void attachChunkListener(ChunkUpdateListener *attached) override
        {
            recorder->note("listener attached");
            listener = dynamic_cast<ChunkListener *>(attached);
        }
        ChunkListener *listener = nullptr;
    };

    Recorder m_recorder;
    std::unique_ptr<ContextPlugin> m_plugin;
};

QTEST_GUILESS_MAIN(ContextPluginWiringTest)
#include "tst_contextpluginwiring.moc"
