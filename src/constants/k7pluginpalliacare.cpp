#include "constants/k7pluginpalliacare.h"

#include "constants/textconstant.h"

namespace constants::k7PluginPalliacare {

TEXT_CONSTANT(name, "k7-plugin-palliacare")

} // namespace constants::k7PluginPalliacare
