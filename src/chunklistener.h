#pragma once

#include <k7-plugin-api/chunkupdatelistener.h>

class CardService;
class ContextService;

/// The door through which the chunks of the bus come in. Keeps the references. Deleted as its concrete type.
class ChunkListener final : public ChunkUpdateListener
{
public:
    ChunkListener(CardService &cardService, ContextService &contextService);

    /// Passes every chunk on, whatever it is, to the cards and then to the contexts, so that a behaviour
    /// finds the card that its chunk brings.
    void onChunkUpdated(const QJsonValue &chunk) override;

private:
    CardService &m_cardService;
    ContextService &m_contextService;
};
