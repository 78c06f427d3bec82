#include "structure/jsonobject/message.h"

#include "constants/jsonobject.h"
#include "structure/qstring/timespan.h"
#include "structure/qstring/timestamp.h"

#include <QLoggingCategory>

namespace structure::jsonobject {

namespace words = constants::structure::jsonobject::message;

const QLoggingCategory &MessageLogging()
{
    static const QLoggingCategory category(
        "ch.tessel.vexo.vexo-service.context.util.structure.jsonobject.message");
    return category;
}

static void readTimestamp(const QJsonObject &object, content::Message &message)
{
    const QJsonValue timestamp = object.value(words::timestampKeyName());
    QDateTime time;
    if (timestamp.isString() && qstring::Timestamp::parseAndFind(timestamp.toString(), time))
        message.setTimestamp(time);
}

static void readType(const QJsonObject &object, content::Message &message)
{
    const QJsonValue type = object.value(words::typeKeyName());
    if (!type.isString())
        return;
    const QString word = type.toString();
    if (word == words::typeMomentaryValue()) {
        message.setMomentary();
    } else if (word == words::typePersistentValue()) {
        message.setPersistent();
    } else if (word == words::typeCustomLifeTimeValue()) {
        const QJsonValue lifetime = object.value(words::lifetimeKeyName());
        content::Timespan span;
        if (lifetime.isString() && qstring::Timespan::parseAndFind(lifetime.toString(), span))
            message.setCustomLifeTime(span);
    }
}

QJsonObject Message::create(const content::Message &message)
{
    QJsonObject object{{words::identifierKeyName(), message.identifier()},
                       {words::titleKeyName(), message.title()},
                       {words::subtitleKeyName(), message.subtitle()},
                       {words::textKeyName(), message.text()},
                       {words::timestampKeyName(), qstring::Timestamp::create(message.timestamp())}};
    switch (message.type()) {
    case content::Message::Momentary: break;
    case content::Message::CustomLifeTime:
        object.insert(words::typeKeyName(), words::typeCustomLifeTimeValue());
        object.insert(words::lifetimeKeyName(), qstring::Timespan::create(message.customLifeTime()));
        break;
    case content::Message::Persistent:
        object.insert(words::typeKeyName(), words::typePersistentValue());
        break;
    }
    return object;
}

bool Message::parseAndFind(const QJsonObject &object, content::Message &message)
{
    const QJsonValue identifier = object.value(words::identifierKeyName());
    if (!identifier.isString())
        return false;
    message.setIdentifier(identifier.toString());
    const QJsonValue title = object.value(words::titleKeyName());
    if (!title.isString())
        return false;
    message.setTitle(title.toString());
    const QJsonValue subtitle = object.value(words::subtitleKeyName());
    if (subtitle.isString())
        message.setSubtitle(subtitle.toString());
    const QJsonValue text = object.value(words::textKeyName());
    if (!text.isString())
        return false;
    message.setText(text.toString());
    readTimestamp(object, message);
    readType(object, message);
    return true;
}

} // namespace structure::jsonobject
