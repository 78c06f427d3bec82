#pragma once

#include <QDeadlineTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

/// Chromium without a window, with a profile of its own. All of its processes end with this object.
class Browser final : public QProcess
{
public:
    Browser()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
            environment.insert(QString::fromLatin1(name), m_profile.path());
        setProcessEnvironment(environment);
        if (::pipe2(m_output, O_CLOEXEC) != 0)
            qFatal("There is no pipe.");
    }
    ~Browser() override
    {
        terminate();
        if (!waitForFinished(30000))
            kill();
        waitForFinished();
        // The others may still write to the profile.
        if (!readOutput(30000))
            qWarning("Chromium does not end:\n%s", m_log.constData());
        ::close(m_output[0]);
    }
    Q_DISABLE_COPY_MOVE(Browser)

    [[nodiscard]] static bool isInstalled()
    {
        return !QStandardPaths::findExecutable(QStringLiteral("chromium")).isEmpty();
    }

    /// In a container or as root there is no sandbox, and seldom much shared memory; a network is not needed.
    /// Every name below "test" is one of 127.0.0.1.
    void open(const QUrl &page)
    {
        start(QStringLiteral("chromium"),
              {QStringLiteral("--headless"), QStringLiteral("--no-sandbox"), QStringLiteral("--disable-gpu"),
               QStringLiteral("--disable-dev-shm-usage"), QStringLiteral("--disable-background-networking"),
               QStringLiteral("--disable-component-update"), QStringLiteral("--no-first-run"),
               QStringLiteral("--no-proxy-server"),
               QStringLiteral("--host-resolver-rules=MAP *.test 127.0.0.1"),
               QStringLiteral("--enable-logging=stderr"),
               QStringLiteral("--user-data-dir=") + m_profile.path(), page.toString(QUrl::FullyEncoded)});
        ::close(m_output[1]);
    }
    [[nodiscard]] QByteArray readLog()
    {
        (void)readOutput(0);
        return errorString().toUtf8() + '\n' + m_log;
    }

protected:
    void setupChildProcess() override
    {
        ::dup2(m_output[1], STDOUT_FILENO);
        ::dup2(m_output[1], STDERR_FILENO);
    }

private:
    /// Takes what comes within `milliseconds`; true if that is all: no process is left that could write.
    [[nodiscard]] bool readOutput(int milliseconds)
    {
        const QDeadlineTimer deadline(milliseconds);
        char buffer[4096];
        pollfd waiting{m_output[0], POLLIN, 0};
        while (::poll(&waiting, 1, static_cast<int>(deadline.remainingTime())) == 1) {
            const ssize_t size = ::read(m_output[0], buffer, sizeof buffer);
            if (size <= 0)
                return size == 0;
            m_log.append(buffer, static_cast<int>(size));
        }
        return false;
    }

    QTemporaryDir m_profile;
    int m_output[2] = {-1, -1};
    QByteArray m_log;
};
