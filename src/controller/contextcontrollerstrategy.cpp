#include "contextcontrollerstrategy.h"

#include "contextcontroller.h"
#include "contextcreatecontroller.h"
#include "contexteventcontroller.h"
#include "contextfilegetcontroller.h"
#include "contextfilepostcontroller.h"

#include <http/server/request.h>

#include <QJsonDocument>
#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

using http::server::Request;

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

static QRegularExpression contextInstanceFileRegularExpression()
{
    static const QRegularExpression expression(QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/file\/?$)"));
    return expression;
}

static QRegularExpression contextInstanceFileWithNameRegularExpression()
{
    static const QRegularExpression expression(
        QStringLiteral(R"(^\/context\/([a-zA-Z0-9]+)\/file\/([a-zA-Z0-9_\-\.%]+)\/?$)"));
    return expression;
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
        contextInstanceFileWithNameRegularExpression().match(url.path(QUrl::FullyDecoded));
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
    const QRegularExpressionMatch match = contextInstanceRegularExpression().match(url);
    if (match.hasMatch() && passesContentTypeGate(request))
        return new ContextController(contextService, request.method(), match.captured(1));
    return nullptr;
}

ContextControllerStrategy::ContextControllerStrategy(ContextService &contextService)
    : m_contextService(contextService)
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
    case Request::HttpMethod::Post: return createForPost(request->url().toString());
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
    if (http::Controller *file = createFileGetController(m_contextService, request.url()))
        return file;
    const QRegularExpressionMatch event = contextInstanceEventRegularExpression().match(url);
    if (event.hasMatch())
        return new ContextEventController(*this, m_contextService, request.method(), event.captured(1));
    return createContextController(m_contextService, request, url);
}

http::Controller *ContextControllerStrategy::createForPost(const QString &url)
{
    if (contextRegularExpression().match(url).hasMatch())
        return new ContextCreateController(m_contextService);
    const QRegularExpressionMatch file = contextInstanceFileRegularExpression().match(url);
    if (file.hasMatch())
        return new ContextFilePostController(m_contextService, file.captured(1));
    return nullptr;
}
