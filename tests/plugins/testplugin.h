#pragma once

#include <k7-plugin-api/chunkservice.h>
#include <k7-plugin-api/chunkupdatelistener.h>
#include <k7-plugin-api/controller.h>
#include <k7-plugin-api/controllerstrategy.h>
#include <k7-plugin-api/vexoserviceinterface.h>

#include <QEventLoop>
#include <QObject>

#include <vector>

namespace testplugin {

/// Logs `text` at info level in the category "test.plugin", the plug-in's name in front.
void log(const QString &text);

class Controller;

/// What the controllers of one plug-in share.
struct Shared
{
    ChunkService *bus = nullptr;
    std::vector<Controller *> parked;
    QEventLoop *nested = nullptr;
};

/// Serves the paths below "/NAME/", and "/shared", which every plug-in of this kind takes.
class Strategy final : public http::ControllerStrategy
{
public:
    explicit Strategy(Shared &shared)
        : m_shared(shared)
    {
    }
    http::Controller *createController(QSharedPointer<http::server::Request> request) override;

private:
    Shared &m_shared;
};

/// Throws at a chunk that has the key "throw".
class Listener final : public ChunkUpdateListener
{
public:
    void onChunkUpdated(const QJsonValue &chunk) override;
};

/// Logs every call of the contract.
class TestPlugin final : public QObject, public VexoServicePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ch.tessel.vexo-service.test")
    Q_INTERFACES(VexoServicePlugin)

public:
    ~TestPlugin() override;
    void initialize() override;
    std::vector<http::ControllerStrategy *> getControllers() override;
    void attachChunkService(ChunkService &service) override;
    void detachChunkService(ChunkService &service) override;
    QTranslator *pluginTranslator(const QString &locale) override;

private:
    Shared m_shared;
    Strategy m_strategy{m_shared};
    Listener m_listener;
};

} // namespace testplugin
