#pragma once

#include "chunkbehaviour.h"

class ContextService;
class QLoggingCategory;

/// "vexo-context-add-action-requests": adds the resources under "actionRequests" in "body" to
/// "actionRequests" of every context that overlaps "filter", as addResources() tells.
class AddActionRequestsBehaviour final : public ChunkBehaviour
{
public:
    explicit AddActionRequestsBehaviour(ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ContextService &m_contextService;
};

/// The category "ch.tessel.vexo-service.context.addactionrequestsbehaviour". The name is spelled so on
/// purpose.
const QLoggingCategory &addActionRequestsBehavourLogging();
