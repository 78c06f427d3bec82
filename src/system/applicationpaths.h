#pragma once

#include <QDir>
#include <QSettings>
#include <QString>

namespace tessel::system {

/**
 * Where an application keeps its directories and finds the programs that were installed with it. Every
 * operation reads the file system as it is now and creates nothing. Any thread.
 */
class ApplicationPaths final
{
public:
    enum StandardLocation : unsigned int {
        Configuration = 0,
        Logging = 1,
        Runtime = 2,
        Update = 3,
    };

    ApplicationPaths() = delete;

    /// The directory that the key of `location`, such as "ch.tessel.system/path.configuration", names in
    /// APPLICATION.ini in the current working directory; without that key getPlatformApplicationPaths(). A
    /// configured directory counts even if it does not exist, with a warning. Throws std::runtime_error for
    /// an unknown location.
    [[nodiscard]] static QDir getApplicationPaths(QSettings::Scope scope, StandardLocation location);

    /// BASE/Library/Application Support/ORGANIZATION/APPLICATION/LOCATION, where BASE is the home directory
    /// or the root directory. Throws std::runtime_error for an unknown scope or location.
    [[nodiscard]] static QDir getPlatformApplicationPaths(QSettings::Scope scope, StandardLocation location);

    /// The executable's directory, or the one above it if that one is "bin".
    [[nodiscard]] static QDir getApplicationRoot();

    /// "3rd-party/NAME" below the application root. What is missing of it is left out, with a warning.
    [[nodiscard]] static QDir getExternalRoot(const QString &name);

    /// The executable `name` from its external root or "bin" there, else from the search path, else empty.
    [[nodiscard]] static QString getExternalExecutable(const QString &name);
};

} // namespace tessel::system
