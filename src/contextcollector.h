#pragma once

#include <QDateTime>
#include <QMap>
#include <QString>

#include <optional>

class ContextService;
class QTimer;
class QVariant;

/// The collector of ContextService, which removes the contexts that nobody uses. Event-loop thread only.
namespace contextcollector {

/// The period in milliseconds, which is the time to live as well, for the value in minutes of the setting
/// "ch.tessel.vexo-service.context/ttl": at least one minute; none if the value is no integer.
[[nodiscard]] std::optional<int> periodOf(const QVariant &minutes);

/// Reads the setting and starts the repeating timer, a child of `service`, that sweeps; null if the setting
/// gives no period. `lastUse` must live as long as the timer runs.
[[nodiscard]] QTimer *start(ContextService &service, QMap<QString, QDateTime> &lastUse);

/// Deletes every context of `service` whose last use was not within the `period` before `now`, then clears
/// `lastUse`, so that a context is kept only if it was used since the sweep before.
void sweep(ContextService &service, QMap<QString, QDateTime> &lastUse, int period, const QDateTime &now);

} // namespace contextcollector
