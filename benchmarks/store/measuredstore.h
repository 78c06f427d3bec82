#pragma once

#include "chunkserviceproxy.h"
#include "contextservice.h"
#include "fileservice.h"

#include <k7-plugin-api/chunkservice.h>

#include <QJsonArray>
#include <QJsonObject>

/// A store with contexts "0", "1", ... of about 1 KiB each, each of a patient of its own, and a bus that
/// drops everything.
class MeasuredStore final
{
public:
    explicit MeasuredStore(int contextCount);

    [[nodiscard]] ContextService &contexts() { return m_contexts; }
    [[nodiscard]] ChunkServiceProxy &proxy() { return m_proxy; }

    [[nodiscard]] static QString id(int number);
    [[nodiscard]] static QJsonObject context(int number);

    /// Resources with the ids `first`, `first` + 1, ...
    [[nodiscard]] static QJsonArray resources(int first, int count);

private:
    class DroppingBus final : public ChunkService
    {
    public:
        void publishChunk(const QJsonValue & /*chunk*/) override { }
        void attachChunkListener(ChunkUpdateListener * /*listener*/) override { }
    };

    DroppingBus m_bus;
    ChunkServiceProxy m_proxy;
    FileService m_files;
    ContextService m_contexts{m_proxy, m_files};
};
