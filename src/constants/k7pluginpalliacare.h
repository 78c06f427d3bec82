#pragma once

#include <QString>

/// The plug-in "k7-plugin-palliacare".
namespace constants::k7PluginPalliacare {
[[nodiscard]] QString name();
} // namespace constants::k7PluginPalliacare
