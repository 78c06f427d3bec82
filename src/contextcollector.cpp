#include "contextcollector.h"

#include "contextservice.h"
#include "pluginsettings.h"

#include <QLoggingCategory>
#include <QTimer>
#include <QVariant>

#include <algorithm>

namespace contextcollector {

// To whoever reads the log the collector is part of the store.
static const QLoggingCategory &contextServiceLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.contextservice");
    return category;
}

std::optional<int> periodOf(const QVariant &minutes)
{
    constexpr int minute = 60000;
    bool ok = false;
    const int count = minutes.toInt(&ok);
    if (!ok)
        return std::nullopt;
    // Wrapping around in 32 bits is deliberate; unsigned, since a signed overflow is undefined.
    const quint32 product = static_cast<quint32>(count) * quint32{minute};
    return std::max(static_cast<int>(product), minute);
}

QTimer *start(ContextService &service, QMap<QString, QDateTime> &lastUse)
{
    const QString key = QStringLiteral("ch.tessel.vexo-service.context/ttl");
    const auto period = periodOf(readPluginSettings().value(key));
    if (!period)
        return nullptr;
    qCInfo(contextServiceLogging) << "Starting the context garbage collector, runs every " << *period
                                  << "miliseconds.";
    auto *timer = new QTimer(&service);
    timer->setInterval(*period);
    QObject::connect(timer, &QTimer::timeout, &service, [&service, &lastUse, ttl = *period] {
        sweep(service, lastUse, ttl, QDateTime::currentDateTime());
    });
    timer->start();
    return timer;
}

void sweep(ContextService &service, QMap<QString, QDateTime> &lastUse, int period, const QDateTime &now)
{
    qCDebug(contextServiceLogging) << "Garbage collector cleaning up.";
    const QDateTime threshold = now.addMSecs(-qint64{period});
    const QStringList ids = service.getContextKeys();
    for (const QString &id : ids) {
        qCDebug(contextServiceLogging) << "Context " << id;
        const auto used = lastUse.constFind(id);
        if (used != lastUse.constEnd() && threshold.msecsTo(*used) > 0)
            continue;
        qCWarning(contextServiceLogging)
            << "Deleting context that was not used in more than " << period << " miliseconds: " << id
            << ". Increase, decrease or disable this setting under ch.tessel.vexo-service.context/ttl.";
        service.deleteContext(id);
    }
    // Also the times of those kept: without a use from here on they go with the next sweep.
    lastUse.clear();
}

} // namespace contextcollector
