#pragma once

#include "chunkbehaviour.h"

class ContextService;
class QLoggingCategory;

/// The event "new-context" (structure::chunk::NewContext): makes a context of the announced object under a
/// new id, which replaces the object's "_id". Looks at no "exchange", so that it may act on a chunk that
/// another behaviour takes, too. Whoever announces learns of the id from what the store publishes.
class NewContextBehaviour final : public ChunkBehaviour
{
public:
    explicit NewContextBehaviour(ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.newcontextbehaviour".
const QLoggingCategory &NewContextBehaviourLogging();
