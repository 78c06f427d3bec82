#include "rpcgetfilebehaviour.h"

#include "attachmententry.h"
#include "chunkexchange.h"
#include "chunkserviceproxy.h"
#include "contextdata.h"
#include "contextservice.h"
#include "fhir/stu3/serialization/documentreferencefromjson.h"
#include "rpcreply.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QLoggingCategory>

using domain::DocumentReference;

const QLoggingCategory &rpcGetFileContextBehaviourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.rpcgetfilebehaviour");
    return category;
}

// Empty for a value that is no object.
static DocumentReference referenceOf(const QJsonValue &json)
{
    DocumentReference reference;
    domain::DocumentReferenceFromJson(reference, json.toObject()).parse();
    return reference;
}

// A "content" that is no object, such as the list of FHIR, is deliberately replaced.
static QJsonObject entryWithBytes(const QJsonValue &entry, const QByteArray &bytes)
{
    const QString data = QString::fromLocal8Bit(bytes.toBase64());
    const QJsonObject content = entry[QLatin1String("content")].toObject();
    const QJsonObject attachment = content.value(QLatin1String("attachment")).toObject();
    const QJsonObject filled = contextdata::merged(attachment, {{QStringLiteral("data"), data}});
    return contextdata::merged(entry.toObject(),
                               {{QStringLiteral("content"),
                                 contextdata::merged(content, {{QStringLiteral("attachment"), filled}})}});
}

static bool fitsText(const QString &text, const QString &wanted)
{
    return wanted.isEmpty() || text == wanted;
}

RpcGetFileBehaviour::RpcGetFileBehaviour(ChunkServiceProxy &chunkServiceProxy, ContextService &contextService)
    : m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
{
}

void RpcGetFileBehaviour::onChunk(const QJsonValue &chunk)
{
    if (!hasExchange(chunk, QLatin1String("vexo-context-rpc-get-files")))
        return;
    // Unlike the other requests, deliberately before the store is touched.
    if (m_chunkServiceProxy.getChunkService() == nullptr)
        return;
    const QJsonValue body = chunk[QLatin1String("body")];
    const QString id = body[QLatin1String("context")].toString();
    const QJsonArray entries = m_contextService.getContext(id)[QLatin1String("attachments")].toArray();
    const DocumentReference pattern = referenceOf(body[QLatin1String("reference")]);
    QJsonArray found;
    for (const QJsonValue &entry : entries) {
        if (!fitsReference(referenceOf(entry), pattern))
            continue;
        const QByteArray bytes = m_contextService.getFile(id, attachmententry::fileName(entry));
        found.append(entryWithBytes(entry, bytes));
    }
    publishRpcReply(m_chunkServiceProxy, chunk, found);
}

bool RpcGetFileBehaviour::fitsReference(const DocumentReference &candidate, const DocumentReference &pattern)
{
    if (!fitsText(candidate.status(), pattern.status())
        || candidate.content().size() < pattern.content().size())
        return false;
    for (int i = 0; i < pattern.content().size(); ++i) {
        if (!fitsText(candidate.content().at(i).attachment().url(),
                      pattern.content().at(i).attachment().url()))
            return false;
    }
    const domain::Coding &coding = candidate.type().coding();
    const domain::Coding &wanted = pattern.type().coding();
    return fitsText(coding.system(), wanted.system()) && fitsText(coding.code(), wanted.code());
}
