#pragma once

#include "hostsettings.h"

#include <QRegularExpression>
#include <QVariant>

#include <algorithm>
#include <limits>

/// One setting of the host. A new one takes one more of these in knownSettings.
struct Known
{
    const char *key; ///< without its group
    QVariant (*taken)(const HostSettings &); ///< the setting as it was read, in a form that can be written
    bool (*fits)(const QVariant &taken, const QVariant &said); ///< whether that may come of what was said
    const char *sound; ///< matches texts, not all of them, that must be taken; or each text of a list
};

inline QString hostKey(const char *key)
{
    return QStringLiteral("ch.tessel.vexo-service/") + QLatin1String(key);
}

inline bool matches(const char *form, const QString &text)
{
    const QString whole = QRegularExpression::anchoredPattern(QLatin1String(form));
    return QRegularExpression(whole).match(text).hasMatch();
}

inline bool allMatch(const char *form, const QStringList &texts)
{
    return std::all_of(texts.begin(), texts.end(), [&](const QString &text) { return matches(form, text); });
}

inline QStringList listOf(const QVariant &said)
{
    return said.canConvert<QStringList>() ? said.toStringList() : QStringList(said.toString());
}

inline QString textOf(const QVariant &said)
{
    return listOf(said).join(QStringLiteral(", "));
}

template <std::int64_t http::server::Limits::*Limit>
QVariant bytes(const HostSettings &settings)
{
    return static_cast<double>(settings.limits.*Limit);
}

template <std::chrono::milliseconds http::server::Limits::*Limit>
QVariant seconds(const HostSettings &settings)
{
    return static_cast<double>((settings.limits.*Limit).count()) / 1000;
}

inline QVariant connections(const HostSettings &settings)
{
    return static_cast<double>(settings.limits.maxConnections);
}

inline QVariant listenAddress(const HostSettings &settings)
{
    return settings.listen ? settings.listen->toString() : QVariant();
}

inline QString shown(const HostPort &place)
{
    const QString host = QString::fromLatin1(place.host);
    return place.port == 0 ? host : host + QLatin1Char(':') + QString::number(place.port);
}

inline QVariant allowedHosts(const HostSettings &settings)
{
    QStringList texts;
    for (const HostPort &host : settings.access.allowedHosts)
        texts.append(shown(host));
    return texts;
}

inline QVariant allowedOrigins(const HostSettings &settings)
{
    QStringList texts;
    for (const Origin &origin : settings.access.allowedOrigins)
        texts.append(QString::fromLatin1(origin.scheme) + QLatin1String("://") + shown(origin.place));
    if (settings.access.allowsNullOrigin)
        texts.append(QStringLiteral("null"));
    return texts;
}

template <auto Member>
QVariant ofAccess(const HostSettings &settings)
{
    return settings.access.*Member;
}

inline QVariant directories(const HostSettings &settings)
{
    return settings.pluginDirectories;
}

template <int LeastThousandths, int Most>
bool isNumber(const QVariant &taken, const QVariant &said)
{
    const double number = taken.toDouble();
    return number * 1000 >= LeastThousandths && number <= Most
           && qAbs(number - textOf(said).toDouble()) < 0.0006;
}

inline bool areTexts(const QVariant &taken, const QVariant &said)
{
    const QStringList texts = taken.toStringList();
    return texts == listOf(said) && !texts.contains(QString())
           && !texts.join(QString()).contains(QChar::Null);
}

inline bool isPath(const QVariant &taken, const QVariant &said)
{
    return areTexts(taken.toString(), said) && taken.toString().startsWith(QLatin1Char('/'));
}

inline bool isSwitch(const QVariant &taken, const QVariant &said)
{
    return matches(taken.toBool() ? "(?i)on|true" : "(?i)off|false", textOf(said));
}

inline bool isAddress(const QVariant &taken, const QVariant &said)
{
    const QString from = textOf(said);
    const int port = from.lastIndexOf(QLatin1Char(':')) + 1;
    const QString host =
        from.startsWith(QLatin1String("localhost:")) ? QStringLiteral("127.0.0.1:") : from.left(port);
    const bool isFour =
        matches("(?<o>25[0-5]|2[0-4][0-9]|1?[0-9]?[0-9])(\\.(?&o)){3}:[0-9]+", taken.toString());
    return (isFour || matches("\\[[0-9A-Fa-f]*:[0-9A-Fa-f:.]*\\]:[0-9]+", taken.toString()))
           && taken.toString() == host + QString::number(from.mid(port).toUShort());
}

inline bool areHosts(const QVariant &taken, const QVariant & /*said*/)
{
    return allMatch("(\\[[0-9a-f:.]+\\]|[a-z0-9._-]+)(:[1-9][0-9]{0,4})?", taken.toStringList());
}

inline bool areOrigins(const QVariant &taken, const QVariant & /*said*/)
{
    return allMatch("[a-z][a-z0-9+.-]*://(\\[[0-9a-f:.]+\\]|[a-z0-9._-]+)(:[1-9][0-9]{0,4})?|null",
                    taken.toStringList());
}

inline bool areUsers(const QVariant &taken, const QVariant & /*said*/)
{
    return allMatch("[^\\s:/*\\x{0}]+", taken.toStringList());
}

using http::server::Limits;

constexpr int mostBytes = 2000000000;
constexpr int mostSeconds = 2147483;
constexpr int mostConnections = std::numeric_limits<int>::max();
constexpr const char *soundCount = "[1-9][0-9]{0,8}";
constexpr const char *soundPeriod = "[1-9][0-9]{0,5}(\\.[0-9]{0,3})?";
constexpr const char *soundPath = "/[a-z]+";

constexpr Known knownSettings[] = {
    {"http.allowedHosts", allowedHosts, areHosts, " *[A-Za-z]+(:[1-9][0-9]?)? *"},
    {"http.allowedOrigins", allowedOrigins, areOrigins, " *(https?://[A-Za-z]+(:[1-9][0-9]?)?|null) *"},
    {"http.allowedUsers", ofAccess<&AccessSettings::allowedUsers>, areUsers, " *[A-Za-z0-9]+ *"},
    {"http.bodyTimeout", seconds<&Limits::bodyTimeout>, isNumber<1, mostSeconds>, soundPeriod},
    {"http.headerTimeout", seconds<&Limits::headerTimeout>, isNumber<1, mostSeconds>, soundPeriod},
    {"http.idleTimeout", seconds<&Limits::idleTimeout>, isNumber<1, mostSeconds>, soundPeriod},
    {"http.listen", listenAddress, isAddress, "(127\\.0\\.0\\.[1-9]|\\[::[1-9]?\\]|localhost):[0-9]{1,4}"},
    {"http.maxBodyBytes", bytes<&Limits::maxBodyBytes>, isNumber<0, mostBytes>, soundCount},
    {"http.maxConnections", connections, isNumber<1000, mostConnections>, soundCount},
    {"http.maxHeaderBytes", bytes<&Limits::maxHeaderBytes>, isNumber<1000, mostBytes>, soundCount},
    {"http.maxTargetBytes", bytes<&Limits::maxTargetBytes>, isNumber<1000, mostBytes>, soundCount},
    {"http.sameUser", ofAccess<&AccessSettings::sameUser>, isSwitch, "(?i)on|off|true|false"},
    {"http.socket", ofAccess<&AccessSettings::socket>, isPath, soundPath},
    {"http.tokenFile", ofAccess<&AccessSettings::tokenFile>, isPath, soundPath},
    {"plugins.directory", directories, areTexts, "[^\\p{C}]+"},
};
