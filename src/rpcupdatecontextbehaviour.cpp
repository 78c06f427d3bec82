#include "rpcupdatecontextbehaviour.h"

#include "chunkexchange.h"
#include "contextservice.h"
#include "rpcreply.h"

#include <QJsonObject>
#include <QLoggingCategory>

const QLoggingCategory &rpcUpdateContextBehaviourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.rpcupdatecontextbehaviour");
    return category;
}

RpcUpdateContextBehaviour::RpcUpdateContextBehaviour(ChunkServiceProxy &chunkServiceProxy,
                                                     ContextService &contextService)
    : m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
{
}

void RpcUpdateContextBehaviour::onChunk(const QJsonValue &chunk)
{
    if (!hasExchange(chunk, QLatin1String("vexo-context-rpc-update")))
        return;
    QJsonObject body = chunk[QLatin1String("body")].toObject();
    const QString id = body.value(QLatin1String("_id")).toString();
    if (id.isEmpty()) {
        qCWarning(rpcUpdateContextBehaviourLogging) << "Update context with empty _id ignored.";
        qCDebug(rpcUpdateContextBehaviourLogging) << body;
        return;
    }
    body.remove(QLatin1String("_id"));
    const QStringList targets =
        id == QLatin1String("*") ? m_contextService.getContextKeys() : QStringList(id);
    for (const QString &target : targets)
        m_contextService.updateContext(target, body);
    publishRpcReply(m_chunkServiceProxy, chunk, body);
}
