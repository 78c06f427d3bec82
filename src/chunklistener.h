#pragma once

#include <k7-plugin-api/chunkupdatelistener.h>

class ContextService;

/// The door through which the chunks of the bus come in. Keeps the reference. Deleted as its concrete type.
class ChunkListener final : public ChunkUpdateListener
{
public:
    explicit ChunkListener(ContextService &contextService);

    /// Passes every chunk on, whatever it is.
    void onChunkUpdated(const QJsonValue &chunk) override;

private:
    ContextService &m_contextService;
};
