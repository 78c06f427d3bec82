#pragma once

#include "accesssettings.h"
#include "listenaddress.h"
#include "settingvalue.h"
#include "startfailure.h"

#include <http/server/limits.h>

#include <QStringList>

#include <optional>
#include <variant>

/// What the settings group "ch.tessel.vexo-service" says. A key that is not set has its default.
struct HostSettings
{
    using Lookup = SettingLookup;

    std::optional<ListenAddress> listen; ///< `http.listen`
    QStringList pluginDirectories; ///< `plugins.directory`, one or a list; empty if not set
    AccessSettings access; ///< who is served
    http::server::Limits limits; ///< `http.max…` in bytes and connections, `http.…Timeout` in seconds
    Lookup lookup; ///< what it was read with; null if it was not read

    /// True if this full key, which may be a plug-in's, is set to any value. Asks `lookup`.
    [[nodiscard]] bool isSet(const QString &key) const { return lookup && lookup(key).isValid(); }

    /// Reads all keys and keeps `lookup`. A value that makes no sense is a failure that names the key, the
    /// value and why.
    [[nodiscard]] static std::variant<HostSettings, StartFailure> read(const Lookup &lookup);

    /// The keys with their defaults and meanings, a line each, for the help text.
    [[nodiscard]] static QString describe();
};
