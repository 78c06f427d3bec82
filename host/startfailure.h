#pragma once

#include <QString>

/// Why the service does not start.
struct StartFailure
{
    QString text; ///< for the user, naming the thing and why; may quote whatever was given
    int exitStatus = 1; ///< 1; 2 for options that are wrong

    /// The text on one line, to be printed: a blank in place of each character that would break the line, end
    /// it early or hide what is in front of it.
    [[nodiscard]] QString line() const;
};
