#include "contextcontrollerstrategy.h"

#include "contextcontroller.h"
#include "contextcreatecontroller.h"
#include "contexteventcontroller.h"
#include "messagecontroller.h"
#include "messageeventcontroller.h"

#include <http/server/request.h>

#include <QJsonDocument>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QUrl>

using http::server::Request;

static const QLoggingCategory &contextControllerStrategyLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.controllerstrategy");
    return category;
}

static QRegularExpression contextRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/?$)"));
    return expression;
}

static QRegularExpression contextInstanceRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/?$)"));
    return expression;
}

static QRegularExpression contextInstanceEventRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/event\/?$)"));
    return expression;
}

static QRegularExpression messageEventRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/message\/event$)"));
    return expression;
}

static QRegularExpression messageRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/message$)"));
    return expression;
}

// Parameters, such as a charset, and other spellings are refused on purpose: clients rely on the exact match.
static bool passesContentTypeGate(const Request &request)
{
    const QString contentType = request.header(QStringLiteral("Content-Type"));
    return contentType.isEmpty() || contentType == QLatin1String("application/json");
}

static http::Controller *createContextController(ContextService &contextService, const Request &request,
                                                 const QString &url)
{
    const QRegularExpressionMatch match = contextInstanceRegularExpression().match(url);
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
    const QRegularExpressionMatch event = contextInstanceEventRegularExpression().match(url);
    if (event.hasMatch())
        return new ContextEventController(*this, m_contextService, request.method(), event.captured(1));
    if (messageEventRegularExpression().match(url).hasMatch()) {
        qCDebug(contextControllerStrategyLogging) << "Received request matching message event polling URL";
        return new MessageEventController(m_messageService);
    }
    return createContextController(m_contextService, request, url);
}

http::Controller *ContextControllerStrategy::createForPost(const Request &request, const QString &url)
{
    if (contextRegularExpression().match(url).hasMatch())
        return new ContextCreateController(m_contextService);
    if (messageRegularExpression().match(url).hasMatch()) {
        qCDebug(contextControllerStrategyLogging) << "Received request matching message URL";
        if (passesContentTypeGate(request))
            return new MessageController(m_messageService, request.method());
    }
    return nullptr;
}
