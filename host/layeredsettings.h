#pragma once

#include <QMap>
#include <QString>
#include <QVariant>

/// All settings of one application with their groups, read now. A later layer wins key by key: the system
/// scope, the user scope (both in .ini format), and the file that the environment variable
/// TS_SETTINGS_INI_FILE names, if its name ends in ".ini". A file that cannot be read has no keys.
[[nodiscard]] QMap<QString, QVariant> readLayeredSettings(const QString &organization,
                                                          const QString &application);
