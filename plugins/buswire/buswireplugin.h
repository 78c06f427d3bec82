#pragma once

#include "wireserver.h"

#include <k7-plugin-api/chunkupdatelistener.h>
#include <k7-plugin-api/vexoserviceinterface.h>

namespace buswire {

/// The bus for the shell: a client of its unix socket sends chunks, one JSON object a line, and sees every
/// chunk of the other plug-ins. What is published here comes back to none of its clients.
class BuswirePlugin final : public QObject, public VexoServicePlugin, private ChunkUpdateListener
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ch.tessel.vexo-service.buswire" FILE "buswire.json")
    Q_INTERFACES(VexoServicePlugin)

public:
    void initialize() override;
    std::vector<http::ControllerStrategy *> getControllers() override { return {}; }
    void attachChunkService(ChunkService &service) override;
    void detachChunkService(ChunkService &service) override;
    QTranslator *pluginTranslator(const QString & /*locale*/) override { return nullptr; }

private:
    void onChunkUpdated(const QJsonValue &chunk) override;
    [[nodiscard]] QString publish(const QJsonObject &chunk);

    ChunkService *m_chunkService = nullptr;
    std::unique_ptr<WireServer> m_server;
};

} // namespace buswire
