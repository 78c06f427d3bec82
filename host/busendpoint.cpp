#include "busendpoint.h"

#include "bus.h"
#include "thrownby.h"

#include <k7-plugin-api/chunkupdatelistener.h>

#include <QLoggingCategory>

#include <algorithm>
#include <utility>

static const QLoggingCategory &busEndpointLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.busendpoint");
    return category;
}

BusEndpoint::BusEndpoint(Bus &bus, QString name)
    : m_bus(bus)
    , m_name(std::move(name))
{
}

void BusEndpoint::publishChunk(const QJsonValue &chunk)
{
    if (!m_cut)
        m_bus.publish(*this, chunk);
}

void BusEndpoint::attachChunkListener(ChunkUpdateListener *listener)
{
    const bool known = std::find(m_listeners.cbegin(), m_listeners.cend(), listener) != m_listeners.cend();
    if (listener != nullptr && !known && !m_cut)
        m_listeners.push_back(listener);
}

void BusEndpoint::cut()
{
    m_cut = true;
    m_listeners.clear();
}

void BusEndpoint::deliver(const QJsonValue &chunk)
{
    // By index: a listener may attach another one or have the endpoint cut.
    // NOLINTNEXTLINE(modernize-loop-convert)
    for (std::size_t i = 0; i < m_listeners.size(); ++i) {
        if (const auto thrown = thrownBy([&] { m_listeners[i]->onChunkUpdated(chunk); }))
            qCWarning(busEndpointLogging) << "A listener of" << m_name << "has thrown:" << *thrown;
    }
}
