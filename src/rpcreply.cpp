#include "rpcreply.h"

#include "chunkserviceproxy.h"

#include <k7-plugin-api/chunkservice.h>

#include <QJsonObject>

void publishRpcReply(const ChunkServiceProxy &chunkServiceProxy, const QJsonValue &chunk,
                     const QJsonValue &body)
{
    ChunkService *chunkService = chunkServiceProxy.getChunkService();
    if (chunkService == nullptr)
        return;
    constexpr int prefixLength = 9;
    const QJsonValue properties = chunk[QLatin1String("properties")];
    const QString correlationId = QStringLiteral("correlation-id");
    chunkService->publishChunk(QJsonObject{
        {QStringLiteral("exchange"), properties[QLatin1String("reply-to")].toString().mid(prefixLength)},
        {QStringLiteral("properties"), QJsonObject{{correlationId, properties[correlationId]}}},
        {QStringLiteral("body"), body}});
}
