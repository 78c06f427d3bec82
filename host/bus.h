#pragma once

#include "busendpoint.h"

#include <QJsonValue>
#include <QObject>

#include <deque>
#include <memory>
#include <vector>

/**
 * Carries chunks between plug-ins, each of which has an endpoint of its own. A chunk reaches the listeners of
 * every other endpoint later, from the event loop, in the order of publishing over the whole bus; an endpoint
 * that gets its listener before that receives it too. What a listener throws is logged and kept from the
 * others.
 *
 * Delivery pauses after every `chunksPerTurn` chunks, so that a flood leaves the event loop its other work.
 * While a listener runs an event loop of its own, delivery waits, since the order would be lost otherwise.
 *
 * Every chunk that is published shows at debug level in the category "ch.tessel.vexo-service.bus".
 */
class Bus final : public QObject
{
    Q_OBJECT

public:
    static constexpr int chunksPerTurn = 100;

    Bus();
    ~Bus() override;
    Q_DISABLE_COPY_MOVE(Bus)

    /// A new endpoint, which lives as long as the bus. `name` tells it in the log.
    [[nodiscard]] BusEndpoint &addEndpoint(const QString &name);

    bool event(QEvent *event) override;

private:
    friend class BusEndpoint;

    struct Published
    {
        const BusEndpoint *publisher;
        QJsonValue chunk;
    };

    void publish(const BusEndpoint &publisher, const QJsonValue &chunk);
    void scheduleTurn();
    void deliverTurn();
    void deliver(const Published &published);

    std::vector<std::unique_ptr<BusEndpoint>> m_endpoints;
    std::deque<Published> m_queue;
    bool m_scheduled = false;
    bool m_delivering = false;
};
