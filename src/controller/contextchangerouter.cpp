#include "contextchangerouter.h"

#include "contextservice.h"

#include <QMetaMethod>

bool ContextChanges::isHeard() const
{
    return isSignalConnected(QMetaMethod::fromSignal(&ContextChanges::changed));
}

ContextChangeRouter::ContextChangeRouter(const ContextService &contextService)
{
    connect(&contextService, &ContextService::contextChanged, this, &ContextChangeRouter::route);
}

const ContextChanges *ContextChangeRouter::changesOf(const QString &id)
{
    QSharedPointer<ContextChanges> &changes = m_changes[id];
    if (!changes)
        changes = QSharedPointer<ContextChanges>::create();
    return changes.data();
}

void ContextChangeRouter::route(const QString &id, const QJsonValue &value)
{
    // Held here, since a slot may change the context again, and this then be dropped.
    const QSharedPointer<ContextChanges> changes = m_changes.value(id);
    if (!changes)
        return;
    if (changes->isHeard()) {
        Q_EMIT changes->changed(id, value);
    } else {
        m_changes.remove(id);
    }
}
