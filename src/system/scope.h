#pragma once

#include <QFlags>

namespace tessel::system {

/// The layers that Settings may read. The bits do not tell the order in which they are read.
struct Scope
{
    enum Value : unsigned int {
        ApplicationDirectory = 1, ///< the .ini file beside the executable
        SystemConfiguration = 2, ///< the .ini file in the system-wide configuration directory
        SystemSettings = 4, ///< the system scope of QSettings, in .ini format
        UserSettings = 8, ///< the user scope of QSettings, in .ini format
    };
    Q_DECLARE_FLAGS(Values, Value)
};
Q_DECLARE_OPERATORS_FOR_FLAGS(Scope::Values)

} // namespace tessel::system
