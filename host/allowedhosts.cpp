#include "allowedhosts.h"

#include <algorithm>
#include <utility>

AllowedHosts::AllowedHosts(QVector<HostPort> listed)
    : m_allowed(std::move(listed))
{
    m_allowed.append({{"localhost", 0}, {"127.0.0.1", 0}, {"[::1]", 0}});
}

bool AllowedHosts::allows(const QByteArray &value) const
{
    const auto asked = HostPort::parse(value);
    return asked && allows(*asked);
}

bool AllowedHosts::allows(const HostPort &asked) const
{
    return std::any_of(m_allowed.cbegin(), m_allowed.cend(), [&](const HostPort &allowed) {
        if (asked.host != allowed.host)
            return false;
        if (allowed.port != 0)
            return asked.port == allowed.port;
        return asked.port == 0 || asked.port == m_port;
    });
}
