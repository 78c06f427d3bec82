#include "structure/chunk/contextremoved.h"

#include "constants/chunk.h"

#include <QLoggingCategory>

namespace structure::chunk {

namespace words = constants::structure::chunk;

const QLoggingCategory &ContextRemovedLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.api.chunk.structure.contextremoved");
    return category;
}

QJsonValue ContextRemoved::create(const QString &id)
{
    return QJsonObject{{words::exchangeKeyName(), words::contextremoved::exchangeValue()},
                       {words::dataName(), QJsonObject{{words::contextremoved::contextIdKeyName(), id}}}};
}

bool ContextRemoved::parse(const QJsonValue &chunk)
{
    if (!chunk.isObject())
        return false;
    const QJsonObject object = chunk.toObject();
    const QJsonValue exchange = object.value(words::exchangeKeyName());
    if (!exchange.isString() || exchange.toString() != words::contextremoved::exchangeValue())
        return false;
    const QJsonValue data = object.value(words::dataName());
    if (!data.isObject())
        return false;
    m_data = data.toObject();
    return true;
}

bool ContextRemoved::find(QString &id) const
{
    const QJsonValue value = m_data.value(words::contextremoved::contextIdKeyName());
    if (!value.isString())
        return false;
    id = value.toString();
    return true;
}

} // namespace structure::chunk
