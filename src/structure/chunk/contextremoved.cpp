#include "structure/chunk/contextremoved.h"

#include "constants/chunk.h"
#include "structure/chunk/contextannouncement.h"

#include <QLoggingCategory>

namespace structure::chunk {

namespace words = constants::structure::chunk::contextremoved;

const QLoggingCategory &ContextRemovedLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.api.chunk.structure.contextremoved");
    return category;
}

QJsonValue ContextRemoved::create(const QString &id)
{
    return contextannouncement::create(words::exchangeValue(), words::contextIdKeyName(), id);
}

bool ContextRemoved::parse(const QJsonValue &chunk)
{
    return contextannouncement::parse(chunk, words::exchangeValue(), m_data);
}

bool ContextRemoved::find(QString &id) const
{
    return contextannouncement::find(m_data, words::contextIdKeyName(), id);
}

} // namespace structure::chunk
