#pragma once

#include <k7-plugin-api/vexoserviceinterface.h>

#include <QObject>

/// Waits for its setting in a directory of plug-ins. Does nothing.
class OptionalPlugin final : public QObject, public VexoServicePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ch.tessel.vexo-service.test" FILE "optional.json")
    Q_INTERFACES(VexoServicePlugin)

public:
    void initialize() override { }
    std::vector<http::ControllerStrategy *> getControllers() override { return {}; }
    void attachChunkService(ChunkService & /*service*/) override { }
    void detachChunkService(ChunkService & /*service*/) override { }
    QTranslator *pluginTranslator(const QString & /*locale*/) override { return nullptr; }
};
