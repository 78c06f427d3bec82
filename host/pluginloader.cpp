#include "pluginloader.h"

#include <k7-plugin-api/vexoserviceinterface.h>

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>

#include <optional>

static QString pluginName(const QFileInfo &file)
{
    const QString name = file.completeBaseName();
    return name.startsWith(QLatin1String("lib")) ? name.mid(3) : name;
}

static std::variant<LoadedPlugin, StartFailure> loadPlugin(const QFileInfo &file)
{
    const QString path = file.absoluteFilePath();
    if (!file.exists())
        return StartFailure{QStringLiteral("plug-in %1: no such file").arg(path)};
    if (!file.isFile())
        return StartFailure{QStringLiteral("plug-in %1: not a file").arg(path)};

    QPluginLoader loader(path);
    // A symbol that is missing shall stop the start, not a request later on.
    loader.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
    std::unique_ptr<QObject> instance(loader.instance());
    if (!instance)
        return StartFailure{QStringLiteral("plug-in %1: not a plug-in: %2").arg(path, loader.errorString())};
    auto *plugin = qobject_cast<VexoServicePlugin *>(instance.get());
    if (plugin == nullptr) {
        return StartFailure{QStringLiteral("plug-in %1: a plug-in of another kind, it does not implement %2")
                                .arg(path, QLatin1String(qobject_interface_iid<VexoServicePlugin *>()))};
    }
    return LoadedPlugin{pluginName(file), path, std::move(instance), plugin};
}

// Reads the file without loading the library.
static bool isEnabled(const QFileInfo &library, const SettingIsSet &isSet)
{
    const QString setting = QPluginLoader(library.absoluteFilePath())
                                .metaData()
                                .value(QLatin1String("MetaData"))
                                .toObject()
                                .value(QLatin1String("enabledBySetting"))
                                .toString();
    return setting.isEmpty() || isSet(setting);
}

static std::optional<StartFailure> addLibraries(const QString &directory, const SettingIsSet &isSet,
                                                QFileInfoList &files)
{
    const QDir dir(directory);
    if (!dir.exists()) {
        return StartFailure{
            QStringLiteral("plug-in directory %1: no such directory").arg(dir.absolutePath())};
    }
    const QFileInfoList entries = dir.entryInfoList(QDir::Files, QDir::Name);
    std::copy_if(entries.cbegin(), entries.cend(), std::back_inserter(files),
                 [&isSet](const QFileInfo &file) {
                     return QLibrary::isLibrary(file.fileName()) && isEnabled(file, isSet);
                 });
    return {};
}

std::variant<PluginSet, StartFailure> loadPlugins(const QStringList &files, const QStringList &directories,
                                                  const SettingIsSet &isSet)
{
    QFileInfoList found;
    for (const QString &file : files)
        found.append(QFileInfo(file));
    for (const QString &directory : directories) {
        if (auto failure = addLibraries(directory, isSet, found))
            return std::move(*failure);
    }
    if (found.isEmpty()) {
        return StartFailure{
            QStringLiteral("no plug-in to load in %1").arg(directories.join(QStringLiteral(", ")))};
    }

    PluginSet plugins;
    QStringList loaded;
    for (const QFileInfo &file : std::as_const(found)) {
        const QString canonical = file.canonicalFilePath();
        if (!canonical.isEmpty() && loaded.contains(canonical))
            continue;
        auto result = loadPlugin(file);
        if (auto *failure = std::get_if<StartFailure>(&result))
            return std::move(*failure);
        plugins.add(std::get<LoadedPlugin>(std::move(result)));
        loaded.append(canonical);
    }
    return plugins;
}
