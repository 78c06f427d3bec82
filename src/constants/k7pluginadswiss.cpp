#include "constants/k7pluginadswiss.h"

#include "constants/textconstant.h"

namespace constants::k7PluginADSwiss {

TEXT_CONSTANT(name, "k7-plugin-adswiss")

} // namespace constants::k7PluginADSwiss
