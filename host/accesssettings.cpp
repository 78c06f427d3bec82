#include "accesssettings.h"

#include <QRegularExpression>

#include <utility>

using Failure = std::optional<StartFailure>;

static constexpr const char *hostsKey = "http.allowedHosts";
static constexpr const char *originsKey = "http.allowedOrigins";
static constexpr const char *usersKey = "http.allowedUsers";
static constexpr const char *sameUserKey = "http.sameUser";
static constexpr const char *tokenFileKey = "http.tokenFile";
static constexpr const char *socketKey = "http.socket";

// Gives each entry to `take`, and fails with `form` at the first that it does not take.
template <typename Take>
static Failure readList(const SettingValue &value, const QString &form, Take &&take)
{
    if (value.text().trimmed().isEmpty())
        return {};
    for (const QString &entry : value.list()) {
        if (!take(entry.trimmed()))
            return value.senseless(QStringLiteral("\"%1\" is %2").arg(entry.trimmed(), form));
    }
    return {};
}

static Failure readHosts(const SettingLookup &lookup, QVector<HostPort> &target)
{
    const QString form = QStringLiteral("no name of a host, with a port or without, such as desk.example or "
                                        "desk.example:8750; there is no wildcard, and an IPv6 address stands "
                                        "in brackets");
    return readList(SettingValue(lookup, hostsKey), form, [&](const QString &entry) {
        const auto host = HostPort::parse(entry.toUtf8());
        if (host)
            target.append(*host);
        return host.has_value();
    });
}

static Failure readOrigins(const SettingLookup &lookup, AccessSettings &target)
{
    const QString form =
        QStringLiteral("no origin, such as https://desk.example or http://localhost:3000; it "
                       "has no path, not even a slash, and there is no wildcard");
    return readList(SettingValue(lookup, originsKey), form, [&](const QString &entry) {
        if (entry == QLatin1String("null")) {
            target.allowsNullOrigin = true;
            return true;
        }
        const auto origin = Origin::parse(entry.toUtf8());
        if (origin)
            target.allowedOrigins.append(*origin);
        return origin.has_value();
    });
}

static Failure readUsers(const SettingLookup &lookup, QStringList &target)
{
    static const QRegularExpression name(QStringLiteral(R"(\A[^\s:/*\x{0}]+\z)"));
    const QString form = QStringLiteral("no name or number of a user");
    return readList(SettingValue(lookup, usersKey), form, [&](const QString &entry) {
        target.append(entry);
        return name.match(entry).hasMatch();
    });
}

static Failure readSwitch(const SettingLookup &lookup, bool &target)
{
    const SettingValue value(lookup, sameUserKey);
    if (!value.isSet())
        return {};
    const QString text = value.text().toLower();
    target = text == QLatin1String("on") || text == QLatin1String("true");
    if (target || text == QLatin1String("off") || text == QLatin1String("false"))
        return {};
    return value.senseless(QStringLiteral("must be on or off"));
}

static Failure readPath(const SettingValue &value, QString &target)
{
    if (!value.isSet())
        return {};
    const QStringList list = value.list();
    if (list.size() > 1)
        return value.senseless(QStringLiteral("must be one path; in quotes, it may have a comma"));
    target = value.text();
    if (target.startsWith(QLatin1Char('~')))
        return value.senseless(QStringLiteral("must be an absolute path; ~ is not expanded"));
    if (!target.startsWith(QLatin1Char('/')))
        return value.senseless(QStringLiteral("must be an absolute path"));
    // The system would take what is in front of it for the whole.
    if (target.contains(QChar::Null))
        return value.senseless(QStringLiteral("must not have a NUL in it"));
    return {};
}

std::variant<AccessSettings, StartFailure> AccessSettings::read(const SettingLookup &lookup)
{
    AccessSettings settings;
    for (Failure failure : {readHosts(lookup, settings.allowedHosts), readOrigins(lookup, settings),
                            readUsers(lookup, settings.allowedUsers), readSwitch(lookup, settings.sameUser),
                            readPath(SettingValue(lookup, tokenFileKey), settings.tokenFile),
                            readPath(SettingValue(lookup, socketKey), settings.socket)}) {
        if (failure)
            return *std::move(failure);
    }
    return settings;
}

QString AccessSettings::describe()
{
    return describeSetting(
               hostsKey, {},
               "names beside localhost, 127.0.0.1 and [::1] that a Host header may have; else 421")
           + describeSetting(originsKey, {}, "origins whose web pages may send requests; else 403")
           + describeSetting(usersKey, {}, "users beside the own one and root who are served; else 403")
           + describeSetting(sameUserKey, QStringLiteral("on"),
                             "off serves all users of the machine at the port, whoever they are")
           + describeSetting(tokenFileKey, {},
                             "file with the bearer token that each request must show; else 401")
           + describeSetting(socketKey, {}, "unix socket that is served too");
}
