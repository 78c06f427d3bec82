#pragma once

#include "chunkbehaviour.h"

class ContextService;
class QLoggingCategory;

/// "vexo-context-add-matching-items": adds the resources under "matchingItems" in "body" to "matchingItems"
/// of every context that overlaps "filter", as addResources() tells.
class AddMatchingItemsBehaviour final : public ChunkBehaviour
{
public:
    explicit AddMatchingItemsBehaviour(ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.addmatchingitemsbehaviour". The name is spelled so on
/// purpose.
const QLoggingCategory &addMatchingItemsBehavourLogging();
