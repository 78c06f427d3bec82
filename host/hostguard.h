#pragma once

#include "accesstoken.h"
#include "allowedhosts.h"
#include "originpolicy.h"
#include "refusallog.h"

#include <http/server/guard.h>

#include <functional>
#include <optional>

struct AccessSettings;

/**
 * Decides who is served, by the rules of docs/security.md: the other end of the connection, then the Host
 * header, the page that a request comes from, and the token. Pages of listed origins are told that they may
 * read the answers, whatever these are, and get their preflights answered.
 */
class HostGuard final : public http::server::Guard
{
public:
    /// Tells the other end of a connection in a sentence why it is refused, and the log why in detail; empty
    /// if it is served.
    using PeerCheck = std::function<QString(int socket)>;

    /// Without `token` none is asked for, without `peerCheck` everybody is served who can connect. `log` must
    /// outlive the guard.
    HostGuard(const AccessSettings &settings, std::optional<AccessToken> token, PeerCheck peerCheck,
              RefusalLog &log);
    ~HostGuard() = default;
    Q_DISABLE_COPY_MOVE(HostGuard)

    /// The port of the host, once it is bound and before a request comes.
    void setPort(quint16 port) { m_hosts.setPort(port); }

    [[nodiscard]] QString refusal(int socket) override
    {
        return m_peerCheck ? m_peerCheck(socket) : QString();
    }
    [[nodiscard]] http::server::Screening screen(http::server::Request::HttpMethod method,
                                                 const http::server::HeaderFields &headers) override;

private:
    using Refusal = std::optional<http::server::Answer>;

    [[nodiscard]] http::server::HeaderFields fieldsFor(OriginPolicy::Verdict verdict,
                                                       const http::server::HeaderFields &headers) const;
    [[nodiscard]] Refusal checkHost(const http::server::HeaderFields &headers);
    [[nodiscard]] Refusal checkOrigin(OriginPolicy::Verdict verdict,
                                      const http::server::HeaderFields &headers);
    [[nodiscard]] Refusal checkToken(const http::server::HeaderFields &headers);

    AllowedHosts m_hosts;
    const OriginPolicy m_origins;
    const std::optional<AccessToken> m_token;
    const PeerCheck m_peerCheck;
    RefusalLog &m_log;
};
