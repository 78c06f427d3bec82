#pragma once

#include <QByteArray>

#include <algorithm>
#include <cstring>

namespace http::server {

/// A control character that no header field and no request line may carry; the tab is not among them.
[[nodiscard]] constexpr bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t') || byte == 0x7f;
}

/// A character of a token (RFC 9110, section 5.6.2).
[[nodiscard]] inline bool isTokenChar(char c)
{
    const bool alphanumeric = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    return alphanumeric || (c != '\0' && std::strchr("!#$%&'*+-.^_`|~", c) != nullptr);
}

[[nodiscard]] inline bool isToken(const QByteArray &text)
{
    return !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), isTokenChar);
}

} // namespace http::server
