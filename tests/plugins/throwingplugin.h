#pragma once

#include <k7-plugin-api/vexoserviceinterface.h>

#include <QObject>

/// Breaks the rule that nothing is thrown, at its start.
class ThrowingPlugin final : public QObject, public VexoServicePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ch.tessel.vexo-service.test")
    Q_INTERFACES(VexoServicePlugin)

public:
    void initialize() override;
    std::vector<http::ControllerStrategy *> getControllers() override { return {}; }
    void attachChunkService(ChunkService & /*service*/) override { }
    void detachChunkService(ChunkService & /*service*/) override { }
    QTranslator *pluginTranslator(const QString & /*locale*/) override { return nullptr; }
};
