#include "structure/chunk/contextcreated.h"

#include "constants/chunk.h"

#include <QLoggingCategory>

namespace structure::chunk {

namespace words = constants::structure::chunk;

const QLoggingCategory &ContextCreatedLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.api.chunk.structure.contextcreated");
    return category;
}

QJsonValue ContextCreated::create(const QString &id)
{
    return QJsonObject{{words::exchangeKeyName(), words::contextcreated::exchangeValue()},
                       {words::dataName(), QJsonObject{{words::contextcreated::contextIdKeyName(), id}}}};
}

bool ContextCreated::parse(const QJsonValue &chunk)
{
    if (!chunk.isObject())
        return false;
    const QJsonObject object = chunk.toObject();
    const QJsonValue exchange = object.value(words::exchangeKeyName());
    if (!exchange.isString() || exchange.toString() != words::contextcreated::exchangeValue())
        return false;
    const QJsonValue data = object.value(words::dataName());
    if (!data.isObject())
        return false;
    m_data = data.toObject();
    return true;
}

bool ContextCreated::find(QString &id) const
{
    const QJsonValue value = m_data.value(words::contextcreated::contextIdKeyName());
    if (!value.isString())
        return false;
    id = value.toString();
    return true;
}

} // namespace structure::chunk
