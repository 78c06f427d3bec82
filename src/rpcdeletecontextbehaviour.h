#pragma once

#include "chunkbehaviour.h"

class ChunkServiceProxy;
class ContextService;
class QLoggingCategory;

/**
 * "vexo-context-rpc-delete": deletes the context whose id stands under "context" in "body", and answers with
 * `{"context": id}`, whether or not there was one. Anything but text counts as the empty id.
 */
class RpcDeleteContextBehaviour final : public ChunkBehaviour
{
public:
    RpcDeleteContextBehaviour(ChunkServiceProxy &chunkServiceProxy, ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ChunkServiceProxy &m_chunkServiceProxy;
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.rpcdeletecontextbehaviour", which stays silent.
const QLoggingCategory &rpcDeleteContextBehaviourLogging();
