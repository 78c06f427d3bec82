#pragma once

#include <k7-plugin-api/vexoserviceinterface.h>

#include <QObject>

#include <memory>
#include <vector>

class CardService;
class ChunkListener;
class ChunkServiceProxy;
class ContextControllerStrategy;
class ContextService;
class FileService;
class MessageService;
class QLoggingCategory;

/**
 * The plug-in, as the host loads it: builds all other objects, owns them and passes the bus on.
 *
 * The fields are emptied in the reverse of their order, so that ContextService, with its behaviours, and the
 * route table outlive the files, the proxy, the listener and the messages. The plug-in does not detach itself
 * from the bus: the host stops delivering to the listener first. Event-loop thread only.
 */
class ContextPlugin final : public QObject, public VexoServicePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ch.tessel.vexo-service.context")
    Q_INTERFACES(VexoServicePlugin)

public:
    ContextPlugin();
    ~ContextPlugin() override;
    Q_DISABLE_COPY_MOVE(ContextPlugin)

    /// Builds all objects; called once. If the setting "ch.tessel.vexo-service.context/defaultValues" is true
    /// now, an empty context is stored under the empty id five seconds later.
    void initialize() override;
    [[nodiscard]] std::vector<http::ControllerStrategy *> getControllers() override;

    /// Gives the bus to those who publish and to the route table, and listens on it. After initialize() only.
    void attachChunkService(ChunkService &service) override;

    /// Takes the bus from those who publish, whichever it is. Deliberately no more than that: the route table
    /// keeps its pointer and the listener stays where it is.
    void detachChunkService(ChunkService &service) override;

    /// Always null: the plug-in brings no translations.
    [[nodiscard]] QTranslator *pluginTranslator(const QString &locale) override;

private:
    friend struct ContextPluginProbe;

    void armDefaultValue();
    void loadDefaultValue();

    std::vector<http::ControllerStrategy *> m_strategies;
    std::unique_ptr<ContextControllerStrategy> m_contextControllerStrategy;
    std::unique_ptr<CardService> m_cardService;
    std::unique_ptr<ContextService> m_contextService;
    std::unique_ptr<MessageService> m_messageService;
    std::unique_ptr<ChunkListener> m_chunkListener;
    std::unique_ptr<ChunkServiceProxy> m_chunkServiceProxy;
    std::unique_ptr<FileService> m_fileService;
};

/// The category "ch.tessel.vexo-service.context".
const QLoggingCategory &contextPluginLogging();
