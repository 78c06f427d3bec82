#include "throwingplugin.h"

#include <stdexcept>

void ThrowingPlugin::initialize()
{
    throw std::runtime_error("cannot start");
}
