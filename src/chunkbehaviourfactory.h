#pragma once

#include <vector>

class ChunkBehaviour;
class ChunkServiceProxy;
class ContextService;
class MessageService;

/// Builds the set of behaviours, once at start-up. Keeps the references.
class ChunkBehaviourFactory final
{
public:
    ChunkBehaviourFactory(ChunkServiceProxy &chunkServiceProxy, ContextService &contextService,
                          MessageService &messageService);

    /// New behaviours in the order in which a chunk is offered to them. The caller owns them.
    [[nodiscard]] std::vector<ChunkBehaviour *> createBehaviours();

private:
    ChunkServiceProxy &m_chunkServiceProxy;
    ContextService &m_contextService;
    MessageService &m_messageService;
};
