#include "addmatchingitemsbehaviour.h"

#include "resourceaddition.h"

#include <QLoggingCategory>

const QLoggingCategory &addMatchingItemsBehavourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.addmatchingitemsbehaviour");
    return category;
}

AddMatchingItemsBehaviour::AddMatchingItemsBehaviour(ContextService &contextService)
    : m_contextService(contextService)
{
}

void AddMatchingItemsBehaviour::onChunk(const QJsonValue &chunk)
{
    static const ResourceKind kind{QLatin1String("vexo-context-add-matching-items"),
                                   QLatin1String("matchingItems"),
                                   "Accepted update for matchingItems with",
                                   "Existing matchingItems has",
                                   true,
                                   true,
                                   &addMatchingItemsBehavourLogging};
    addResources(m_contextService, chunk, kind);
}
