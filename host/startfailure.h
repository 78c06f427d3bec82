#pragma once

#include <QString>

/// Why the service does not start.
struct StartFailure
{
    QString text; ///< one line for the user, naming the thing and why
    int exitStatus = 1; ///< 1; 2 for options that are wrong
};
