#include "contextcredentialscontroller.h"

#include "chunkserviceproxy.h"

#include <http/server/response.h>
#include <k7-plugin-api/chunkservice.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <stdexcept>
#include <utility>

using http::server::Request;

const QLoggingCategory &contextCredentialsControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.credentials.controller");
    return category;
}

static QJsonObject chunkOf(const QJsonObject &data)
{
    return {{QStringLiteral("source"), QStringLiteral("k7-plugin-context")},
            {QStringLiteral("version"), QStringLiteral("1.0.0")},
            {QStringLiteral("data"), data}};
}

static bool isComplete(const QJsonObject &entry)
{
    const bool hasService = !entry.value(QLatin1String("service")).toString().isEmpty();
    if (entry.value(QLatin1String("keystore_ref")).toString().isEmpty()) {
        // Deliberately without a look at "cert", "key" and "keyPass": a service alone is enough.
        if (!hasService)
            qCDebug(contextCredentialsControllerLogging) << "Incomplete credentials. Do not publish.";
        return hasService;
    }
    if (hasService && !entry.value(QLatin1String("id")).toString().isEmpty())
        return true;
    qCDebug(contextCredentialsControllerLogging) << "Incomplete keystore credentials. Do not publish.";
    return false;
}

ContextCredentialsController::ContextCredentialsController(ChunkService *chunkService,
                                                           Request::HttpMethod method,
                                                           // NOLINTNEXTLINE(modernize-pass-by-value)
                                                           const QString &contextId)
    : m_chunkService(chunkService)
    , m_method(method)
    , m_contextId(contextId)
{
}

void ContextCredentialsController::release()
{
    delete this;
}

void ContextCredentialsController::setRequest(QSharedPointer<Request> request)
{
    m_request = std::move(request);
}

void ContextCredentialsController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

void ContextCredentialsController::onNewRequest()
{
    if (m_contextId.isEmpty())
        throw std::runtime_error("Context id required.");
    if (m_method != Request::HttpMethod::Post)
        return;
    qCDebug(contextCredentialsControllerLogging) << "Publish credential for context" << m_contextId << ".";
    const QJsonArray entries = QJsonDocument::fromJson(m_request->body()).array();
    publishReset();
    for (const QJsonValue &entry : entries) {
        // The entries behind an incomplete one are dropped on purpose, and the client is not told.
        if (!publishCredential(entry.toObject()))
            break;
    }
    if (m_response.isNull())
        return;
    m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
    m_response->writeHead(200);
    m_response->end({});
}

// Asked at each use, since the bus may go away while something is published on it.
ChunkService *ContextCredentialsController::bus() const
{
    const bool isGone =
        m_chunkServiceProxy != nullptr && m_chunkServiceProxy->getChunkService() != m_chunkService;
    return isGone ? nullptr : m_chunkService;
}

void ContextCredentialsController::publishReset()
{
    ChunkService *chunkService = bus();
    if (chunkService == nullptr)
        return;
    const QJsonObject chunk = chunkOf({{QStringLiteral("event"), QStringLiteral("credentialreset-published")},
                                       {QStringLiteral("id"), m_contextId}});
    qCDebug(contextCredentialsControllerLogging) << "Sending chunk.";
    chunkService->publishChunk(chunk);
}

bool ContextCredentialsController::publishCredential(const QJsonObject &entry)
{
    if (!isComplete(entry))
        return false;
    qCDebug(contextCredentialsControllerLogging)
        << "Publish credential for context " << m_contextId
        << ": Service: " << entry.value(QLatin1String("service")).toString();
    ChunkService *chunkService = bus();
    if (chunkService == nullptr)
        return true;
    const QJsonObject chunk = chunkOf({{QStringLiteral("event"), QStringLiteral("credential-published")},
                                       {QStringLiteral("id"), m_contextId},
                                       {QStringLiteral("data"), entry}});
    qCDebug(contextCredentialsControllerLogging)
        << "Credential chunk to be sent: "
        << QString::fromUtf8(QJsonDocument(chunk).toJson(QJsonDocument::Compact));
    chunkService->publishChunk(chunk);
    return true;
}
