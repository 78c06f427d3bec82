#include "meta.h"

#include <utility>

namespace domain {

void Meta::setVersionId(QString versionId)
{
    m_versionId = std::move(versionId);
}

void Meta::setLastUpdated(const QDateTime &lastUpdated)
{
    m_lastUpdated = lastUpdated;
}

void Meta::setProfile(const QString &profile)
{
    m_profile = profile;
}

void Meta::setSecurity(QVector<Coding> security)
{
    m_security = std::move(security);
}

void Meta::setTag(QVector<Coding> tag)
{
    m_tag = std::move(tag);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value as in every setter, though it is copied
Coding &Meta::appendTag(Coding tag)
{
    m_tag.append(tag);
    return m_tag.last();
}

} // namespace domain
