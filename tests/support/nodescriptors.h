#pragma once

#include <QtGlobal>

#include <sys/resource.h>

/// While it lives, this process can open nothing more.
class NoDescriptors final
{
public:
    NoDescriptors()
    {
        if (::getrlimit(RLIMIT_NOFILE, &m_before) != 0)
            qFatal("No limit of open files.");
        const rlimit none{0, m_before.rlim_max};
        if (::setrlimit(RLIMIT_NOFILE, &none) != 0)
            qFatal("The limit of open files cannot be set.");
    }
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    Q_DISABLE_COPY_MOVE(NoDescriptors)

private:
    rlimit m_before{};
};
