#include "requesttarget.h"

#include <QByteArray>
#include <QString>

namespace http::server {

static QUrl urlFromPathAndQuery(const QByteArray &text)
{
    const int question = text.indexOf('?');
    QUrl url;
    // Set piece by piece, so that a path such as "//host/x" is never taken for an authority.
    url.setPath(QString::fromLatin1(question < 0 ? text : text.left(question)), QUrl::TolerantMode);
    if (question >= 0)
        url.setQuery(QString::fromLatin1(text.mid(question + 1)), QUrl::TolerantMode);
    return url;
}

std::optional<QUrl> relativeUrl(const QByteArray &target, bool isConnect)
{
    if (isConnect)
        return QUrl();
    if (target.startsWith('/'))
        return urlFromPathAndQuery(target);
    if (target == "*")
        return urlFromPathAndQuery(target);

    const int authorityBegin = target.indexOf("://") + 3;
    if (authorityBegin < 4)
        return std::nullopt;
    int authorityEnd = authorityBegin;
    while (authorityEnd < target.size() && target.at(authorityEnd) != '/' && target.at(authorityEnd) != '?')
        ++authorityEnd;
    const QByteArray pathAndQuery = target.mid(authorityEnd);
    return urlFromPathAndQuery(pathAndQuery.startsWith('/') ? pathAndQuery : '/' + pathAndQuery);
}

} // namespace http::server
