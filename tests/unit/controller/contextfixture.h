#pragma once

#include "chunkserviceproxy.h"
#include "contextservice.h"
#include "controller/contextcontrollerstrategy.h"
#include "exchange.h"
#include "fileservice.h"
#include "logcapture.h"
#include "messageservice.h"
#include "recordingchunkservice.h"

#include <QJsonDocument>
#include <QJsonObject>

/// A store with its bus and its route table, fresh for each test.
struct ContextFixture
{
    ContextFixture() { proxy.setChunkService(&bus); }

    RecordingChunkService bus;
    ChunkServiceProxy proxy;
    FileService files;
    ContextService contexts{proxy, files};
    MessageService messages;
    ContextControllerStrategy strategy{contexts, messages};
};

/// The object that `json` stands for.
inline QJsonObject object(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

/// What was logged, each line behind a word for its level.
inline QStringList linesOf(const LogCapture &log)
{
    QStringList lines;
    for (const LogCapture::Line &line : log.lines()) {
        const bool isDebug = line.type == QtDebugMsg;
        const bool isWarning = line.type == QtWarningMsg;
        lines += QLatin1String(isDebug ? "debug: " : isWarning ? "warning: " : "other: ") + line.text;
    }
    return lines;
}
