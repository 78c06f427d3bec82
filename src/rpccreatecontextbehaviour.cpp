#include "rpccreatecontextbehaviour.h"

#include "chunkexchange.h"
#include "contextservice.h"
#include "rpcreply.h"

#include <QJsonObject>
#include <QLoggingCategory>

const QLoggingCategory &rpcCreateContextBehaviourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.rpccreatecontextbehaviour");
    return category;
}

RpcCreateContextBehaviour::RpcCreateContextBehaviour(ChunkServiceProxy &chunkServiceProxy,
                                                     ContextService &contextService)
    : m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
{
}

void RpcCreateContextBehaviour::onChunk(const QJsonValue &chunk)
{
    if (!hasExchange(chunk, QLatin1String("vexo-context-rpc-create")))
        return;
    const QString id = m_contextService.createContext();
    QJsonObject body = chunk[QLatin1String("body")].toObject();
    body.insert(QStringLiteral("_id"), id);
    m_contextService.setContext(id, body);
    publishRpcReply(m_chunkServiceProxy, chunk, body);
}
