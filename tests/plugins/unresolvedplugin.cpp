#include "unresolvedplugin.h"

void functionOfNobody();

UnresolvedPlugin::UnresolvedPlugin()
{
    functionOfNobody();
}
