#pragma once

#include "system/settings.h"

#include <QCoreApplication>
#include <QSettings>
#include <QVariant>

/// The settings of the application that runs the plug-in, from all layers, as they are now.
[[nodiscard]] inline tessel::system::Settings readPluginSettings()
{
    return {QCoreApplication::organizationName(), QCoreApplication::applicationName(),
            tessel::system::Scope::Values(0xf)};
}

/// The directory to which the XML of cards is written, as the setting says now; invalid if there is none.
/// Unlike the others it is read from the system scope of QSettings alone.
[[nodiscard]] inline QVariant readXmlDirectory()
{
    const QSettings settings(QSettings::IniFormat, QSettings::SystemScope,
                             QCoreApplication::organizationName(), QCoreApplication::applicationName());
    return settings.value(QStringLiteral("ch.tessel.vexo-service.context/xml.directory"), QVariant());
}
