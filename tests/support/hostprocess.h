#pragma once

#include "userprocess.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

/**
 * The real host in a process of its own, on a free port of the loopback, with settings of its own and nobody
 * else's. Ends with this object.
 */
class HostProcess
{
public:
    /// `settings` are lines of the group [ch.tessel.vexo-service]; `arguments` are added to the command line.
    /// With `user`, it runs as that one, and its directory is that one's.
    explicit HostProcess(const QStringList &arguments, const QByteArray &settings = {},
                         std::optional<uid_t> user = {})
        : process(user)
    {
        if (user && ::chown(QFile::encodeName(m_directory.path()).constData(), *user, *user) != 0)
            qFatal("The directory cannot be given away.");
        QFile file(m_directory.filePath(QStringLiteral("settings.ini")));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("The settings cannot be written.");
        file.write("[ch.tessel.vexo-service]\n" + settings + "\n");

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), m_directory.path());
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_directory.path());
        environment.insert(QStringLiteral("TS_SETTINGS_INI_FILE"), file.fileName());
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(m_directory.path());
        process.setProgram(QStringLiteral(VEXO_SERVICE));
        // What waitForReadyRead() waits for.
        process.setReadChannel(QProcess::StandardError);
        process.setArguments(QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")}
                             + arguments);
    }
    ~HostProcess()
    {
        // Asked first: a process that is killed leaves no coverage counters behind.
        process.terminate();
        if (process.waitForFinished(5000))
            return;
        process.kill();
        process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(HostProcess)

    /// Starts the host and waits until it tells that it accepts requests.
    [[nodiscard]] bool start()
    {
        static const QRegularExpression listening(QStringLiteral(R"(Listening on 127\.0\.0\.1:(\d+))"));
        process.start();
        while (m_port == 0) {
            m_port = listening.match(QString::fromUtf8(readLog())).captured(1).toUShort();
            if (m_port == 0 && !process.waitForReadyRead(30000))
                return false;
        }
        return true;
    }

    [[nodiscard]] quint16 port() const { return m_port; }

    /// All that the host has written to its standard error so far.
    [[nodiscard]] QByteArray readLog()
    {
        m_log += process.readAllStandardError();
        return m_log;
    }

    UserProcess process;

private:
    QTemporaryDir m_directory;
    QByteArray m_log;
    quint16 m_port = 0;
};
