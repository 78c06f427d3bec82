#pragma once

class QJsonValue;

/// Receives the chunks of the bus. It declares no destructor: its owner deletes it as its concrete type.
class ChunkUpdateListener
{
public:
    /// One chunk has arrived. Called on the event-loop thread, once for each chunk, in the order of
    /// publishing.
    virtual void onChunkUpdated(const QJsonValue &chunk) = 0;
};
