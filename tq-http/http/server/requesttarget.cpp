#include "requesttarget.h"

#include "authority.h"

#include <QByteArray>
#include <QString>

#include <algorithm>

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

static std::optional<Authority> authorityIn(const QByteArray &text, int begin, int end)
{
    return readAuthority({text.constData() + begin, static_cast<std::size_t>(end - begin)});
}

std::optional<QUrl> relativeUrl(const QByteArray &target, bool isConnect)
{
    if (isConnect) {
        const auto authority = authorityIn(target, 0, target.size());
        if (!authority || authority->host.empty() || authority->port.empty())
            return std::nullopt;
        return QUrl();
    }
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
    const int userEnd = target.left(authorityEnd).lastIndexOf('@') + 1;
    const auto authority = authorityIn(target, std::max(authorityBegin, userEnd), authorityEnd);
    if (!authority || authority->host.empty())
        return std::nullopt;
    const QByteArray pathAndQuery = target.mid(authorityEnd);
    return urlFromPathAndQuery(pathAndQuery.startsWith('/') ? pathAndQuery : '/' + pathAndQuery);
}

} // namespace http::server
