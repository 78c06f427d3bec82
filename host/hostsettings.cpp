#include "hostsettings.h"

#include "limitsettings.h"

#include <utility>

static constexpr const char *listenKey = "http.listen";
static constexpr const char *directoryKey = "plugins.directory";

std::variant<HostSettings, StartFailure> HostSettings::read(const Lookup &lookup)
{
    HostSettings settings;
    settings.lookup = lookup;
    auto limits = readLimits(lookup);
    if (auto *failure = std::get_if<StartFailure>(&limits))
        return std::move(*failure);
    settings.limits = std::get<http::server::Limits>(limits);

    auto access = AccessSettings::read(lookup);
    if (auto *failure = std::get_if<StartFailure>(&access))
        return std::move(*failure);
    settings.access = std::get<AccessSettings>(std::move(access));

    const SettingValue listen(lookup, listenKey);
    if (listen.isSet()) {
        settings.listen = ListenAddress::parse(listen.text());
        if (!settings.listen)
            return listen.senseless(QStringLiteral("must be ADDRESS:PORT, such as 127.0.0.1:8750"));
    }

    const SettingValue directories(lookup, directoryKey);
    settings.pluginDirectories = directories.list();
    if (directories.isSet()
        && (settings.pluginDirectories.isEmpty() || settings.pluginDirectories.contains(QString())))
        return directories.senseless(QStringLiteral("must name a directory"));
    if (directories.text().contains(QChar::Null))
        return directories.senseless(QStringLiteral("must not have a NUL in it"));
    return settings;
}

QString HostSettings::describe()
{
    return describeSetting(listenKey, ListenAddress().toString(), "see --listen") + AccessSettings::describe()
           + describeSetting(directoryKey, {}, "see --plugin-dir") + describeLimits();
}
