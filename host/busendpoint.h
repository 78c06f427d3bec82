#pragma once

#include <k7-plugin-api/chunkservice.h>

#include <QString>

#include <vector>

class Bus;

/// One plug-in's door to the bus. Owned by the bus.
class BusEndpoint final : public ChunkService
{
public:
    BusEndpoint(Bus &bus, QString name);
    ~BusEndpoint() = default;
    Q_DISABLE_COPY_MOVE(BusEndpoint)

    void publishChunk(const QJsonValue &chunk) override;

    /// A listener that is attached twice gets each chunk once.
    void attachChunkListener(ChunkUpdateListener *listener) override;

    /// From here on nothing is delivered to its listeners, and what is published on it is dropped.
    void cut();

    [[nodiscard]] const QString &name() const { return m_name; }

private:
    friend class Bus;

    void deliver(const QJsonValue &chunk);

    Bus &m_bus;
    const QString m_name;
    std::vector<ChunkUpdateListener *> m_listeners;
    bool m_cut = false;
};
