#pragma once

#include <http/server/headerfields.h>

#include <QByteArray>

/// The secret that a request shows as `Authorization: Bearer TOKEN` (RFC 6750).
class AccessToken final
{
public:
    enum class Verdict { Missing, Wrong, Right };

    /// `token` is not empty.
    explicit AccessToken(QByteArray token);

    /// Missing: no token is shown, if perhaps credentials of another kind. Several Authorization lines are
    /// wrong, also if each is right. How long it takes tells nothing of the token.
    [[nodiscard]] Verdict check(const http::server::HeaderFields &headers) const;

    /// Whether `text` has the form of a token: token68 of RFC 9110 (section 11.2).
    [[nodiscard]] static bool isWellFormed(const QByteArray &text);

private:
    [[nodiscard]] bool equals(const QByteArray &shown) const;

    const QByteArray m_token;
};
