#pragma once

#include "allowedhosts.h"
#include "origin.h"

#include <http/server/headerfields.h>

#include <QVector>

/// Which web pages may send requests: those of this host itself, and those of the origins that are listed. A
/// request that no web page has brought about is none of its business.
class OriginPolicy final
{
public:
    enum class Verdict {
        Own, ///< no page of another origin has brought the request about
        Listed, ///< a page of a listed origin has, and may read the answer
        Foreign, ///< its Origin is neither; refused
        CrossSite ///< its Sec-Fetch-Site tells of another origin, and no listed Origin is given; refused
    };

    /// `listsNull` lists the Origin `null`, which all pages without an origin of their own share. `hosts`
    /// must outlive the policy.
    OriginPolicy(QVector<Origin> listed, bool listsNull, const AllowedHosts &hosts);

    /// Whether any origin is listed.
    [[nodiscard]] bool hasList() const { return m_listsNull || !m_listed.isEmpty(); }

    [[nodiscard]] Verdict judge(const http::server::HeaderFields &headers) const;

private:
    [[nodiscard]] Verdict judgeOrigin(const QByteArray &value) const;
    [[nodiscard]] bool isOwn(const Origin &origin) const;

    const QVector<Origin> m_listed;
    const bool m_listsNull;
    const AllowedHosts &m_hosts;
};
