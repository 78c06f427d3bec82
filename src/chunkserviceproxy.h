#pragma once

class ChunkService;

/**
 * Holds the bus for objects that are built before there is one. Whoever publishes asks for it at the moment
 * of publishing and skips the publishing on null. Does not own the bus. Event-loop thread only.
 */
class ChunkServiceProxy final
{
public:
    /// The bus, or null while there is none.
    [[nodiscard]] ChunkService *getChunkService() const { return m_chunkService; }
    void setChunkService(ChunkService *chunkService) { m_chunkService = chunkService; }

private:
    ChunkService *m_chunkService = nullptr;
};
