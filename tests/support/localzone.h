#pragma once

#include <QByteArray>

#include <ctime>

/// The local time zone while this lives, in the form of POSIX, which needs no data of the system.
class LocalZone
{
public:
    explicit LocalZone(const char *zone)
        : m_previous(qgetenv("TZ"))
    {
        qputenv("TZ", zone);
        tzset();
    }
    ~LocalZone()
    {
        qputenv("TZ", m_previous);
        tzset();
    }
    Q_DISABLE_COPY_MOVE(LocalZone)

private:
    const QByteArray m_previous;
};
