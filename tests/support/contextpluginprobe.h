#pragma once

#include "contextplugin.h"

/// Reaches the store, which no operation of the plug-in shows.
struct ContextPluginProbe
{
    static ContextService &contexts(const ContextPlugin &plugin) { return *plugin.m_contextService; }
};
