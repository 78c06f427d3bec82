#pragma once

#include "cardservice.h"
#include "chunkserviceproxy.h"
#include "contextservice.h"
#include "fileservice.h"
#include "jsontext.h"
#include "messageservice.h"
#include "recordingchunkservice.h"

#include <QJsonObject>
#include <QStringList>

/// A context service with a bus, cards, files and messages of its own. `events` keeps, in order, what went
/// out: "created ID", "removed ID", "chunk UPDATE CONTEXT" and "signal ID VALUE".
struct ContextStore
{
    ContextStore()
    {
        proxy.setChunkService(&bus);
        bus.onPublish = [this](const QJsonValue &chunk) {
            events.append(describe(chunk.toObject()));
            if (onPublish)
                onPublish();
        };
        QObject::connect(&contexts, &ContextService::contextChanged, &contexts,
                         [this](const QString &id, const QJsonValue &value) {
                             events.append(QStringLiteral("signal %1 %2").arg(id, jsonText(value)));
                         });
    }

    static QString describe(const QJsonObject &chunk)
    {
        const QJsonObject data = chunk.value(QLatin1String("data")).toObject();
        const QString exchange = chunk.value(QLatin1String("exchange")).toString();
        if (!exchange.isEmpty())
            return exchange.mid(8) + QLatin1Char(' ') + data.value(QLatin1String("contextId")).toString();
        return QStringLiteral("chunk %1 %2")
            .arg(jsonText(data.value(QLatin1String("data"))), jsonText(data.value(QLatin1String("context"))));
    }

    RecordingChunkService bus;
    ChunkServiceProxy proxy;
    CardService cards;
    FileService files;
    MessageService messages;
    ContextService contexts{proxy, files};
    QStringList events;
    std::function<void()> onPublish;
};
