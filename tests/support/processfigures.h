#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>
#include <QtTest>

#include <chrono>
#include <sys/resource.h>
#include <sys/types.h>
#include <unistd.h>

/// True in a build under the address sanitizer, where the memory of a process says nothing.
#if defined(__SANITIZE_ADDRESS__)
static constexpr bool isSanitized = true;
#else
static constexpr bool isSanitized = false;
#endif

/// What a connection may cost the host in bytes, as for a poll that is parked, beside what waits on it.
static constexpr qint64 bytesAConnection = 4096;

/// Fails the test if the memory of a process has grown by more than `bound` bytes.
inline void verifyMemoryGrowth(qint64 growth, qint64 bound)
{
    if (!isSanitized)
        QVERIFY2(growth <= bound, qPrintable(QString::number(growth)));
}

/// What the kernel tells of another process. The process exists.
class ProcessFigures final
{
public:
    explicit ProcessFigures(qint64 processId)
        : m_processId(processId)
    {
    }

    /// Resident memory in bytes.
    [[nodiscard]] qint64 residentBytes() const { return memory("VmRSS:"); }
    /// The most that was resident since the start, or since forgetPeak().
    [[nodiscard]] qint64 peakBytes() const { return memory("VmHWM:"); }
    /// False if that is not allowed.
    [[nodiscard]] bool forgetPeak() const
    {
        QFile file(path("clear_refs"));
        return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1;
    }

    /// Processor time used so far, in the kernel and outside.
    [[nodiscard]] std::chrono::milliseconds processorTime() const
    {
        // The second field, a name in parentheses, may hold blanks.
        const QByteArray stat = read("stat");
        const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
        const qint64 ticks = fields.at(11).toLongLong() + fields.at(12).toLongLong();
        return std::chrono::milliseconds(ticks * 1000 / sysconf(_SC_CLK_TCK));
    }

    [[nodiscard]] int openDescriptors() const
    {
        return QDir(path("fd")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
    }

    /// Lowers the soft limit of a resource, or raises it up to the hard one; what is in use already stays.
    [[nodiscard]] bool limit(__rlimit_resource resource, rlim_t value) const
    {
        const auto id = static_cast<pid_t>(m_processId);
        rlimit both{};
        if (prlimit(id, resource, nullptr, &both) != 0)
            return false;
        both.rlim_cur = value < both.rlim_max ? value : both.rlim_max;
        return prlimit(id, resource, &both, nullptr) == 0;
    }

private:
    [[nodiscard]] QString path(const char *name) const
    {
        return QStringLiteral("/proc/%1/%2").arg(QString::number(m_processId), QLatin1String(name));
    }
    [[nodiscard]] QByteArray read(const char *name) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("The process has gone.");
        return file.readAll();
    }
    [[nodiscard]] qint64 memory(const QByteArray &field) const
    {
        const QByteArray status = read("status");
        const int begin = status.indexOf(field) + field.size();
        return status.mid(begin, status.indexOf(" kB", begin) - begin).trimmed().toLongLong() * 1024;
    }

    const qint64 m_processId;
};

/// Lets this process have so many descriptors; false if it may not.
[[nodiscard]] inline bool raiseDescriptorLimit(rlim_t descriptors)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_max < descriptors)
        return false;
    limit.rlim_cur = limit.rlim_max;
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}
