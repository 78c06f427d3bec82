#pragma once

#include "contextservice.h"

/// Reaches the times of use, which no operation of the store shows.
struct ContextServiceProbe
{
    static QMap<QString, QDateTime> &lastUse(ContextService &service) { return service.m_lastUse; }
};
