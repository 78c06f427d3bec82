#include "hostguard.h"

#include "accesssettings.h"
#include "cors.h"

#include <QDebug>

#include <utility>

using http::server::HeaderFields;
using http::server::problem;
using http::server::Request;
using http::server::Screening;

// For the log. What stands in front of an @ may be a password.
static QString quoted(const QByteArray &value)
{
    static constexpr int mostCharacters = 100;
    const QByteArray shown = value.mid(value.lastIndexOf('@') + 1);
    QString text;
    QDebug(&text).nospace() << shown.left(mostCharacters);
    return shown.size() > mostCharacters ? text + QStringLiteral("...") : text;
}

HostGuard::HostGuard(const AccessSettings &settings, std::optional<AccessToken> token, PeerCheck peerCheck,
                     RefusalLog &log)
    : m_hosts(settings.allowedHosts)
    , m_origins(settings.allowedOrigins, settings.allowsNullOrigin, m_hosts)
    , m_token(std::move(token))
    , m_peerCheck(std::move(peerCheck))
    , m_log(log)
{
}

Screening HostGuard::screen(Request::HttpMethod method, const HeaderFields &headers)
{
    const OriginPolicy::Verdict verdict = m_origins.judge(headers);
    Screening screening{checkHost(headers), fieldsFor(verdict, headers)};
    if (!screening.answer)
        screening.answer = checkOrigin(verdict, headers);
    // A browser shows no token yet when it asks for a page.
    if (!screening.answer && verdict == OriginPolicy::Verdict::Listed && cors::isPreflight(method, headers))
        screening.answer = cors::preflightAnswer();
    if (!screening.answer)
        screening.answer = checkToken(headers);
    return screening;
}

HeaderFields HostGuard::fieldsFor(OriginPolicy::Verdict verdict, const HeaderFields &headers) const
{
    HeaderFields fields;
    if (verdict == OriginPolicy::Verdict::Listed)
        fields = cors::fields(headers.joined(QByteArrayLiteral("Origin")));
    // Also without an Origin: an answer that is kept must not be given to a page that asks with one.
    if (m_origins.hasList())
        fields.append(QByteArrayLiteral("Vary"), QByteArrayLiteral("Origin"));
    return fields;
}

HostGuard::Refusal HostGuard::checkHost(const HeaderFields &headers)
{
    const QByteArray host = headers.joined(QByteArrayLiteral("Host"));
    if (m_hosts.allows(host))
        return {};
    m_log.add(QStringLiteral(
                  "Request refused with 421: its Host header is %1, which http.allowedHosts does not name")
                  .arg(quoted(host)));
    return problem(421,
                   QStringLiteral("The Host header names none of this host's names; see http.allowedHosts."));
}

HostGuard::Refusal HostGuard::checkOrigin(OriginPolicy::Verdict verdict, const HeaderFields &headers)
{
    switch (verdict) {
    case OriginPolicy::Verdict::Own:
    case OriginPolicy::Verdict::Listed: return {};
    case OriginPolicy::Verdict::Foreign:
        m_log.add(QStringLiteral("Request refused with 403: its Origin header is %1, which "
                                 "http.allowedOrigins does not name")
                      .arg(quoted(headers.joined(QByteArrayLiteral("Origin")))));
        return problem(
            403,
            QStringLiteral("The Origin header names no origin that is served; see http.allowedOrigins."));
    case OriginPolicy::Verdict::CrossSite: break;
    }
    m_log.add(
        QStringLiteral("Request refused with 403: its Sec-Fetch-Site header is %1, and it has no Origin "
                       "that http.allowedOrigins names")
            .arg(quoted(headers.joined(QByteArrayLiteral("Sec-Fetch-Site")))));
    return problem(403,
                   QStringLiteral("A page of another origin has brought this request about, and has sent "
                                  "no Origin that is served; see http.allowedOrigins."));
}

HostGuard::Refusal HostGuard::checkToken(const HeaderFields &headers)
{
    if (!m_token)
        return {};
    const AccessToken::Verdict verdict = m_token->check(headers);
    if (verdict == AccessToken::Verdict::Right)
        return {};
    const bool isWrong = verdict == AccessToken::Verdict::Wrong;
    m_log.add(isWrong ? QStringLiteral("Request refused with 401: its token is not that of http.tokenFile")
                      : QStringLiteral(
                          "Request refused with 401: it shows no token, and http.tokenFile names one"));
    auto answer = problem(
        401, isWrong ? QStringLiteral("The token is not the one in the file of http.tokenFile.")
                     : QStringLiteral("There is no Authorization header with the bearer token; it stands in "
                                      "the file of http.tokenFile."));
    answer.headers.append("WWW-Authenticate", isWrong
                                                  ? R"(Bearer realm="vexo-service", error="invalid_token")"
                                                  : R"(Bearer realm="vexo-service")");
    return answer;
}
