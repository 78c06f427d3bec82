#include "buswireplugin.h"

#include "socketpath.h"

#include <k7-plugin-api/chunkservice.h>

#include <QLoggingCategory>

namespace buswire {

static const QLoggingCategory &buswirePluginLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.buswire");
    return category;
}

void BuswirePlugin::initialize()
{
    m_server = std::make_unique<WireServer>([this](const QJsonObject &chunk) { return publish(chunk); });
    const QString path = socketPath();
    if (path.isEmpty()) {
        qCWarning(buswirePluginLogging) << "No place to listen: neither the setting "
                                           "ch.tessel.vexo-service.buswire/socket nor XDG_RUNTIME_DIR is set";
        return;
    }
    const QString failure = m_server->listen(path);
    if (failure.isEmpty()) {
        qCInfo(buswirePluginLogging).noquote() << "Listening at" << path;
        return;
    }
    qCWarning(buswirePluginLogging).noquote() << QStringLiteral("Cannot listen at %1: %2").arg(path, failure);
}

void BuswirePlugin::attachChunkService(ChunkService &service)
{
    m_chunkService = &service;
    service.attachChunkListener(this);
}

void BuswirePlugin::detachChunkService(ChunkService & /*service*/)
{
    m_chunkService = nullptr;
}

void BuswirePlugin::onChunkUpdated(const QJsonValue &chunk)
{
    m_server->broadcast(chunk);
}

QString BuswirePlugin::publish(const QJsonObject &chunk)
{
    if (m_chunkService == nullptr)
        return QStringLiteral("There is no bus.");
    m_chunkService->publishChunk(chunk);
    return {};
}

} // namespace buswire
