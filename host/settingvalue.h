#pragma once

#include "startfailure.h"

#include <QStringList>
#include <QVariant>

#include <functional>

/// Gives the value of one full key, such as "ch.tessel.vexo-service/http.listen"; invalid if it is not set.
using SettingLookup = std::function<QVariant(const QString &key)>;

/// What is set for one key of the group "ch.tessel.vexo-service".
class SettingValue final
{
public:
    /// `key` is without the group, and static.
    SettingValue(const SettingLookup &lookup, const char *key);

    [[nodiscard]] bool isSet() const { return m_value.isValid(); }

    /// The value as one text. One that is a list, as an .ini value with a comma is, comes joined with ", ".
    [[nodiscard]] QString text() const { return list().join(QStringLiteral(", ")); }
    /// Empty if nothing is set. One that is neither text nor list, such as `@ByteArray(a)`, counts as the
    /// text that it stands for.
    [[nodiscard]] QStringList list() const;

    /// A failure that names the key, the value and why it makes no sense.
    [[nodiscard]] StartFailure senseless(const QString &why) const;

private:
    const char *m_key;
    QVariant m_value;
};

/// The line of the help text for one key.
[[nodiscard]] QString describeSetting(const char *key, const QString &initial, const char *meaning);
