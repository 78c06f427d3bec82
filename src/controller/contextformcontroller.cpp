#include "contextformcontroller.h"

#include <QLoggingCategory>

#include <utility>

const QLoggingCategory &contextFormControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.controller.form");
    return category;
}

// NOLINTNEXTLINE(modernize-pass-by-value)
ContextFormController::ContextFormController(ContextService &contextService, const QString &contextId)
    : m_contextService(contextService)
    , m_contextId(contextId)
{
}

void ContextFormController::release()
{
    delete this;
}

void ContextFormController::setRequest(QSharedPointer<http::server::Request> request)
{
    m_request = std::move(request);
}

void ContextFormController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

// Deliberately empty: clients of this route keep their request open and expect no answer.
void ContextFormController::onNewRequest() { }
