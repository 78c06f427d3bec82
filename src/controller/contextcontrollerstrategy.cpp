#include "contextcontrollerstrategy.h"

#include "chunkserviceproxy.h"
#include "contextcontroller.h"
#include "contextcreatecontroller.h"
#include "contextcredentialscontroller.h"
#include "contexteventcontroller.h"
#include "contextfilegetcontroller.h"
#include "contextfilepostcontroller.h"
#include "contextformcontroller.h"
#include "contextservice.h"
#include "messagecontroller.h"
#include "messageeventcontroller.h"
#include "routepatterns.h"

#include <http/server/request.h>

#include <QJsonDocument>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

using http::server::Request;

static const QLoggingCategory &contextControllerStrategyLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.controllerstrategy");
    return category;
}

// Parameters, such as a charset, and other spellings are refused on purpose: clients rely on the exact match.
static bool passesContentTypeGate(const Request &request)
{
    const QString contentType = request.header(QStringLiteral("Content-Type"));
    return contentType.isEmpty() || contentType == QLatin1String("application/json");
}

static http::Controller *createFileGetController(ContextService &contextService, const QUrl &url)
{
    const QRegularExpressionMatch match =
        routepatterns::contextInstanceFileWithNameRegularExpression().match(url.path(QUrl::FullyDecoded));
    if (!match.hasMatch())
        return nullptr;
    // Deliberately decoded a second time: clients reach a name with a blank as "%2520".
    const QString name = QUrl::fromPercentEncoding(match.captured(2).toUtf8());
    const QUrlQuery query(url);
    const bool download = query.queryItemValue(QStringLiteral("download")) == QLatin1String("true");
    return new ContextFileGetController(contextService, match.captured(1), name, download,
                                        query.queryItemValue(QStringLiteral("filename")));
}

static http::Controller *createContextController(ContextService &contextService, const Request &request,
                                                 const QString &url)
{
    const QRegularExpressionMatch match = routepatterns::contextInstanceRegularExpression().match(url);
    if (match.hasMatch() && passesContentTypeGate(request))
        return new ContextController(contextService, request.method(), match.captured(1));
    return nullptr;
}

ContextControllerStrategy::ContextControllerStrategy(ContextService &contextService,
                                                     MessageService &messageService)
    : m_contextService(contextService)
    , m_messageService(messageService)
    , m_changeRouter(contextService)
{
}

ContextControllerStrategy::~ContextControllerStrategy() = default;

http::Controller *ContextControllerStrategy::createController(QSharedPointer<Request> request)
{
    switch (request->method()) {
    case Request::HttpMethod::Get:
    case Request::HttpMethod::Delete: return createForGetOrDelete(*request, request->url().toString());
    case Request::HttpMethod::Put:
        return createContextController(m_contextService, *request, request->url().toString());
    case Request::HttpMethod::Post: return createForPost(*request, request->url().toString());
    default: return nullptr;
    }
}

void ContextControllerStrategy::setChunkService(ChunkService *chunkService)
{
    m_chunkService = chunkService;
    m_chunkServiceIsProxied = m_contextService.chunkServiceProxy().getChunkService() == chunkService;
}

QMap<QString, QJsonObject> &ContextControllerStrategy::lastSentContexts()
{
    return m_lastSentContexts;
}

QByteArray ContextControllerStrategy::indentedJson(const QJsonObject &context)
{
    if (m_lastText.isNull() || m_lastObject != context) {
        m_lastText = QJsonDocument(context).toJson();
        m_lastObject = context;
    }
    return m_lastText;
}

http::Controller *ContextControllerStrategy::createForGetOrDelete(const Request &request, const QString &url)
{
    if (http::Controller *file = createFileGetController(m_contextService, request.url()))
        return file;
    const QRegularExpressionMatch event = routepatterns::contextInstanceEventRegularExpression().match(url);
    if (event.hasMatch())
        return new ContextEventController(*this, m_contextService, request.method(), event.captured(1));
    if (routepatterns::messageEventRegularExpression().match(url).hasMatch()) {
        qCDebug(contextControllerStrategyLogging) << "Received request matching message event polling URL";
        return new MessageEventController(m_messageService);
    }
    return createContextController(m_contextService, request, url);
}

http::Controller *ContextControllerStrategy::createForPost(const Request &request, const QString &url)
{
    if (routepatterns::contextRegularExpression().match(url).hasMatch())
        return new ContextCreateController(m_contextService);
    const QRegularExpressionMatch file = routepatterns::contextInstanceFileRegularExpression().match(url);
    if (file.hasMatch())
        return new ContextFilePostController(m_contextService, file.captured(1));
    const QRegularExpressionMatch form = routepatterns::contextActionFormRegularExpression().match(url);
    if (form.hasMatch() && passesContentTypeGate(request))
        return new ContextFormController(m_contextService, form.captured(1));
    const QRegularExpressionMatch credentials =
        routepatterns::contextCredentialsRegularExpression().match(url);
    if (credentials.hasMatch() && passesContentTypeGate(request))
        return createCredentialsController(request, credentials.captured(1));
    if (routepatterns::messageRegularExpression().match(url).hasMatch()) {
        qCDebug(contextControllerStrategyLogging) << "Received request matching message URL";
        if (passesContentTypeGate(request))
            return new MessageController(m_messageService, request.method());
    }
    return nullptr;
}

http::Controller *ContextControllerStrategy::createCredentialsController(const Request &request,
                                                                         const QString &contextId)
{
    auto *controller = new ContextCredentialsController(m_chunkService, request.method(), contextId);
    if (m_chunkServiceIsProxied)
        controller->setChunkServiceProxy(m_contextService.chunkServiceProxy());
    return controller;
}
