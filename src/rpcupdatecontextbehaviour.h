#pragma once

#include "chunkbehaviour.h"

class ChunkServiceProxy;
class ContextService;
class QLoggingCategory;

/**
 * "vexo-context-rpc-update": merges "body" without its "_id" into the context of that id, or into every
 * context if the id is "*", and answers once, with what was merged in. The context need not exist. A request
 * whose
 * "_id" is missing, empty or no text is ignored, without an answer.
 */
class RpcUpdateContextBehaviour final : public ChunkBehaviour
{
public:
    RpcUpdateContextBehaviour(ChunkServiceProxy &chunkServiceProxy, ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ChunkServiceProxy &m_chunkServiceProxy;
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.rpcupdatecontextbehaviour".
const QLoggingCategory &rpcUpdateContextBehaviourLogging();
