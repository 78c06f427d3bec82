#pragma once

class ChunkUpdateListener;
class QJsonValue;

/**
 * One plug-in's door to the bus of the desktop service. Owned by the host, used on its event-loop thread.
 *
 * It has no virtual destructor on purpose: no plug-in ever destroys it.
 */
class ChunkService
{
public:
    /// Puts `chunk`, a JSON object, on the bus. It reaches every other plug-in's listeners later, from the
    /// event loop and in the order of publishing; no listener is called from inside. Nothing is kept of the
    /// reference once the call has returned.
    virtual void publishChunk(const QJsonValue &chunk) = 0;

    /// From now on every incoming chunk is delivered to `listener`. The caller keeps ownership and keeps the
    /// listener alive until the host has called VexoServicePlugin::detachChunkService().
    virtual void attachChunkListener(ChunkUpdateListener *listener) = 0;

protected:
    ~ChunkService() = default;
};
