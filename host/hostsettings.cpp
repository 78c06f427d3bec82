#include "hostsettings.h"

#include <QRegularExpression>

#include <array>
#include <limits>

using http::server::Limits;
using std::chrono::milliseconds;

namespace {

struct BytesSetting
{
    const char *key;
    std::int64_t Limits::*limit;
    std::int64_t least;
    const char *meaning;
};

struct PeriodSetting
{
    const char *key;
    milliseconds Limits::*limit;
    const char *meaning;
};

} // namespace

// A QByteArray, in which requests are kept, ends short of 2^31 bytes.
static constexpr std::int64_t mostBytes = 2000000000;

// Timers count milliseconds in an int.
static constexpr std::int64_t mostSeconds = std::numeric_limits<int>::max() / 1000;

static constexpr std::array bytesSettings{
    BytesSetting{"http.maxTargetBytes", &Limits::maxTargetBytes, 1,
                 "bytes of a request target; beyond it 414"},
    BytesSetting{"http.maxHeaderBytes", &Limits::maxHeaderBytes, 1, "bytes of a header block; beyond it 431"},
    BytesSetting{"http.maxBodyBytes", &Limits::maxBodyBytes, 0, "bytes of a body; beyond it 413"},
};

static constexpr std::array periodSettings{
    PeriodSetting{"http.headerTimeout", &Limits::headerTimeout,
                  "seconds from the first byte of a request to the end of its header block; beyond it 408"},
    PeriodSetting{"http.bodyTimeout", &Limits::bodyTimeout,
                  "seconds without progress of a body; beyond it 408"},
    PeriodSetting{"http.idleTimeout", &Limits::idleTimeout, "seconds between requests; beyond it close"},
};

static constexpr const char *connectionsKey = "http.maxConnections";
static constexpr const char *listenKey = "http.listen";
static constexpr const char *directoryKey = "plugins.directory";

static QString fullKey(const char *key)
{
    return QStringLiteral("ch.tessel.vexo-service/") + QLatin1String(key);
}

// An .ini value with a comma comes as a list.
static QString shown(const QVariant &value)
{
    return value.toStringList().join(QStringLiteral(", "));
}

static StartFailure senseless(const char *key, const QVariant &value, const QString &why)
{
    return {QStringLiteral("setting %1 is \"%2\": %3").arg(fullKey(key), shown(value), why)};
}

static QString outside(std::int64_t value, std::int64_t least, std::int64_t most)
{
    if (value < least)
        return QStringLiteral("must be at least %1").arg(least);
    if (value > most)
        return QStringLiteral("must be at most %1").arg(most);
    return {};
}

// Both readers leave `target` as it is if the key is not set, and return why a value makes no sense.
static QString readCount(const QVariant &value, std::int64_t least, std::int64_t most, std::int64_t &target)
{
    static const QRegularExpression form(QStringLiteral(R"(\A-?[0-9]+\z)"));
    if (!value.isValid())
        return {};
    const QString text = shown(value);
    if (!form.match(text).hasMatch())
        return QStringLiteral("must be a whole number");
    bool fits = false;
    const qlonglong count = text.toLongLong(&fits);
    if (!fits)
        return outside(text.startsWith(QLatin1Char('-')) ? least - 1 : most + 1, least, most);
    target = count;
    return outside(count, least, most);
}

static QString readPeriod(const QVariant &value, milliseconds &target)
{
    static const QRegularExpression form(QStringLiteral(R"(\A-?(?:[0-9]+(?:\.[0-9]*)?|\.[0-9]+)\z)"));
    if (!value.isValid())
        return {};
    const QString text = shown(value);
    if (!form.match(text).hasMatch())
        return QStringLiteral("must be a number of seconds, such as 10 or 0.5");
    const double seconds = text.toDouble();
    if (seconds < 0.001)
        return QStringLiteral("must be at least 0.001");
    if (!(seconds <= static_cast<double>(mostSeconds)))
        return QStringLiteral("must be at most %1").arg(mostSeconds);
    target = milliseconds(qRound64(seconds * 1000));
    return {};
}

static std::optional<StartFailure> readLimits(const HostSettings::Lookup &lookup, Limits &limits)
{
    for (const BytesSetting &setting : bytesSettings) {
        const QVariant value = lookup(fullKey(setting.key));
        const QString why = readCount(value, setting.least, mostBytes, limits.*setting.limit);
        if (!why.isEmpty())
            return senseless(setting.key, value, why);
    }
    for (const PeriodSetting &setting : periodSettings) {
        const QVariant value = lookup(fullKey(setting.key));
        const QString why = readPeriod(value, limits.*setting.limit);
        if (!why.isEmpty())
            return senseless(setting.key, value, why);
    }
    const QVariant value = lookup(fullKey(connectionsKey));
    std::int64_t connections = limits.maxConnections;
    const QString why = readCount(value, 1, std::numeric_limits<int>::max(), connections);
    if (!why.isEmpty())
        return senseless(connectionsKey, value, why);
    limits.maxConnections = static_cast<int>(connections);
    return {};
}

std::variant<HostSettings, StartFailure> HostSettings::read(const Lookup &lookup)
{
    HostSettings settings;
    settings.lookup = lookup;
    if (auto failure = readLimits(lookup, settings.limits))
        return std::move(*failure);

    const QVariant listen = lookup(fullKey(listenKey));
    if (listen.isValid()) {
        settings.listen = ListenAddress::parse(shown(listen));
        if (!settings.listen) {
            return senseless(listenKey, listen,
                             QStringLiteral("must be ADDRESS:PORT, such as 127.0.0.1:8750"));
        }
    }

    const QVariant directories = lookup(fullKey(directoryKey));
    settings.pluginDirectories = directories.toStringList();
    if (directories.isValid()
        && (settings.pluginDirectories.isEmpty() || settings.pluginDirectories.contains(QString())))
        return senseless(directoryKey, directories, QStringLiteral("must name a directory"));
    return settings;
}

QString HostSettings::describe()
{
    const Limits limits;
    QString text;
    const auto add = [&text](const char *key, const QString &initial, const char *meaning) {
        text += QStringLiteral("  %1 %2 %3\n")
                    .arg(QLatin1String(key), -20)
                    .arg(initial, -15)
                    .arg(QLatin1String(meaning));
    };
    add(listenKey, ListenAddress().toString(), "see --listen");
    add(directoryKey, {}, "see --plugin-dir");
    for (const BytesSetting &setting : bytesSettings)
        add(setting.key, QString::number(limits.*setting.limit), setting.meaning);
    for (const PeriodSetting &setting : periodSettings) {
        const auto seconds = static_cast<double>((limits.*setting.limit).count()) / 1000;
        add(setting.key, QString::number(seconds), setting.meaning);
    }
    add(connectionsKey, QString::number(limits.maxConnections), "connections open at once; beyond it 503");
    return text;
}
