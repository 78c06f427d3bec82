#include "behaviour/newcontextbehaviour.h"

#include "contextservice.h"
#include "structure/chunk/newcontext.h"

#include <QLoggingCategory>

const QLoggingCategory &NewContextBehaviourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.newcontextbehaviour");
    return category;
}

NewContextBehaviour::NewContextBehaviour(ContextService &contextService)
    : m_contextService(contextService)
{
}

void NewContextBehaviour::onChunk(const QJsonValue &chunk)
{
    structure::chunk::NewContext newContext;
    if (!newContext.parse(chunk))
        return;
    QJsonObject context;
    if (!newContext.find(context)) {
        qCDebug(NewContextBehaviourLogging)
            << "Chunk is of correct structure but does not contain a context: " << chunk;
        return;
    }
    qCDebug(NewContextBehaviourLogging) << "Received new context chunk: " << chunk;
    const QString identifier = m_contextService.createContext();
    context.insert(QStringLiteral("_id"), identifier);
    m_contextService.setContext(identifier, context);
}
