#pragma once

#include <QString>

/// The plug-in "k7-plugin-adswiss".
namespace constants::k7PluginADSwiss {
[[nodiscard]] QString name();
} // namespace constants::k7PluginADSwiss
