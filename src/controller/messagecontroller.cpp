#include "messagecontroller.h"

#include "messageservice.h"
#include "structure/content/messageconsumption.h"
#include "structure/request/messageconsumption.h"

#include <http/server/response.h>

#include <QJsonDocument>
#include <QLoggingCategory>

#include <utility>

using http::server::Request;

static const QLoggingCategory &messageControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.messagecontroller");
    return category;
}

MessageController::MessageController(MessageService &messageService, Request::HttpMethod /*method*/)
    : m_messageService(messageService)
{
}

void MessageController::release()
{
    delete this;
}

void MessageController::setRequest(QSharedPointer<Request> request)
{
    m_request = std::move(request);
}

void MessageController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

void MessageController::onNewRequest()
{
    qCDebug(messageControllerLogging) << "Processing Message update request";
    structure::request::MessageConsumption report;
    // Deliberately without an error report: bad JSON consumes nothing and is answered like any other body.
    if (report.parse(QJsonDocument::fromJson(m_request->body()))) {
        structure::content::MessageConsumption consumption;
        report.fill(consumption);
        m_messageService.applyMessageConsumption(consumption);
    }
    m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
    m_response->writeHead(200);
    m_response->end(m_messageService.indentedUpdate());
}
