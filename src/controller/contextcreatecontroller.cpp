#include "contextcreatecontroller.h"

#include "contextservice.h"

#include <http/server/request.h>
#include <http/server/response.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <utility>

static const QLoggingCategory &contextCreateControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.controller.create");
    return category;
}

ContextCreateController::ContextCreateController(ContextService &contextService)
    : m_contextService(contextService)
{
}

void ContextCreateController::release()
{
    delete this;
}

void ContextCreateController::setRequest(QSharedPointer<http::server::Request> request)
{
    m_request = std::move(request);
}

void ContextCreateController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

void ContextCreateController::onNewRequest()
{
    qCDebug(contextCreateControllerLogging) << "Creating a new context.";
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bodyAsUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        refuse(error.errorString());
        return;
    }
    const QString id = m_contextService.createContext();
    QJsonObject context = document.object();
    context.insert(QStringLiteral("_id"), id);
    m_contextService.setContext(id, context);
    answer(id, context);
}

QByteArray ContextCreateController::bodyAsUtf8() const
{
    const bool isLatin1 =
        m_request->header(QStringLiteral("Content-Type")).contains(QLatin1String("charset=ISO-8859-1"));
    return isLatin1 ? QString::fromLatin1(m_request->body()).toUtf8() : m_request->body();
}

void ContextCreateController::refuse(const QString &reason)
{
    qCWarning(contextCreateControllerLogging) << "Error when parsing.";
    qCDebug(contextCreateControllerLogging) << reason;
    m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("text/plain"));
    m_response->writeHead(400);
    m_response->end(reason.toLocal8Bit());
}

void ContextCreateController::answer(const QString &id, const QJsonObject &context)
{
    const bool wantsText = m_request->header(QStringLiteral("Accept")).contains(QLatin1String("text/plain"));
    m_response->setHeader(QStringLiteral("Content-Type"),
                          wantsText ? QStringLiteral("text/plain") : QStringLiteral("application/json"));
    m_response->writeHead(200);
    m_response->end(wantsText ? id.toLocal8Bit() : QJsonDocument(context).toJson());
}
