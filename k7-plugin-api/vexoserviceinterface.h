#pragma once

#include <QtPlugin>

#include <vector>

class ChunkService;
class QString;
class QTranslator;

namespace http {
class ControllerStrategy;
}

/**
 * What a plug-in of the desktop service implements.
 *
 * The plug-in class derives from QObject first and from this interface second, names both in its metadata
 * (Q_PLUGIN_METADATA, Q_INTERFACES) and is created by Qt's plug-in loader. The host calls every operation on
 * the thread of its event loop. No operation reports a failure and none may throw.
 */
class VexoServicePlugin
{
public:
    virtual ~VexoServicePlugin() = default;

    /// Builds all objects of the plug-in. Called once, before every operation below but getControllers().
    virtual void initialize() = 0;

    /// The strategies that the host asks for each request, in this order; empty before initialize(). The
    /// plug-in keeps ownership, and they live until the plug-in is destroyed.
    virtual std::vector<http::ControllerStrategy *> getControllers() = 0;

    /// The bus has become available. `service` outlives the plug-in. Called at any time after initialize().
    virtual void attachChunkService(ChunkService &service) = 0;

    /// The bus goes away. The host delivers nothing to the plug-in's listeners from here on, and drops what
    /// is still published on `service`.
    virtual void detachChunkService(ChunkService &service) = 0;

    /// The plug-in's translations for `locale`, or null for none.
    virtual QTranslator *pluginTranslator(const QString &locale) = 0;
};

Q_DECLARE_INTERFACE(VexoServicePlugin, "ch.tessel.vexo-service.plugin")
