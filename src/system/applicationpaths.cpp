#include "applicationpaths.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <QStringList>
#include <QVariant>

#include <array>
#include <stdexcept>

namespace tessel::system {

namespace {

struct LocationWords
{
    const char *key;
    const char *directory;
};

} // namespace

static constexpr std::array locations{
    LocationWords{"ch.tessel.system/path.configuration", "configuration"},
    LocationWords{"ch.tessel.system/path.logging", "logging"},
    LocationWords{"ch.tessel.system/path.runtime", "runtime"},
    LocationWords{"ch.tessel.system/path.update", "update"},
};

static const QLoggingCategory &tsystemApplicationPathsLogging()
{
    static const QLoggingCategory category("ch.tessel.system.applicationpaths");
    return category;
}

static const LocationWords &wordsOf(ApplicationPaths::StandardLocation location)
{
    if (location >= locations.size())
        throw std::runtime_error("Invalid location has been given while requesting an application's path.");
    return locations[location];
}

static QString basePath(QSettings::Scope scope)
{
    if (scope == QSettings::UserScope)
        return QStandardPaths::standardLocations(QStandardPaths::HomeLocation).constFirst();
    if (scope == QSettings::SystemScope)
        return QDir::rootPath();
    throw std::runtime_error("Invalid scope has been given while requesting an application's path.");
}

static QString getMacAppDataLocation()
{
    return QStringLiteral("Library") + QDir::separator() + QStringLiteral("Application Support");
}

QDir ApplicationPaths::getApplicationPaths(QSettings::Scope scope, StandardLocation location)
{
    const QSettings settings(QCoreApplication::applicationName() + QStringLiteral(".ini"),
                             QSettings::IniFormat);
    const QVariant value = settings.value(QLatin1String(wordsOf(location).key));
    const QString path = value.toString();
    if (value.isNull() || path.isEmpty())
        return getPlatformApplicationPaths(scope, location);

    const QFileInfo info(path);
    if (!info.exists() || !info.isDir())
        qCWarning(tsystemApplicationPathsLogging) << "Configured path for location does not exist.";
    return QDir(path);
}

QDir ApplicationPaths::getPlatformApplicationPaths(QSettings::Scope scope, StandardLocation location)
{
    // One layout on every platform is deliberate: the whole family looks in the same place.
    const QStringList parts{basePath(scope), getMacAppDataLocation(), QCoreApplication::organizationName(),
                            QCoreApplication::applicationName(), QLatin1String(wordsOf(location).directory)};
    return QDir(QDir::cleanPath(parts.join(QDir::separator())));
}

QDir ApplicationPaths::getApplicationRoot()
{
    QDir directory(QCoreApplication::applicationDirPath());
    if (directory.dirName() == QLatin1String("bin"))
        directory.cdUp();
    return directory;
}

QDir ApplicationPaths::getExternalRoot(const QString &name)
{
    QDir directory = getApplicationRoot();
    const bool hasThirdParty = directory.cd(QStringLiteral("3rd-party"));
    // Also without "3rd-party": a program may lie directly below the root.
    const bool hasProgram = directory.cd(name);
    if (!hasThirdParty || !hasProgram)
        qCWarning(tsystemApplicationPathsLogging) << "Cannot find external program root dir.";
    return directory;
}

QString ApplicationPaths::getExternalExecutable(const QString &name)
{
    QDir directory = getExternalRoot(name);
    QStringList candidates{directory.path()};
    directory.cd(QStringLiteral("bin"));
    candidates << directory.path();
    QString embedded = QStandardPaths::findExecutable(name, candidates);
    if (!embedded.isEmpty())
        return embedded;
    qCDebug(tsystemApplicationPathsLogging) << "Could not find embedded" << name << " in " << candidates;

    QString installed = QStandardPaths::findExecutable(name);
    if (installed.isEmpty()) {
        // The wording is deliberately the same for every program: log filters look for it.
        qCDebug(tsystemApplicationPathsLogging) << "No openSSL implementation found.";
    } else {
        qCDebug(tsystemApplicationPathsLogging) << "Fallback to system binary: " << installed;
    }
    return installed;
}

} // namespace tessel::system
