#pragma once

#include "chunkbehaviour.h"

class ContextService;
class QLoggingCategory;

/// "vexo-context-attachments-remove": removes the files that "attachments" of "body" names, one by one, from
/// the context "context". An element that is no text counts as the empty name; so does an id as the empty id.
class RemoveAttachmentsBehaviour final : public ChunkBehaviour
{
public:
    explicit RemoveAttachmentsBehaviour(ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.removeattachmentsbehaviour", which stays silent.
const QLoggingCategory &removeAttachmentsBehaviourLogging();
