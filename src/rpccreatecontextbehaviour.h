#pragma once

#include "chunkbehaviour.h"

class ChunkServiceProxy;
class ContextService;
class QLoggingCategory;

/**
 * "vexo-context-rpc-create": stores "body" as a new context with its id under "_id", in place of any that the
 * sender gave, and answers with that object. A body that is no object counts as an empty one.
 */
class RpcCreateContextBehaviour final : public ChunkBehaviour
{
public:
    RpcCreateContextBehaviour(ChunkServiceProxy &chunkServiceProxy, ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ChunkServiceProxy &m_chunkServiceProxy;
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.rpccreatecontextbehaviour", which stays silent.
const QLoggingCategory &rpcCreateContextBehaviourLogging();
