#include "refusallog.h"

#include <QLoggingCategory>

#include <utility>

static const QLoggingCategory &accessLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.access");
    return category;
}

RefusalLog::RefusalLog(Clock clock)
    : m_clock(std::move(clock))
{
}

RefusalLog::~RefusalLog()
{
    tellCount();
}

void RefusalLog::add(const QString &what)
{
    add([&what] { return what; });
}

void RefusalLog::add(const std::function<QString()> &what)
{
    const auto now = m_clock();
    if (now - m_begin >= period || m_lines == 0) {
        tellCount();
        m_begin = now;
        m_lines = 0;
    }
    if (m_lines == linesPerPeriod) {
        ++m_untold;
        return;
    }
    ++m_lines;
    qCWarning(accessLogging).noquote() << what();
}

void RefusalLog::tellCount()
{
    if (m_untold > 0)
        qCWarning(accessLogging) << "Refused" << std::exchange(m_untold, 0) << "more within that minute.";
}
