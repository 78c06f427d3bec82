#pragma once

#include <vector>

class CardService;
class ChunkBehaviour;
class ChunkServiceProxy;
class ContextService;
class MessageService;

/// Builds the set of behaviours, once at start-up. Keeps the references.
class ChunkBehaviourFactory final
{
public:
    ChunkBehaviourFactory(CardService &cardService, ChunkServiceProxy &chunkServiceProxy,
                          ContextService &contextService, MessageService &messageService);

    /// New behaviours in the order in which a chunk is offered to them. The caller owns them. The two that
    /// write the XML of cards are among them only if readXmlDirectory() gives something now, and come first.
    [[nodiscard]] std::vector<ChunkBehaviour *> createBehaviours();

private:
    CardService &m_cardService;
    ChunkServiceProxy &m_chunkServiceProxy;
    ContextService &m_contextService;
    MessageService &m_messageService;
};
