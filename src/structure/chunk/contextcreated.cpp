#include "structure/chunk/contextcreated.h"

#include "constants/chunk.h"
#include "structure/chunk/contextannouncement.h"

#include <QLoggingCategory>

namespace structure::chunk {

namespace words = constants::structure::chunk::contextcreated;

const QLoggingCategory &ContextCreatedLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.api.chunk.structure.contextcreated");
    return category;
}

QJsonValue ContextCreated::create(const QString &id)
{
    return contextannouncement::create(words::exchangeValue(), words::contextIdKeyName(), id);
}

bool ContextCreated::parse(const QJsonValue &chunk)
{
    return contextannouncement::parse(chunk, words::exchangeValue(), m_data);
}

bool ContextCreated::find(QString &id) const
{
    return contextannouncement::find(m_data, words::contextIdKeyName(), id);
}

} // namespace structure::chunk
