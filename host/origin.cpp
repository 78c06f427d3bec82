#include "origin.h"

#include <algorithm>

static bool isLetter(char c)
{
    return c >= 'a' && c <= 'z';
}

static bool isScheme(const QByteArray &text)
{
    return !text.isEmpty() && isLetter(text.front()) && std::all_of(text.begin(), text.end(), [](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
    });
}

static quint16 defaultPort(const QByteArray &scheme)
{
    if (scheme == "http")
        return 80;
    return scheme == "https" ? 443 : 0;
}

std::optional<Origin> Origin::parse(const QByteArray &text)
{
    const int end = text.indexOf("://");
    if (end < 0)
        return {};
    const QByteArray scheme = text.left(end).toLower();
    const auto place = HostPort::parse(text.mid(end + 3));
    if (!isScheme(scheme) || !place)
        return {};
    return Origin{scheme, {place->host, place->port != 0 ? place->port : defaultPort(scheme)}};
}
