#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QtTest>

/// A copy of systemprobe in a directory that a test has made, and what it says from there.
class InstalledProbe
{
public:
    struct Answer
    {
        QStringList lines; ///< standard output
        QStringList log; ///< "CATEGORY TYPE: MESSAGE", all categories and levels
    };

    /// Installs the probe as `directory`/probe.
    explicit InstalledProbe(const QString &directory)
        : m_path(directory + QStringLiteral("/probe"))
    {
        m_ready = QDir().mkpath(directory) && QFile::copy(QStringLiteral(SYSTEM_PROBE), m_path);
        environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("ch.tessel.*=true"));
        environment.insert(QStringLiteral("HOME"), directory);
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), directory);
        environment.remove(QStringLiteral("TS_SETTINGS_INI_FILE"));
    }

    [[nodiscard]] bool isReady() const { return m_ready; }

    /// A line that says so if the probe fails.
    [[nodiscard]] Answer ask(const QStringList &arguments) const
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        if (!workingDirectory.isEmpty())
            process.setWorkingDirectory(workingDirectory);
        process.start(m_path, arguments);
        if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit
            || process.exitCode() != 0) {
            return {{QStringLiteral("the probe failed: ") + process.errorString()}, {}};
        }
        const QString log = QString::fromUtf8(process.readAllStandardError());
        return {QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n')),
                log.split(QLatin1Char('\n'), Qt::SkipEmptyParts)};
    }

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QString workingDirectory;

private:
    QString m_path;
    bool m_ready = false;
};
