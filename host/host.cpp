#include "host.h"

#include "dispatcher.h"
#include "filelimit.h"
#include "httpdoors.h"
#include "pluginloader.h"
#include "portfile.h"
#include "thrownby.h"

#include <k7-plugin-api/vexoserviceinterface.h>

#include <QCoreApplication>
#include <QDir>
#include <QLoggingCategory>

static const QLoggingCategory &hostLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service");
    return category;
}

Host::Host(HostOptions options, HostSettings settings)
    : m_options(std::move(options))
    , m_settings(std::move(settings))
{
}

Host::~Host()
{
    stop();
}

std::optional<StartFailure> Host::start()
{
    auto failure = tryStart();
    if (failure)
        stop();
    return failure;
}

std::optional<StartFailure> Host::tryStart()
{
    auto loaded = loadPlugins(m_options.plugins, pluginDirectories(),
                              [this](const QString &key) { return m_settings.isSet(key); });
    if (auto *failure = std::get_if<StartFailure>(&loaded))
        return std::move(*failure);
    m_plugins = std::get<PluginSet>(std::move(loaded));
    if (auto failure = startPlugins())
        return failure;
    return listen();
}

QStringList Host::pluginDirectories() const
{
    if (!m_options.pluginDirectories.isEmpty())
        return m_options.pluginDirectories;
    if (!m_options.plugins.isEmpty())
        return {};
    if (!m_settings.pluginDirectories.isEmpty())
        return m_settings.pluginDirectories;
    const QDir own(QCoreApplication::applicationDirPath());
    const QString beside = QDir::cleanPath(own.filePath(QStringLiteral("../plugins")));
    if (QDir(beside).exists())
        return {beside};
    return {QDir::cleanPath(own.filePath(QStringLiteral(K7_INSTALLED_PLUGIN_DIR)))};
}

std::optional<StartFailure> Host::startPlugins()
{
    for (const LoadedPlugin &plugin : m_plugins.all()) {
        if (auto failure = startPlugin(plugin))
            return failure;
    }
    return {};
}

std::optional<StartFailure> Host::startPlugin(const LoadedPlugin &plugin)
{
    const auto thrown = thrownBy([&] {
        plugin.plugin->initialize();
        const auto strategies = plugin.plugin->getControllers();
        m_strategies.insert(m_strategies.end(), strategies.cbegin(), strategies.cend());
        BusEndpoint &endpoint = m_bus.addEndpoint(plugin.name);
        m_attached.emplace_back(plugin.plugin, &endpoint);
        plugin.plugin->attachChunkService(endpoint);
    });
    if (thrown) {
        return StartFailure{
            QStringLiteral("plug-in %1: has thrown at its start: %2").arg(plugin.file, *thrown)};
    }
    return {};
}

std::optional<StartFailure> Host::listen()
{
    raiseFileLimit(m_settings.limits.maxConnections);
    m_dispatcher = std::make_unique<Dispatcher>(m_strategies);
    m_doors = std::make_unique<HttpDoors>(*m_dispatcher);
    const ListenAddress address = m_options.listen.value_or(m_settings.listen.value_or(ListenAddress()));
    if (auto failure = m_doors->open(address, m_settings))
        return failure;
    if (!m_options.portFile.isEmpty()) {
        if (auto failure = writePortFile(m_options.portFile, m_doors->port()))
            return failure;
    }

    QStringList names;
    for (const LoadedPlugin &plugin : m_plugins.all())
        names.append(plugin.name);
    qCInfo(hostLogging).noquote() << "Listening on" << m_doors->describe() << "with the plug-ins"
                                  << names.join(QStringLiteral(", "));
    return {};
}

static void detach(VexoServicePlugin &plugin, BusEndpoint &endpoint)
{
    if (const auto thrown = thrownBy([&] { plugin.detachChunkService(endpoint); }))
        qCWarning(hostLogging) << endpoint.name() << "has thrown when the bus was detached:" << *thrown;
    endpoint.cut();
}

void Host::stop()
{
    if (m_doors)
        m_doors->stopListening();
    for (; !m_attached.empty(); m_attached.pop_back())
        detach(*m_attached.back().first, *m_attached.back().second);
    if (m_dispatcher)
        m_dispatcher->releaseAll();
    // What plug-ins have left to deleteLater() may still use them.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_doors.reset();
    m_dispatcher.reset();
    m_strategies.clear();
    m_plugins.clear();
}
