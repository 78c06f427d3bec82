#include "contextdata.h"

#include "constants/context.h"

#include <QJsonObject>

namespace contextdata {

static bool isDerivedKey(const QString &key)
{
    return key == QLatin1String("matchingItems")
           || key == constants::structure::context::actionRequestsKeyName()
           || key == constants::structure::context::inboxKeyName() || key == QLatin1String("attachments");
}

// That removed keys and new nulls do not count is deliberate.
QJsonObject changedKeys(const QJsonObject &old, const QJsonObject &next)
{
    QJsonObject changed;
    for (auto it = next.constBegin(); it != next.constEnd(); ++it) {
        const QString key = it.key();
        if (isDerivedKey(key))
            continue;
        const auto before = old.constFind(key);
        const QJsonValue value = it.value();
        if (before == old.constEnd() ? !value.isNull() : before.value() != value)
            changed.insert(key, value);
    }
    return changed;
}

// Built anew: Qt's object keeps the bytes of a value that is replaced in it, so that a context merged in
// place would grow with every update.
QJsonObject merged(const QJsonObject &current, const QJsonObject &update)
{
    QJsonObject result;
    for (auto it = current.constBegin(); it != current.constEnd(); ++it) {
        const auto changed = update.constFind(it.key());
        result.insert(it.key(), changed == update.constEnd() ? it.value() : changed.value());
    }
    for (auto it = update.constBegin(); it != update.constEnd(); ++it) {
        if (!current.contains(it.key()))
            result.insert(it.key(), it.value());
    }
    return result;
}

} // namespace contextdata
