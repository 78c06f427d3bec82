#include "rpcdeletecontextbehaviour.h"

#include "chunkexchange.h"
#include "contextservice.h"
#include "rpcreply.h"

#include <QJsonObject>
#include <QLoggingCategory>

const QLoggingCategory &rpcDeleteContextBehaviourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.rpcdeletecontextbehaviour");
    return category;
}

RpcDeleteContextBehaviour::RpcDeleteContextBehaviour(ChunkServiceProxy &chunkServiceProxy,
                                                     ContextService &contextService)
    : m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
{
}

void RpcDeleteContextBehaviour::onChunk(const QJsonValue &chunk)
{
    if (!hasExchange(chunk, QLatin1String("vexo-context-rpc-delete")))
        return;
    // An empty id is deliberately passed on, as any other.
    const QString id = chunk[QLatin1String("body")][QLatin1String("context")].toString();
    m_contextService.deleteContext(id);
    publishRpcReply(m_chunkServiceProxy, chunk, QJsonObject{{QStringLiteral("context"), id}});
}
