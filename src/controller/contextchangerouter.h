#pragma once

#include <QHash>
#include <QJsonValue>
#include <QObject>
#include <QSharedPointer>
#include <QString>

class ContextService;

/// Tells of the changes of one context.
class ContextChanges final : public QObject
{
    Q_OBJECT

public:
    /// True while something is connected to changed().
    [[nodiscard]] bool isHeard() const;

Q_SIGNALS:
    /// As ContextService::contextChanged(), for one `id` only.
    void changed(const QString &id, const QJsonValue &value);
};

/**
 * Passes ContextService::contextChanged() on by id, from inside that signal, so that a change costs nothing
 * for those who wait for other contexts. Event-loop thread only; may be re-entered.
 */
class ContextChangeRouter final : public QObject
{
    Q_OBJECT

public:
    /// The service may be gone before the router.
    explicit ContextChangeRouter(const ContextService &contextService);
    Q_DISABLE_COPY_MOVE(ContextChangeRouter)

    /// The changes of `id`, to be connected to at once: what nobody hears is dropped with the next change.
    [[nodiscard]] const ContextChanges *changesOf(const QString &id);

private:
    void route(const QString &id, const QJsonValue &value);

    QHash<QString, QSharedPointer<ContextChanges>> m_changes;
};
