#include "contextdata.h"

#include "constants/context.h"

#include <QJsonObject>
#include <QMap>

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
// place would grow with every update. And built in the order of its keys, from a map: the object moves all
// keys behind one that it inserts, and its lookups miss keys that it has when others are spelled oddly.
QJsonObject merged(const QJsonObject &current, const QJsonObject &update)
{
    QMap<QString, QJsonValue> members;
    for (auto it = current.constBegin(); it != current.constEnd(); ++it)
        members.insert(it.key(), it.value());
    for (auto it = update.constBegin(); it != update.constEnd(); ++it)
        members.insert(it.key(), it.value());
    QJsonObject result;
    for (auto it = members.constBegin(); it != members.constEnd(); ++it)
        result.insert(it.key(), it.value());
    return result;
}

} // namespace contextdata
