#include "originpolicy.h"

#include <QList>

#include <algorithm>
#include <utility>

using http::server::HeaderFields;

// A page makes the browser send some requests without an Origin, such as those of links and images. Values
// that are not known yet are to be passed over (Fetch Metadata Request Headers, section 2), but not those
// that have come into company on the way.
static bool tellsOfAnotherOrigin(const QByteArray &sites)
{
    if (sites.isEmpty())
        return false;
    const QList<QByteArray> items = sites.toLower().split(',');
    return std::any_of(items.cbegin(), items.cend(), [](const QByteArray &item) {
        const QByteArray site = item.split(';').constFirst().trimmed();
        return site == "cross-site" || site == "same-site";
    });
}

OriginPolicy::OriginPolicy(QVector<Origin> listed, bool listsNull, const AllowedHosts &hosts)
    : m_listed(std::move(listed))
    , m_listsNull(listsNull)
    , m_hosts(hosts)
{
}

OriginPolicy::Verdict OriginPolicy::judge(const HeaderFields &headers) const
{
    const QByteArray origin = QByteArrayLiteral("Origin");
    if (headers.contains(origin)) {
        const Verdict verdict = judgeOrigin(headers.joined(origin));
        if (verdict != Verdict::Own)
            return verdict;
    }
    const QByteArray sites = headers.joined(QByteArrayLiteral("Sec-Fetch-Site"));
    return tellsOfAnotherOrigin(sites) ? Verdict::CrossSite : Verdict::Own;
}

OriginPolicy::Verdict OriginPolicy::judgeOrigin(const QByteArray &value) const
{
    if (value == "null")
        return m_listsNull ? Verdict::Listed : Verdict::Foreign;
    const auto origin = Origin::parse(value);
    if (!origin)
        return Verdict::Foreign;
    if (m_listed.contains(*origin))
        return Verdict::Listed;
    return isOwn(*origin) ? Verdict::Own : Verdict::Foreign;
}

bool OriginPolicy::isOwn(const Origin &origin) const
{
    return origin.scheme == "http" && origin.place.port == m_hosts.port() && m_hosts.allows(origin.place);
}
