#include "removeattachmentsbehaviour.h"

#include "chunkexchange.h"
#include "contextservice.h"

#include <QLoggingCategory>

const QLoggingCategory &removeAttachmentsBehaviourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.removeattachmentsbehaviour");
    return category;
}

RemoveAttachmentsBehaviour::RemoveAttachmentsBehaviour(ContextService &contextService)
    : m_contextService(contextService)
{
}

void RemoveAttachmentsBehaviour::onChunk(const QJsonValue &chunk)
{
    if (!hasExchange(chunk, QLatin1String("vexo-context-attachments-remove")))
        return;
    const QJsonValue body = chunk[QLatin1String("body")];
    const QString context = body[QLatin1String("context")].toString();
    const QJsonArray attachments = body[QLatin1String("attachments")].toArray();
    for (const QJsonValue &fileName : attachments)
        m_contextService.removeFile(context, fileName.toString());
}
