#include "cors.h"

namespace cors {

using http::server::Answer;
using http::server::HeaderFields;
using http::server::Request;

HeaderFields fields(const QByteArray &origin)
{
    return {
        {"Access-Control-Allow-Origin", origin},
        {"Access-Control-Expose-Headers", "Content-Disposition, Content-Encoding, Date, WWW-Authenticate"}};
}

bool isPreflight(Request::HttpMethod method, const HeaderFields &headers)
{
    return method == Request::HttpMethod::Options
           && headers.contains(QByteArrayLiteral("Access-Control-Request-Method"));
}

Answer preflightAnswer()
{
    return {204,
            {{"Access-Control-Allow-Methods", "DELETE, GET, POST, PUT"},
             {"Access-Control-Allow-Headers", "Authorization, Content-Type, Prefer"},
             {"Access-Control-Max-Age", "600"}},
            {}};
}

} // namespace cors
