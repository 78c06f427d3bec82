#pragma once

#include "bus.h"
#include "hostoptions.h"
#include "hostsettings.h"
#include "pluginset.h"
#include "startfailure.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

class Dispatcher;
class HttpDoors;

namespace http {
class ControllerStrategy;
}

/**
 * The life of the service: loads the plug-ins, gives each its endpoint of the bus, serves them over HTTP, and
 * takes all of it down in reverse. Everything of the host contract is called on the thread that made it.
 */
class Host final
{
public:
    /// An option wins over its setting.
    Host(HostOptions options, HostSettings settings);
    ~Host();
    Q_DISABLE_COPY_MOVE(Host)

    /// Serves from here on; called once. After a failure all is as after stop().
    [[nodiscard]] std::optional<StartFailure> start();

    /// Stops accepting, cuts the bus, releases every controller, closes all connections and destroys the
    /// plug-ins in reverse order. Called after the event loop has returned. A second call does nothing.
    void stop();

private:
    [[nodiscard]] std::optional<StartFailure> tryStart();
    [[nodiscard]] std::optional<StartFailure> startPlugins();
    [[nodiscard]] std::optional<StartFailure> startPlugin(const LoadedPlugin &plugin);
    [[nodiscard]] std::optional<StartFailure> listen();
    [[nodiscard]] QStringList pluginDirectories() const;

    const HostOptions m_options;
    const HostSettings m_settings;
    Bus m_bus;
    PluginSet m_plugins;
    std::vector<std::pair<VexoServicePlugin *, BusEndpoint *>> m_attached;
    std::vector<http::ControllerStrategy *> m_strategies;
    std::unique_ptr<Dispatcher> m_dispatcher;
    std::unique_ptr<HttpDoors> m_doors;
};
