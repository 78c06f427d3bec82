#include "resourceaddition.h"

#include "chunkexchange.h"
#include "contextservice.h"
#include "overlap.h"
#include "resourcebundle.h"

#include <QDebug>
#include <QJsonObject>
#include <QLoggingCategory>

static bool accepts(const QJsonObject &filter, QJsonObject &context, const ResourceKind &kind)
{
    qCDebug(kind.logging) << "Filter keys:" << filter.keys() << ", context keys:" << context.keys();
    if (kind.logsPatients) {
        // Reading the context's "patient" deliberately enters a null into this copy, so that a filter of a
        // null patient fits a context without one while the line is logged.
        qCDebug(kind.logging) << "Filter patient:" << filter.value(QLatin1String("patient"))
                              << "Context patient:" << QJsonValue(context[QStringLiteral("patient")]);
    }
    if (overlap(filter, context, kind.logging))
        return true;
    qCDebug(kind.logging) << "No overlap found. Reject update.";
    return false;
}

static void logAccepted(const ResourceBundle &bundle, const QJsonObject &body, const ResourceKind &kind)
{
    qCDebug(kind.logging) << kind.acceptedText << bundle.entryCount() << "entries.";
    // Deliberately counts what has been gathered before the first entry: always 0.
    qCDebug(kind.logging) << kind.existingText << 0 << "entries.";
    if (!kind.warnsOfMissingIds)
        return;
    for (const QJsonObject &resource : bundle.resourcesWithoutId()) {
        // "source" is deliberately read from the body, where it normally is not.
        qCWarning(kind.logging) << "Chunk sent by " << body.value(QLatin1String("source"))
                                << " contained an entry for matchingItem with an undefined \"id\" entry. "
                                   "Proceeding anyways: "
                                << resource;
    }
}

void addResources(ContextService &contextService, const QJsonValue &chunk, const ResourceKind &kind)
{
    if (!hasExchange(chunk, kind.exchange))
        return;
    qCDebug(kind.logging) << "Chunk received: " << chunk[QLatin1String("source")];
    const QJsonObject body = chunk[QLatin1String("body")].toObject();
    if (!body.contains(QLatin1String("filter"))) {
        qCWarning(kind.logging) << "Invalid chunk received, chunk has no filter.";
        return;
    }
    const QJsonObject filter = body.value(QLatin1String("filter")).toObject();
    if (filter.isEmpty())
        qCDebug(kind.logging) << "Empty filter. Add to all contexts.";
    const ResourceBundle bundle(body.value(kind.key).toObject());
    const QStringList ids = contextService.getContextKeys();
    for (const QString &id : ids) {
        QJsonObject context = contextService.getContext(id).toObject();
        if (!accepts(filter, context, kind))
            continue;
        logAccepted(bundle, body, kind);
        const QJsonArray merged = bundle.mergedWith(context.value(kind.key).toArray());
        contextService.updateContext(id, QJsonObject{{kind.key, merged}});
    }
}
