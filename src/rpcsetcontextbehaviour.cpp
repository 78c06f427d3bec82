#include "rpcsetcontextbehaviour.h"

#include "chunkexchange.h"
#include "contextservice.h"
#include "rpcreply.h"

#include <QJsonObject>
#include <QLoggingCategory>

const QLoggingCategory &rpcSetContextBehaviourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.rpcsetcontextbehaviour");
    return category;
}

RpcSetContextBehaviour::RpcSetContextBehaviour(ChunkServiceProxy &chunkServiceProxy,
                                               ContextService &contextService)
    : m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
{
}

void RpcSetContextBehaviour::onChunk(const QJsonValue &chunk)
{
    if (!hasExchange(chunk, QLatin1String("vexo-context-rpc-set")))
        return;
    QJsonObject body = chunk[QLatin1String("body")].toObject();
    const QString id = body.value(QLatin1String("_id")).toString();
    if (id.isEmpty()) {
        qCWarning(rpcSetContextBehaviourLogging) << "Set context with empty _id ignored.";
        qCDebug(rpcSetContextBehaviourLogging) << body;
        return;
    }
    body.remove(QLatin1String("_id"));
    m_contextService.setContext(id, body);
    publishRpcReply(m_chunkServiceProxy, chunk, body);
}
