#pragma once

#include "system/scope.h"

#include <QMap>
#include <QString>
#include <QVariant>

class QLoggingCategory;

namespace tessel::system {

/**
 * Read-only view of one application's configuration, merged from several .ini files. It is a snapshot: what
 * changes in a file later reaches only objects made after that. Made and used on one thread.
 */
class Settings final
{
public:
    /// Reads, if their bit is set in `scopes`, from the weakest to the strongest: the file beside the
    /// executable, the system scope of QSettings, the file in the system-wide configuration directory, the
    /// user scope of QSettings. Then, with any scopes, the file that the environment variable
    /// TS_SETTINGS_INI_FILE names, if its name ends in ".ini". The stronger wins key by key. A file that
    /// cannot be read has no keys; one whose "@Variant()" claims to hold more than there is memory for throws
    /// std::bad_alloc.
    Settings(const QString &organization, const QString &application, QFlags<Scope::Value> scopes);

    /// The value of a key with its group, such as "ch.tessel.system/path.logging", usually as text; invalid
    /// if no layer has it. Not const, since the lookup of an absent key leaves an invalid entry.
    [[nodiscard]] QVariant value(const QString &key);

private:
    QMap<QString, QVariant> m_values;
};

/// The category "ch.tessel.system.settings", which stays silent.
const QLoggingCategory &tsystemSettingsLogging();

} // namespace tessel::system
