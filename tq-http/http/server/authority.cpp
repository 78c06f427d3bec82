#include "authority.h"

#include <arpa/inet.h>

#include <algorithm>
#include <string>

namespace http::server {

static bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

static bool isHexDigit(char c)
{
    const char lower = static_cast<char>(c | 0x20);
    return isDigit(c) || (lower >= 'a' && lower <= 'f');
}

/// An unreserved character, or a delimiter within a part of a URI, but for the comma.
static bool isNameChar(char c)
{
    static constexpr std::string_view punctuation = "-._~!$&'()*+;=";
    const char lower = static_cast<char>(c | 0x20);
    return isDigit(c) || (lower >= 'a' && lower <= 'z') || punctuation.find(c) != std::string_view::npos;
}

static bool isName(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isNameChar(text[i]))
            continue;
        if (text[i] != '%' || text.size() - i < 3 || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2]))
            return false;
        i += 2;
    }
    return true;
}

/// "v", hexadecimal digits, a point, and an address of a kind that is not known yet.
static bool isFutureAddress(std::string_view text)
{
    const auto point = text.find('.');
    if (point == std::string_view::npos || point < 2 || point + 1 == text.size()
        || (text.front() | 0x20) != 'v')
        return false;
    const auto version = text.substr(1, point - 1);
    const auto address = text.substr(point + 1);
    return std::all_of(version.begin(), version.end(), isHexDigit)
           && std::all_of(address.begin(), address.end(), [](char c) { return c == ':' || isNameChar(c); });
}

static bool isIpv6Address(std::string_view text)
{
    in6_addr address{};
    return text.find('\0') == std::string_view::npos
           && ::inet_pton(AF_INET6, std::string(text).c_str(), &address) == 1;
}

std::optional<Authority> readAuthority(std::string_view text)
{
    Authority authority;
    if (text.substr(0, 1) == "[") {
        const auto end = text.find(']');
        if (end == std::string_view::npos)
            return std::nullopt;
        const auto address = text.substr(1, end - 1);
        if (!isIpv6Address(address) && !isFutureAddress(address))
            return std::nullopt;
        authority.host = text.substr(0, end + 1);
    } else {
        authority.host = text.substr(0, text.find(':'));
        if (!isName(authority.host))
            return std::nullopt;
    }
    const auto rest = text.substr(authority.host.size());
    if (rest.empty())
        return authority;
    authority.port = rest.substr(1);
    if (rest.front() != ':' || !std::all_of(authority.port.begin(), authority.port.end(), isDigit))
        return std::nullopt;
    return authority;
}

} // namespace http::server
