#include "request.h"

#include <utility>

namespace http::server {

Request::Request(HttpMethod method, QUrl url, HeaderFields headers, QByteArray body)
    : m_method(method)
    , m_url(std::move(url))
    , m_headers(std::move(headers))
    , m_body(std::move(body))
{
}

QString Request::header(const QString &name) const
{
    return QString::fromUtf8(m_headers.joined(name.toUtf8()));
}

} // namespace http::server
