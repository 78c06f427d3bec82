#include "accesstoken.h"

#include <algorithm>
#include <string_view>
#include <utility>

static bool isTokenChar(char c)
{
    static constexpr std::string_view punctuation = "-._~+/";
    const char lower = static_cast<char>(c | 0x20);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9')
           || punctuation.find(c) != std::string_view::npos;
}

AccessToken::AccessToken(QByteArray token)
    : m_token(std::move(token))
{
}

AccessToken::Verdict AccessToken::check(const http::server::HeaderFields &headers) const
{
    static constexpr std::string_view scheme = "Bearer ";
    const QByteArray value = headers.joined(QByteArrayLiteral("Authorization"));
    if (qstrnicmp(value.constData(), scheme.data(), scheme.size()) != 0)
        return Verdict::Missing;
    // Several lines come joined with a comma and a blank, neither of which a token has.
    return equals(value.mid(static_cast<int>(scheme.size())).trimmed()) ? Verdict::Right : Verdict::Wrong;
}

bool AccessToken::isWellFormed(const QByteArray &text)
{
    const auto padding = std::find_if_not(text.cbegin(), text.cend(), &isTokenChar);
    return padding != text.cbegin() && std::all_of(padding, text.cend(), [](char c) { return c == '='; });
}

bool AccessToken::equals(const QByteArray &shown) const
{
    // Every byte that is shown is looked at, whatever came before.
    volatile uint difference = static_cast<uint>(shown.size() ^ m_token.size());
    for (int i = 0; i < shown.size(); ++i)
        difference = difference | static_cast<uchar>(shown.at(i) ^ m_token.at(i % m_token.size()));
    return difference == 0;
}
