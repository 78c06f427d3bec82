#include "structure/chunk/contextannouncement.h"

#include "constants/chunk.h"

namespace structure::chunk::contextannouncement {

namespace words = constants::structure::chunk;

QJsonValue create(const QString &exchange, const QString &key, const QString &id)
{
    return QJsonObject{{words::exchangeKeyName(), exchange}, {words::dataName(), QJsonObject{{key, id}}}};
}

bool parse(const QJsonValue &chunk, const QString &exchange, QJsonObject &data)
{
    const QJsonObject object = chunk.toObject();
    const QJsonValue value = object.value(words::dataName());
    if (object.value(words::exchangeKeyName()) != QJsonValue(exchange) || !value.isObject())
        return false;
    data = value.toObject();
    return true;
}

bool find(const QJsonObject &data, const QString &key, QString &id)
{
    const QJsonValue value = data.value(key);
    if (!value.isString())
        return false;
    id = value.toString();
    return true;
}

} // namespace structure::chunk::contextannouncement
