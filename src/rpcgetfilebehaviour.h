#pragma once

#include "chunkbehaviour.h"

class ChunkServiceProxy;
class ContextService;
class QLoggingCategory;

namespace domain {
class DocumentReference;
}

/**
 * "vexo-context-rpc-get-files": answers with an array of those entries under "attachments" of the context
 * whose id stands under "context" in "body" that fit the pattern under "reference", in their order, each with
 * the bytes of its file in Base64 under "data" of its attachment. The file is the one that the last segment
 * of the entry's URL names; one that does not exist has no bytes.
 *
 * Without an object under "reference" every entry fits. An unknown context has no entries. Without a bus
 * nothing is done, and the request does not count as use of the context.
 */
class RpcGetFileBehaviour final : public ChunkBehaviour
{
public:
    RpcGetFileBehaviour(ChunkServiceProxy &chunkServiceProxy, ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

    /// Whether `candidate` has what `pattern` asks for: the status, at each position the URL of the content,
    /// and system and code of the type. What is empty in the pattern asks for nothing, but each of its
    /// contents asks for one at its position. Texts are compared exactly; all other fields are ignored.
    [[nodiscard]] static bool fitsReference(const domain::DocumentReference &candidate,
                                            const domain::DocumentReference &pattern);

private:
    ChunkServiceProxy &m_chunkServiceProxy;
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.rpcgetfilebehaviour", which stays silent.
const QLoggingCategory &rpcGetFileContextBehaviourLogging();
