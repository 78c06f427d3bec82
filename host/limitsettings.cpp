#include "limitsettings.h"

#include <QRegularExpression>

#include <array>
#include <limits>
#include <optional>

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

static QString outside(std::int64_t value, std::int64_t least, std::int64_t most)
{
    if (value < least)
        return QStringLiteral("must be at least %1").arg(least);
    if (value > most)
        return QStringLiteral("must be at most %1").arg(most);
    return {};
}

// Both readers leave `target` as it is if the key is not set, and return why a value makes no sense.
static QString readCount(const SettingValue &value, std::int64_t least, std::int64_t most,
                         std::int64_t &target)
{
    static const QRegularExpression form(QStringLiteral(R"(\A-?[0-9]+\z)"));
    if (!value.isSet())
        return {};
    const QString text = value.text();
    if (!form.match(text).hasMatch())
        return QStringLiteral("must be a whole number");
    bool fits = false;
    const qlonglong count = text.toLongLong(&fits);
    if (!fits)
        return outside(text.startsWith(QLatin1Char('-')) ? least - 1 : most + 1, least, most);
    target = count;
    return outside(count, least, most);
}

static QString readPeriod(const SettingValue &value, milliseconds &target)
{
    static const QRegularExpression form(QStringLiteral(R"(\A-?(?:[0-9]+(?:\.[0-9]*)?|\.[0-9]+)\z)"));
    if (!value.isSet())
        return {};
    const QString text = value.text();
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

static std::optional<StartFailure> readConnections(const SettingLookup &lookup, int &target)
{
    const SettingValue value(lookup, connectionsKey);
    std::int64_t connections = target;
    const QString why = readCount(value, 1, std::numeric_limits<int>::max(), connections);
    if (!why.isEmpty())
        return value.senseless(why);
    target = static_cast<int>(connections);
    return {};
}

std::variant<Limits, StartFailure> readLimits(const SettingLookup &lookup)
{
    Limits limits;
    for (const BytesSetting &setting : bytesSettings) {
        const SettingValue value(lookup, setting.key);
        const QString why = readCount(value, setting.least, mostBytes, limits.*setting.limit);
        if (!why.isEmpty())
            return value.senseless(why);
    }
    for (const PeriodSetting &setting : periodSettings) {
        const SettingValue value(lookup, setting.key);
        const QString why = readPeriod(value, limits.*setting.limit);
        if (!why.isEmpty())
            return value.senseless(why);
    }
    if (auto failure = readConnections(lookup, limits.maxConnections))
        return std::move(*failure);
    return limits;
}

QString describeLimits()
{
    const Limits limits;
    QString text;
    for (const BytesSetting &setting : bytesSettings)
        text += describeSetting(setting.key, QString::number(limits.*setting.limit), setting.meaning);
    for (const PeriodSetting &setting : periodSettings) {
        const auto seconds = static_cast<double>((limits.*setting.limit).count()) / 1000;
        text += describeSetting(setting.key, QString::number(seconds), setting.meaning);
    }
    return text
           + describeSetting(connectionsKey, QString::number(limits.maxConnections),
                             "connections open at once; beyond it 503");
}
