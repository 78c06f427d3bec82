#pragma once

#include <k7-plugin-api/chunkservice.h>

#include <QJsonValue>
#include <QVector>

#include <functional>

/// A bus that keeps what is published and who listens. `onPublish`, if set, is called from inside
/// publishChunk(), after the chunk has been kept.
class RecordingChunkService final : public ChunkService
{
public:
    void publishChunk(const QJsonValue &chunk) override
    {
        chunks.append(chunk);
        if (onPublish)
            onPublish(chunk);
    }
    void attachChunkListener(ChunkUpdateListener *listener) override { listeners.append(listener); }

    QVector<QJsonValue> chunks;
    QVector<ChunkUpdateListener *> listeners;
    std::function<void(const QJsonValue &)> onPublish;
};
