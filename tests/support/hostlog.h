#pragma once

#include "hostprocess.h"

#include <csignal>
#include <sys/types.h>

/// Waits until the host has written `text` to its standard error `count` times.
[[nodiscard]] inline bool waitForLog(HostProcess &host, const QByteArray &text, int count = 1)
{
    while (host.readLog().count(text) < count) {
        if (!host.process.waitForReadyRead(30000))
            return false;
    }
    return true;
}

/// Takes what the host has written by now: one whose log nobody reads waits when the pipe is full.
inline void drainLog(HostProcess &host)
{
    while (host.process.waitForReadyRead(0))
        static_cast<void>(host.readLog());
}

/// Sends a signal to the host and tells whether it exits with 0 within `milliseconds`.
[[nodiscard]] inline bool stopHost(HostProcess &host, int number = SIGTERM, int milliseconds = 30000)
{
    return ::kill(static_cast<pid_t>(host.process.processId()), number) == 0
           && host.process.waitForFinished(milliseconds) && host.process.exitStatus() == QProcess::NormalExit
           && host.process.exitCode() == 0;
}

/// What the plug-ins of tests/plugins have logged so far, a line each, without what stands in front.
[[nodiscard]] inline QStringList pluginLog(HostProcess &host)
{
    QStringList lines;
    const QList<QByteArray> all = host.readLog().split('\n');
    for (const QByteArray &line : all) {
        const int begin = line.indexOf("test.plugin: ");
        if (begin >= 0)
            lines.append(QString::fromUtf8(line.mid(begin + 13)));
    }
    return lines;
}
