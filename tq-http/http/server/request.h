#pragma once

#include "export.h"
#include "headerfields.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace http::server {

/// One complete request, body included. Immutable; used on the event-loop thread.
class TQ_HTTP_EXPORT Request final
{
public:
    /// The methods of RFC 9110 and RFC 5789.
    enum class HttpMethod {
        Delete = 0,
        Get = 1,
        Head = 2,
        Post = 3,
        Put = 4,
        Connect = 5,
        Options = 6,
        Trace = 7,
        Patch = 28,
        Unknown = 255
    };

    Request(HttpMethod method, QUrl url, HeaderFields headers, QByteArray body);

    [[nodiscard]] HttpMethod method() const { return m_method; }

    /// Relative: the path and the query of the request target as sent, still percent-encoded. The scheme and
    /// the authority of an absolute-form target are left out.
    [[nodiscard]] const QUrl &url() const { return m_url; }

    /// The value of the header `name`, whose case does not matter. Several lines of one name come joined with
    /// ", "; an absent header is a null string. Bytes are read as UTF-8.
    [[nodiscard]] QString header(const QString &name) const;

    [[nodiscard]] const QByteArray &body() const { return m_body; }

private:
    HttpMethod m_method;
    QUrl m_url;
    HeaderFields m_headers;
    QByteArray m_body;
};

} // namespace http::server
