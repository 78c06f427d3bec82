#pragma once

#include "chunkbehaviour.h"

class ChunkServiceProxy;
class ContextService;
class QLoggingCategory;

/**
 * "vexo-context-rpc-set": replaces the context whose id stands under "_id" in "body" by the rest of "body",
 * and answers with that rest. The context need not exist. A request whose "_id" is missing, empty or no text
 * is ignored, without an answer.
 */
class RpcSetContextBehaviour final : public ChunkBehaviour
{
public:
    RpcSetContextBehaviour(ChunkServiceProxy &chunkServiceProxy, ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ChunkServiceProxy &m_chunkServiceProxy;
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.rpcsetcontextbehaviour".
const QLoggingCategory &rpcSetContextBehaviourLogging();
