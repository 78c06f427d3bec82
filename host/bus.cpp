#include "bus.h"

#include <QCoreApplication>
#include <QEvent>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <utility>

static const QLoggingCategory &busLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.bus");
    return category;
}

static QString compact(const QJsonValue &chunk)
{
    if (chunk.isObject())
        return QString::fromUtf8(QJsonDocument(chunk.toObject()).toJson(QJsonDocument::Compact));
    // A document holds no bare value.
    const QByteArray wrapped = QJsonDocument(QJsonArray{chunk}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(wrapped.mid(1, wrapped.size() - 2));
}

Bus::Bus() = default;
Bus::~Bus() = default;

BusEndpoint &Bus::addEndpoint(const QString &name)
{
    m_endpoints.push_back(std::make_unique<BusEndpoint>(*this, name));
    return *m_endpoints.back();
}

bool Bus::event(QEvent *event)
{
    if (event->type() != QEvent::User)
        return QObject::event(event);
    m_scheduled = false;
    deliverTurn();
    return true;
}

void Bus::publish(const BusEndpoint &publisher, const QJsonValue &chunk)
{
    qCDebug(busLogging).noquote() << publisher.name() << "published" << compact(chunk);
    m_queue.push_back({&publisher, chunk});
    scheduleTurn();
}

void Bus::scheduleTurn()
{
    // While a turn is on the stack, its end schedules the next one.
    if (m_delivering || m_queue.empty() || std::exchange(m_scheduled, true))
        return;
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void Bus::deliverTurn()
{
    m_delivering = true;
    for (int i = 0; i < chunksPerTurn && !m_queue.empty(); ++i) {
        const Published published = std::move(m_queue.front());
        m_queue.pop_front();
        deliver(published);
    }
    m_delivering = false;
    scheduleTurn();
}

void Bus::deliver(const Published &published)
{
    // By index: a listener may bring a new endpoint.
    // NOLINTNEXTLINE(modernize-loop-convert)
    for (std::size_t i = 0; i < m_endpoints.size(); ++i) {
        if (m_endpoints[i].get() != published.publisher)
            m_endpoints[i]->deliver(published.chunk);
    }
}
