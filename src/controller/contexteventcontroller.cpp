#include "contexteventcontroller.h"

#include "contextcontrollerstrategy.h"
#include "contextservice.h"

#include <http/server/response.h>

#include <QLoggingCategory>

#include <stdexcept>
#include <utility>

using http::server::Request;

static const QLoggingCategory &contextEventControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.eventcontroller");
    return category;
}

ContextEventController::ContextEventController(ContextControllerStrategy &strategy,
                                               ContextService &contextService, Request::HttpMethod method,
                                               QString contextId)
    : m_strategy(strategy)
    , m_contextService(contextService)
    , m_method(method)
    , m_contextId(std::move(contextId))
{
}

void ContextEventController::release()
{
    delete this;
}

void ContextEventController::setRequest(QSharedPointer<Request> request)
{
    m_request = std::move(request);
}

void ContextEventController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

void ContextEventController::onNewRequest()
{
    if (m_contextId.isEmpty())
        throw std::runtime_error("Context id required.");
    readPreference();
    if (m_method != Request::HttpMethod::Get)
        return;
    qCDebug(contextEventControllerLogging) << "Accessing context" << m_contextId << ".";
    QJsonObject &lastSent = m_strategy.lastSentContexts()[m_contextId];
    if (lastSent != m_contextService.getContext(m_contextId).toObject()) {
        qCDebug(contextEventControllerLogging) << "Context changed since last sent. Immediately return.";
        const QJsonValue context = m_contextService.getContext(m_contextId);
        // Deliberately before the answer is certain and without a connection: if the awaited key is missing,
        // this poll stays unanswered, and the client's next poll waits normally.
        lastSent = context.toObject();
        onContextChanged(m_contextId, context);
        return;
    }
    qCDebug(contextEventControllerLogging) << "Current context has already been sent. Wait for change...";
    connect(m_strategy.changesOf(m_contextId), &ContextChanges::changed, this,
            &ContextEventController::onContextChanged);
}

void ContextEventController::onContextChanged(const QString &id, const QJsonValue &value)
{
    if (id != m_contextId)
        return;
    if (value.isNull()) {
        forbidCaching();
        m_response->writeHead(404);
        m_response->end({});
        return;
    }
    const QJsonObject context = value.toObject();
    if (!m_contextItem.isEmpty() && !context.contains(m_contextItem)) {
        qCDebug(contextEventControllerLogging)
            << "Context changed but doesnt have the item we're waiting for" << m_contextItem;
        return;
    }
    qCDebug(contextEventControllerLogging) << "Context changed. Return long polling.";
    // Until the event loop turns, changes still come here after the answer. One upload may bring thousands,
    // and to render each for nobody would stop the host for minutes.
    if (m_response->isOpen()) {
        forbidCaching();
        m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
        m_response->writeHead(200);
        m_response->end(m_strategy.indentedJson(context));
    }
    m_strategy.lastSentContexts()[m_contextId] = context;
    deleteLater();
}

// The key is everything behind the first mark up to the next one, parameters and dots included.
void ContextEventController::readPreference()
{
    const QString mark = QStringLiteral("wait=$.");
    const QString preference = m_request->header(QStringLiteral("Prefer"));
    if (!preference.contains(mark))
        return;
    m_contextItem = preference.split(mark, Qt::KeepEmptyParts).at(1);
    qCDebug(contextEventControllerLogging) << "Waiting for context item" << m_contextItem;
}

void ContextEventController::forbidCaching()
{
    m_response->setHeader(QStringLiteral("Cache-Control"),
                          QStringLiteral("no-cache, no-store, must-revalidate"));
    m_response->setHeader(QStringLiteral("Pragma"), QStringLiteral("no-cache"));
    m_response->setHeader(QStringLiteral("Expires"), QStringLiteral("0"));
}
