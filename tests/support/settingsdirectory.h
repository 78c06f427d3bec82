#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

/// A directory that holds all configuration this process sees while it lives: that of the organization
/// "maker" and the application "program". The current directory is "cwd" below it.
class SettingsDirectory
{
public:
    SettingsDirectory()
    {
        m_ready = m_directory.isValid() && QDir(m_directory.path()).mkdir(QStringLiteral("cwd"))
                  && QDir::setCurrent(filePath(QStringLiteral("cwd")));
        QSettings::setPath(QSettings::IniFormat, QSettings::SystemScope, filePath(QStringLiteral("system")));
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, filePath(QStringLiteral("user")));
        qunsetenv("TS_SETTINGS_INI_FILE");
        QCoreApplication::setOrganizationName(QStringLiteral("maker"));
        QCoreApplication::setApplicationName(QStringLiteral("program"));
    }
    ~SettingsDirectory()
    {
        qunsetenv("TS_SETTINGS_INI_FILE");
        QDir::setCurrent(m_oldWorkingDirectory);
    }
    Q_DISABLE_COPY_MOVE(SettingsDirectory)

    /// Whether the directory could be made.
    [[nodiscard]] bool isReady() const { return m_ready; }
    [[nodiscard]] QString path() const { return m_directory.path(); }
    [[nodiscard]] QString filePath(const QString &relativePath) const
    {
        return m_directory.filePath(relativePath);
    }

    /// Writes an .ini file with one group and gives its path, empty if that failed.
    [[nodiscard]] QString write(const QString &relativePath, const QString &group, const QString &lines) const
    {
        QFile file(filePath(relativePath));
        const QByteArray text = QStringLiteral("[%1]\n%2\n").arg(group, lines).toUtf8();
        const bool written = QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly)
                             && file.write(text) == text.size();
        return written ? file.fileName() : QString();
    }

    /// Sets one key of the user's settings, which then has no others.
    [[nodiscard]] bool set(const QString &group, const QString &line) const
    {
        return !write(QStringLiteral("user/maker/program.ini"), group, line).isEmpty();
    }

private:
    // Named here, since the default takes the name of the application, which a test may change.
    QTemporaryDir m_directory{QDir::tempPath() + QStringLiteral("/settings-XXXXXX")};
    QString m_oldWorkingDirectory = QDir::currentPath();
    bool m_ready = false;
};
