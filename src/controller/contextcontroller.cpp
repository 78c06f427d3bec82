#include "contextcontroller.h"

#include "contextservice.h"

#include <http/server/response.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <stdexcept>
#include <utility>

using http::server::Request;

static const QLoggingCategory &contextControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.controller");
    return category;
}

ContextController::ContextController(ContextService &contextService, Request::HttpMethod method,
                                     QString contextId)
    : m_contextService(contextService)
    , m_method(method)
    , m_contextId(std::move(contextId))
{
}

void ContextController::release()
{
    delete this;
}

void ContextController::setRequest(QSharedPointer<Request> request)
{
    m_request = std::move(request);
}

void ContextController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

void ContextController::onNewRequest()
{
    if (m_contextId.isEmpty())
        throw std::runtime_error("Context id required.");
    switch (m_method) {
    case Request::HttpMethod::Get: get(); break;
    case Request::HttpMethod::Put: put(); break;
    case Request::HttpMethod::Delete: remove(); break;
    default: break;
    }
}

void ContextController::get()
{
    qCDebug(contextControllerLogging) << "Accessing context" << m_contextId << ".";
    const QJsonValue context = m_contextService.getContext(m_contextId);
    if (context.isNull()) {
        m_response->writeHead(404);
        m_response->end({});
        return;
    }
    m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
    m_response->writeHead(200);
    m_response->end(QJsonDocument(context.toObject()).toJson());
}

void ContextController::put()
{
    qCDebug(contextControllerLogging) << "Setting context" << m_contextId << ".";
    // Deliberately without an error report: unlike POST, a PUT is never refused, and invalid JSON merges as
    // {}.
    QJsonDocument document = QJsonDocument::fromJson(m_request->body());
    const bool existed = !m_contextService.getContext(m_contextId).isNull();
    const QJsonValue updated = m_contextService.updateContext(m_contextId, document.object());
    if (updated.isObject() || document.isNull())
        document.setObject(updated.toObject());
    m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
    m_response->writeHead(existed ? 200 : 201);
    m_response->end(document.toJson());
}

void ContextController::remove()
{
    if (m_contextService.getContext(m_contextId).isNull()) {
        m_response->writeHead(404);
        m_response->end("Context not found.");
        return;
    }
    qCDebug(contextControllerLogging) << "Deleting context" << m_contextId << ".";
    m_contextService.deleteContext(m_contextId);
    m_response->writeHead(204);
    m_response->end({});
}
