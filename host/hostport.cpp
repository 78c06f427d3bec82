#include "hostport.h"

#include <http/server/authority.h>

#include <algorithm>
#include <limits>

static bool isNameChar(char c)
{
    const char lower = static_cast<char>(c | 0x20);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_';
}

static bool isName(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), isNameChar);
}

static QByteArray bytes(std::string_view text)
{
    return {text.data(), static_cast<int>(text.size())};
}

std::optional<HostPort> HostPort::parse(const QByteArray &text)
{
    const auto authority =
        http::server::readAuthority({text.constData(), static_cast<std::size_t>(text.size())});
    if (!authority || text.endsWith(':'))
        return {};
    if (authority->host.substr(0, 1) != "[" && !isName(authority->host))
        return {};

    HostPort result{bytes(authority->host).toLower(), 0};
    if (!authority->port.empty()) {
        bool fits = false;
        const uint port = bytes(authority->port).toUInt(&fits);
        if (!fits || authority->port.front() == '0' || port > std::numeric_limits<quint16>::max())
            return {};
        result.port = static_cast<quint16>(port);
    }
    return result;
}
