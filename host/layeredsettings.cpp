#include "layeredsettings.h"

#include <QSettings>

static void addLayer(QMap<QString, QVariant> &values, const QSettings &layer)
{
    const QStringList keys = layer.allKeys();
    for (const QString &key : keys)
        values.insert(key, layer.value(key));
}

QMap<QString, QVariant> readLayeredSettings(const QString &organization, const QString &application)
{
    QMap<QString, QVariant> values;
    addLayer(values, QSettings(QSettings::IniFormat, QSettings::SystemScope, organization, application));

    QSettings user(QSettings::IniFormat, QSettings::UserScope, organization, application);
    // It would bring the system scope's keys along.
    user.setFallbacksEnabled(false);
    addLayer(values, user);

    const QString file = QString::fromLocal8Bit(qgetenv("TS_SETTINGS_INI_FILE"));
    if (file.endsWith(QLatin1String(".ini")))
        addLayer(values, QSettings(file, QSettings::IniFormat));
    return values;
}
