#include "contextplugin.h"

#include "cardservice.h"
#include "chunkbehaviourfactory.h"
#include "chunklistener.h"
#include "chunkserviceproxy.h"
#include "contextservice.h"
#include "controller/contextcontrollerstrategy.h"
#include "fileservice.h"
#include "messageservice.h"
#include "pluginsettings.h"

#include <k7-plugin-api/chunkservice.h>

#include <QJsonObject>
#include <QLoggingCategory>
#include <QTimer>

const QLoggingCategory &contextPluginLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context");
    return category;
}

ContextPlugin::ContextPlugin() = default;

ContextPlugin::~ContextPlugin()
{
    // reset() empties the pointer before it destroys the object; a member's own destructor does not.
    m_fileService.reset();
    m_chunkServiceProxy.reset();
    m_chunkListener.reset();
    m_messageService.reset();
    m_contextService.reset();
    m_cardService.reset();
    m_contextControllerStrategy.reset();
}

void ContextPlugin::initialize()
{
    m_cardService = std::make_unique<CardService>();
    m_chunkServiceProxy = std::make_unique<ChunkServiceProxy>();
    m_fileService = std::make_unique<FileService>();
    m_contextService = std::make_unique<ContextService>(*m_chunkServiceProxy, *m_fileService);
    m_messageService = std::make_unique<MessageService>();
    m_contextService->setBehaviours(
        ChunkBehaviourFactory(*m_cardService, *m_chunkServiceProxy, *m_contextService, *m_messageService)
            .createBehaviours());
    m_contextControllerStrategy =
        std::make_unique<ContextControllerStrategy>(*m_contextService, *m_messageService);
    m_strategies.push_back(m_contextControllerStrategy.get());
    m_chunkListener = std::make_unique<ChunkListener>(*m_cardService, *m_contextService);
    armDefaultValue();
}

void ContextPlugin::armDefaultValue()
{
    const QString key = QStringLiteral("ch.tessel.vexo-service.context/defaultValues");
    if (!readPluginSettings().value(key).toBool())
        return;
    // A child, so that nothing of it is left when the plug-in goes and its library is unloaded.
    auto *timer = new QTimer(this);
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, this, &ContextPlugin::loadDefaultValue);
    connect(timer, &QTimer::timeout, timer, &QTimer::deleteLater);
    timer->start(5000);
}

void ContextPlugin::loadDefaultValue()
{
    const QString key;
    qCInfo(contextPluginLogging) << "Loading default value" << key;
    m_contextService->setContext(key, QJsonObject());
}

std::vector<http::ControllerStrategy *> ContextPlugin::getControllers()
{
    return m_strategies;
}

void ContextPlugin::attachChunkService(ChunkService &service)
{
    m_chunkServiceProxy->setChunkService(&service);
    m_contextControllerStrategy->setChunkService(&service);
    service.attachChunkListener(m_chunkListener.get());
}

void ContextPlugin::detachChunkService(ChunkService & /*service*/)
{
    m_chunkServiceProxy->setChunkService(nullptr);
}

QTranslator *ContextPlugin::pluginTranslator(const QString & /*locale*/)
{
    return nullptr;
}
