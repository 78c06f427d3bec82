#include "messageeventcontroller.h"

#include "messageservice.h"

#include <http/server/response.h>

#include <QLoggingCategory>

#include <utility>

// Deliberately the name of the context's long poll: one rule switches the lines of both.
static const QLoggingCategory &messageEventControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.eventcontroller");
    return category;
}

MessageEventController::MessageEventController(MessageService &messageService)
    : m_messageService(messageService)
{
}

void MessageEventController::release()
{
    delete this;
}

void MessageEventController::setRequest(QSharedPointer<http::server::Request> request)
{
    m_request = std::move(request);
}

void MessageEventController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

void MessageEventController::onNewRequest()
{
    if (m_messageService.hasMessages()) {
        qCDebug(messageEventControllerLogging) << "There are outstanding messages. Immediately return.";
        onMessagesAvailable();
        return;
    }
    qCDebug(messageEventControllerLogging) << "Wait for messages becoming available...";
    m_connection = connect(&m_messageService, &MessageService::messagesAvailable, this,
                           &MessageEventController::onMessagesAvailable);
}

void MessageEventController::onMessagesAvailable()
{
    // Before the answer, so that a message that comes in the same turn does not reach an ended response.
    qCDebug(messageEventControllerLogging) << "Trying to disconnect...";
    // By its handle, since the search for it would go through all polls that wait.
    disconnect(m_connection);
    qCDebug(messageEventControllerLogging) << "Messages have become available. Returning long-polling.";
    m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
    m_response->writeHead(200);
    m_response->end(m_messageService.indentedUpdate());
    deleteLater();
}
