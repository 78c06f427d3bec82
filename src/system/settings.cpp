#include "settings.h"

#include "system/applicationpaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QLoggingCategory>
#include <QSettings>

namespace tessel::system {

const QLoggingCategory &tsystemSettingsLogging()
{
    static const QLoggingCategory category("ch.tessel.system.settings");
    return category;
}

static void addLayer(QMap<QString, QVariant> &values, const QSettings &layer)
{
    const QStringList keys = layer.allKeys();
    for (const QString &key : keys)
        values.insert(key, layer.value(key));
}

static QSettings iniFile(const QDir &directory, const QString &application)
{
    return {directory.absoluteFilePath(application + QStringLiteral(".ini")), QSettings::IniFormat};
}

Settings::Settings(const QString &organization, const QString &application, QFlags<Scope::Value> scopes)
{
    if (scopes.testFlag(Scope::ApplicationDirectory))
        addLayer(m_values, iniFile(QDir(QCoreApplication::applicationDirPath()), application));
    if (scopes.testFlag(Scope::SystemSettings)) {
        const QSettings system(QSettings::IniFormat, QSettings::SystemScope, organization, application);
        addLayer(m_values, system);
    }
    if (scopes.testFlag(Scope::SystemConfiguration)) {
        const QDir directory =
            ApplicationPaths::getApplicationPaths(QSettings::SystemScope, ApplicationPaths::Configuration);
        addLayer(m_values, iniFile(directory, application));
    }
    if (scopes.testFlag(Scope::UserSettings)) {
        QSettings user(QSettings::IniFormat, QSettings::UserScope, organization, application);
        // With fallbacks the system scope's keys would come along and beat stronger layers.
        user.setFallbacksEnabled(false);
        addLayer(m_values, user);
    }
    const QString file = QString::fromLocal8Bit(qgetenv("TS_SETTINGS_INI_FILE"));
    if (file.endsWith(QLatin1String(".ini")))
        addLayer(m_values, QSettings(file, QSettings::IniFormat));
}

QVariant Settings::value(const QString &key)
{
    return m_values[key];
}

} // namespace tessel::system
