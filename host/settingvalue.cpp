#include "settingvalue.h"

static QString fullKey(const char *key)
{
    return QStringLiteral("ch.tessel.vexo-service/") + QLatin1String(key);
}

SettingValue::SettingValue(const SettingLookup &lookup, const char *key)
    : m_key(key)
    , m_value(lookup(fullKey(key)))
{
}

QStringList SettingValue::list() const
{
    if (!isSet() || m_value.canConvert<QStringList>())
        return m_value.toStringList();
    return {m_value.toString()};
}

StartFailure SettingValue::senseless(const QString &why) const
{
    return {QStringLiteral("setting %1 is \"%2\": %3").arg(fullKey(m_key), text(), why)};
}

QString describeSetting(const char *key, const QString &initial, const char *meaning)
{
    return QStringLiteral("  %1 %2 %3\n")
        .arg(QLatin1String(key), -20)
        .arg(initial, -15)
        .arg(QLatin1String(meaning));
}
