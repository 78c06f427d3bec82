#include "addactionrequestsbehaviour.h"

#include "resourceaddition.h"

#include <QLoggingCategory>

const QLoggingCategory &addActionRequestsBehavourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.addactionrequestsbehaviour");
    return category;
}

AddActionRequestsBehaviour::AddActionRequestsBehaviour(ContextService &contextService)
    : m_contextService(contextService)
{
}

void AddActionRequestsBehaviour::onChunk(const QJsonValue &chunk)
{
    static const ResourceKind kind{QLatin1String("vexo-context-add-action-requests"),
                                   QLatin1String("actionRequests"),
                                   "Accepted update for actionRequests with",
                                   "Existing actionRequests has",
                                   false,
                                   false,
                                   &addActionRequestsBehavourLogging};
    addResources(m_contextService, chunk, kind);
}
