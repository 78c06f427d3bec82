#pragma once

#include "hostport.h"
#include "origin.h"
#include "settingvalue.h"

#include <QVector>

#include <optional>
#include <variant>

/// Who is served: what the settings of the group "ch.tessel.vexo-service" say of it. Lists are separated by
/// commas; one that is set and empty is none.
struct AccessSettings
{
    QVector<HostPort> allowedHosts; ///< `http.allowedHosts`, beside the names of the loopback
    QVector<Origin> allowedOrigins; ///< `http.allowedOrigins`
    bool allowsNullOrigin = false; ///< whether `http.allowedOrigins` holds the word `null`
    QStringList allowedUsers; ///< `http.allowedUsers`, names or numbers; whether they exist is not asked here
    bool sameUser = true; ///< `http.sameUser`, `on` or `off`, also `true` or `false`
    QString tokenFile; ///< `http.tokenFile`, absolute; empty for none
    QString socket; ///< `http.socket`, absolute; empty for none

    /// A value that makes no sense is a failure that names the key, the value and why.
    [[nodiscard]] static std::variant<AccessSettings, StartFailure> read(const SettingLookup &lookup);

    /// The keys with their defaults and meanings, a line each, for the help text.
    [[nodiscard]] static QString describe();
};
