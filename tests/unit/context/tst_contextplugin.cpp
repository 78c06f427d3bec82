#include "exchange.h"
#include "jsontext.h"
#include "mortalbus.h"
#include "recordingchunkservice.h"

#include <k7-plugin-api/chunkupdatelistener.h>
#include <k7-plugin-api/vexoserviceinterface.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QPluginLoader>
#include <QtTest>

#include <memory>

namespace {

using Method = Exchange::Method;

QString pluginFile()
{
    return QStringLiteral(CONTEXT_PLUGIN);
}

const http::server::HeaderFields jsonHeaders{{"Content-Type", "application/json"}};

} // namespace

/// The module, loaded as a host loads it.
class ContextPluginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void metadata()
    {
        const QPluginLoader loader(pluginFile());
        const QJsonObject metadata = loader.metaData();
        QCOMPARE(metadata.value(QLatin1String("IID")).toString(),
                 QStringLiteral("ch.tessel.vexo-service.context"));
        QCOMPARE(metadata.value(QLatin1String("className")).toString(), QStringLiteral("ContextPlugin"));
        QCOMPARE(metadata.value(QLatin1String("version")).toInt(), QT_VERSION & 0xffff00);
        QVERIFY(metadata.value(QLatin1String("MetaData")).toObject().isEmpty());
    }

    void castsToItsThreeNames_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("casts");
        QTest::newRow("class") << QByteArray("ContextPlugin") << true;
        QTest::newRow("interface") << QByteArray("VexoServicePlugin") << true;
        QTest::newRow("identifier") << QByteArray("ch.tessel.vexo-service.plugin") << true;
        QTest::newRow("identifier of the metadata") << QByteArray("ch.tessel.vexo-service.context") << false;
        QTest::newRow("another") << QByteArray("ChunkService") << false;
    }
    void castsToItsThreeNames()
    {
        QFETCH(QByteArray, name);
        QFETCH(bool, casts);
        QPluginLoader loader(pluginFile());
        QObject *instance = loader.instance();
        QVERIFY2(instance != nullptr, qPrintable(loader.errorString()));
        auto *plugin = qobject_cast<VexoServicePlugin *>(instance);
        QVERIFY(plugin != nullptr);
        void *cast = instance->qt_metacast(name.constData());
        QCOMPARE(cast != nullptr, casts);
        if (casts)
            QVERIFY(cast == (name == "ContextPlugin" ? static_cast<void *>(instance) : plugin));
        delete instance;
    }

    void oneInstanceUntilItIsDeleted()
    {
        QPluginLoader loader(pluginFile());
        const QPointer<QObject> first = loader.instance();
        QVERIFY(!first.isNull());
        QVERIFY(first->parent() == nullptr);
        QPluginLoader again(pluginFile());
        QCOMPARE(again.instance(), first.data());
        qobject_cast<VexoServicePlugin *>(first)->initialize();
        delete first.data();
        QVERIFY(first.isNull());
        QObject *second = loader.instance();
        QVERIFY(second != nullptr);
        QVERIFY(qobject_cast<VexoServicePlugin *>(second)->getControllers().empty());
        delete second;
    }

    void declaresNoSignalSlotOrProperty()
    {
        QPluginLoader loader(pluginFile());
        const std::unique_ptr<QObject> instance(loader.instance());
        QVERIFY(instance != nullptr);
        const QMetaObject *metaObject = instance->metaObject();
        QCOMPARE(metaObject->methodCount(), QObject::staticMetaObject.methodCount());
        QCOMPARE(metaObject->propertyCount(), QObject::staticMetaObject.propertyCount());
    }

    void storesWorkWithoutABus()
    {
        QPluginLoader loader(pluginFile());
        const std::unique_ptr<QObject> instance(loader.instance());
        auto *plugin = qobject_cast<VexoServicePlugin *>(instance.get());
        QVERIFY(plugin != nullptr);
        QVERIFY(plugin->getControllers().empty());
        QVERIFY(plugin->pluginTranslator(QStringLiteral("de_CH")) == nullptr);
        plugin->initialize();
        QCOMPARE(plugin->getControllers().size(), std::size_t(1));
        QVERIFY(plugin->getControllers() == plugin->getControllers());

        http::ControllerStrategy &strategy = *plugin->getControllers().front();
        const Exchange put(strategy, Method::Put, "/context/a", jsonHeaders, R"({"x":1})");
        QCOMPARE(put.status(), 201);
        const Exchange get(strategy, Method::Get, "/context/a");
        QCOMPARE(get.status(), 200);
        QCOMPARE(QJsonDocument::fromJson(get.body()).object().value(QLatin1String("x")).toInt(), 1);
    }

    void publishesFromAttachToDetach()
    {
        QPluginLoader loader(pluginFile());
        const std::unique_ptr<QObject> instance(loader.instance());
        auto *plugin = qobject_cast<VexoServicePlugin *>(instance.get());
        QVERIFY(plugin != nullptr);
        plugin->initialize();
        http::ControllerStrategy &strategy = *plugin->getControllers().front();
        RecordingChunkService bus;
        plugin->attachChunkService(bus);
        QCOMPARE(bus.listeners.size(), 1);
        QVERIFY(bus.listeners.front() != nullptr);
        QVERIFY(bus.chunks.isEmpty());

        {
            const Exchange put(strategy, Method::Put, "/context/a", jsonHeaders, R"({"x":1})");
            QCOMPARE(put.status(), 201);
        }
        QCOMPARE(bus.chunks.size(), 1);
        QCOMPARE(bus.chunks.front()[QLatin1String("source")].toString(), QStringLiteral("k7-plugin-context"));

        plugin->detachChunkService(bus);
        QCOMPARE(bus.listeners.size(), 1);
        const Exchange put(strategy, Method::Put, "/context/a", jsonHeaders, R"({"x":2})");
        QCOMPARE(put.status(), 200);
        QCOMPARE(bus.chunks.size(), 1);

        // The listener still lives.
        bus.listeners.front()->onChunkUpdated(QJsonObject());
        plugin->attachChunkService(bus);
        QCOMPARE(bus.listeners.size(), 2);
        QCOMPARE(bus.listeners.at(0), bus.listeners.at(1));
    }

    // The route table keeps the pointer to a bus that has gone; nobody may use it.
    void credentialsOutliveTheBus()
    {
        QPluginLoader loader(pluginFile());
        const std::unique_ptr<QObject> instance(loader.instance());
        auto *plugin = qobject_cast<VexoServicePlugin *>(instance.get());
        QVERIFY(plugin != nullptr);
        plugin->initialize();
        http::ControllerStrategy &strategy = *plugin->getControllers().front();
        const auto post = [&strategy] {
            const Exchange exchange(strategy, Method::Post, "/context/a/credentials", jsonHeaders,
                                    R"([{"service":"s"}])");
            return exchange.status();
        };
        QCOMPARE(post(), 200);
        MortalBus first;
        plugin->attachChunkService(first.bus());
        QCOMPARE(post(), 200);
        QCOMPARE(first.bus().chunks.size(), 2);

        plugin->detachChunkService(first.bus());
        QCOMPARE(post(), 200);
        QCOMPARE(first.bus().chunks.size(), 2);
        first.end();
        QCOMPARE(post(), 200);

        MortalBus second;
        plugin->attachChunkService(second.bus());
        QCOMPARE(post(), 200);
        QCOMPARE(second.bus().chunks.size(), 2);
        plugin->detachChunkService(second.bus());
    }

    void anotherBusTakesThePlaceOfTheFirst()
    {
        QPluginLoader loader(pluginFile());
        const std::unique_ptr<QObject> instance(loader.instance());
        auto *plugin = qobject_cast<VexoServicePlugin *>(instance.get());
        QVERIFY(plugin != nullptr);
        plugin->initialize();
        http::ControllerStrategy &strategy = *plugin->getControllers().front();
        const auto publish = [&strategy](const QByteArray &data) {
            const Exchange put(strategy, Method::Put, "/context/a", jsonHeaders, data);
            const Exchange post(strategy, Method::Post, "/context/a/credentials", jsonHeaders, "[]");
            return post.status();
        };
        MortalBus first;
        RecordingChunkService second;
        plugin->attachChunkService(first.bus());
        plugin->attachChunkService(second);
        QCOMPARE(first.bus().listeners.size(), 1);
        QCOMPARE(second.listeners, first.bus().listeners);
        QCOMPARE(publish(R"({"x":1})"), 200);
        QVERIFY(first.bus().chunks.isEmpty());
        QCOMPARE(second.chunks.size(), 2);

        // Whichever bus goes, nobody publishes any more; what comes in is stored.
        plugin->detachChunkService(first.bus());
        first.end();
        QCOMPARE(publish(R"({"x":2})"), 200);
        second.listeners.front()->onChunkUpdated(
            json(QStringLiteral(R"({"exchange":"vexo-context-rpc-set","body":{"_id":"b"}})")));
        QCOMPARE(second.chunks.size(), 2);
        const Exchange get(strategy, Method::Get, "/context/b");
        QCOMPARE(get.status(), 200);
    }

    void chunksReachTheBehaviours()
    {
        QPluginLoader loader(pluginFile());
        const std::unique_ptr<QObject> instance(loader.instance());
        auto *plugin = qobject_cast<VexoServicePlugin *>(instance.get());
        QVERIFY(plugin != nullptr);
        plugin->initialize();
        http::ControllerStrategy &strategy = *plugin->getControllers().front();
        RecordingChunkService bus;
        plugin->attachChunkService(bus);
        ChunkUpdateListener &listener = *bus.listeners.front();

        listener.onChunkUpdated(json(QStringLiteral(
            R"({"exchange":"vexo-context-rpc-set","body":{"_id":"a","x":1},
                "properties":{"reply-to":"123456789here"}})")));
        QCOMPARE(bus.chunks.size(), 2);
        QCOMPARE(jsonText(bus.chunks.last()),
                 QStringLiteral(R"({"body":{"x":1},"exchange":"here","properties":{}})"));
        const Exchange first(strategy, Method::Get, "/context/a/event");
        QCOMPARE(first.status(), 200);

        const Exchange parked(strategy, Method::Get, "/context/a/event");
        QVERIFY(!parked.isAnswered());
        listener.onChunkUpdated(json(QStringLiteral(
            R"({"exchange":"vexo-context-add-matching-items","body":{"filter":{"x":1},
                "matchingItems":{"entry":[{"resource":{"id":"r"}}]}}})")));
        QVERIFY(parked.isAnswered());
        const QJsonObject woken = QJsonDocument::fromJson(parked.body()).object();
        QCOMPARE(jsonText(woken), QStringLiteral(R"({"matchingItems":[{"id":"r"}],"x":1})"));
        QCOMPARE(bus.chunks.size(), 2);
        plugin->detachChunkService(bus);
    }
};

QTEST_GUILESS_MAIN(ContextPluginTest)
#include "tst_contextplugin.moc"
