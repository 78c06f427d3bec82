#pragma once

#include "system/settings.h"

#include <QCoreApplication>

/// The settings of the application that runs the plug-in, from all layers, as they are now.
[[nodiscard]] inline tessel::system::Settings readPluginSettings()
{
    return {QCoreApplication::organizationName(), QCoreApplication::applicationName(),
            tessel::system::Scope::Values(0xf)};
}
