#include "logcapture.h"
#include "unixclient.h"

#include <k7-plugin-api/chunkservice.h>
#include <k7-plugin-api/chunkupdatelistener.h>
#include <k7-plugin-api/vexoserviceinterface.h>
#include <system/socketfile.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QPluginLoader>
#include <QtTest>

#include <memory>

class FakeChunkService final : public ChunkService
{
public:
    void publishChunk(const QJsonValue &chunk) override { published.append(chunk); }
    void attachChunkListener(ChunkUpdateListener *listener) override { listeners.append(listener); }

    QVector<QJsonValue> published;
    QVector<ChunkUpdateListener *> listeners;
};

class BuswirePluginTest : public QObject
{
    Q_OBJECT

    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("buswire.sock"));

    struct Loaded
    {
        std::unique_ptr<QObject> instance{QPluginLoader(QStringLiteral(BUSWIRE_PLUGIN)).instance()};
        VexoServicePlugin *plugin = qobject_cast<VexoServicePlugin *>(instance.get());
    };

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("HOME", QFile::encodeName(dir.path()));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.path()));
        qunsetenv("TS_SETTINGS_INI_FILE");
    }
    void init() { qputenv("XDG_RUNTIME_DIR", QFile::encodeName(dir.path())); }

    void metadataNamesTheSettingThatSwitchesItOn()
    {
        const QJsonObject metaData = QPluginLoader(QStringLiteral(BUSWIRE_PLUGIN)).metaData();
        QCOMPARE(metaData.value(QStringLiteral("IID")).toString(),
                 QStringLiteral("ch.tessel.vexo-service.buswire"));
        QCOMPARE(metaData.value(QStringLiteral("MetaData")).toObject(),
                 (QJsonObject{{QStringLiteral("enabledBySetting"),
                               QStringLiteral("ch.tessel.vexo-service.buswire/socket")}}));
    }

    void chunksGoBothWaysWhileTheBusIsAttached()
    {
        const LogCapture log("ch.tessel.vexo-service.buswire");
        Loaded loaded;
        QVERIFY(loaded.plugin != nullptr);
        loaded.plugin->initialize();
        QCOMPARE(log.lines(),
                 (QVector<LogCapture::Line>{{QtInfoMsg, QStringLiteral("Listening at ") + path}}));
        QVERIFY(loaded.plugin->getControllers().empty());
        QCOMPARE(loaded.plugin->pluginTranslator(QStringLiteral("de")), nullptr);

        UnixClient client(path);
        QByteArrayList lines;
        QVERIFY(client.send("{\"n\":1}\n"));
        QTRY_VERIFY(!(lines += client.readLines().toList()).isEmpty());
        QCOMPARE(lines, QByteArrayList{R"({"error":"There is no bus."})"});

        FakeChunkService bus;
        loaded.plugin->attachChunkService(bus);
        QCOMPARE(bus.listeners.size(), 1);
        QVERIFY(client.send("{\"n\":2}\n"));
        QTRY_COMPARE(bus.published, QVector<QJsonValue>{(QJsonObject{{QStringLiteral("n"), 2}})});
        bus.listeners[0]->onChunkUpdated(QJsonObject{{QStringLiteral("n"), 3}});
        lines.clear();
        QTRY_VERIFY(!(lines += client.readLines().toList()).isEmpty());
        QCOMPARE(lines, QByteArrayList{R"({"n":3})"});

        loaded.plugin->detachChunkService(bus);
        QVERIFY(client.send("{\"n\":4}\n"));
        lines.clear();
        QTRY_VERIFY(!(lines += client.readLines().toList()).isEmpty());
        QCOMPARE(lines, QByteArrayList{R"({"error":"There is no bus."})"});
        QCOMPARE(bus.published.size(), 1);

        loaded.instance.reset();
        QVERIFY(client.isClosed());
        QVERIFY(!QFile::exists(path));
    }

    void socketThatAnotherServesIsLoggedAndLeftAlone()
    {
        tessel::system::SocketFile other;
        QCOMPARE(other.open(path), QString());
        const LogCapture log("ch.tessel.vexo-service.buswire");
        {
            FakeChunkService bus;
            Loaded loaded;
            loaded.plugin->initialize();
            loaded.plugin->attachChunkService(bus);
            bus.listeners[0]->onChunkUpdated(QJsonObject());
        }
        QCOMPARE(
            log.lines(),
            (QVector<LogCapture::Line>{
                {QtWarningMsg, QStringLiteral("Cannot listen at %1: another process serves it").arg(path)}}));
        QVERIFY(UnixClient(path).isConnected());
    }

    void noPlaceToListenIsLogged()
    {
        qunsetenv("XDG_RUNTIME_DIR");
        const LogCapture log("ch.tessel.vexo-service.buswire");
        Loaded loaded;
        loaded.plugin->initialize();
        QCOMPARE(log.lines(),
                 (QVector<LogCapture::Line>{
                     {QtWarningMsg,
                      QStringLiteral("No place to listen: neither the setting "
                                     "ch.tessel.vexo-service.buswire/socket nor XDG_RUNTIME_DIR is set")}}));
    }
};

QTEST_GUILESS_MAIN(BuswirePluginTest)
#include "tst_buswireplugin.moc"
