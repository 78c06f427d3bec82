#pragma once

class QJsonValue;

/// One reaction to chunks of the bus. Owned by ContextService.
class ChunkBehaviour
{
public:
    virtual ~ChunkBehaviour() = default;

    /// Looks at `chunk`, envelope and payload, and acts if it is meant for this behaviour; ignores it
    /// otherwise. Must return normally on any JSON value. Event-loop thread.
    virtual void onChunk(const QJsonValue &chunk) = 0;
};
