#include "filelimit.h"

#include <QLoggingCategory>

#include <algorithm>
#include <sys/resource.h>

static const QLoggingCategory &fileLimitLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.filelimit");
    return category;
}

void raiseFileLimit(int connections)
{
    static constexpr rlim_t others = 256;
    const rlim_t needed = static_cast<rlim_t>(connections) + others;
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= needed)
        return;
    limit.rlim_cur = std::min(needed, limit.rlim_max);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur < needed) {
        qCWarning(fileLimitLogging) << "The limit of open files," << limit.rlim_cur << ", is too low for"
                                    << connections << "connections.";
    }
}
