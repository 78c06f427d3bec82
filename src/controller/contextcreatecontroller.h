#pragma once

#include <k7-plugin-api/controller.h>

class ContextService;
class QJsonObject;

/**
 * Answers POST on /context, from inside onNewRequest(): makes a context of the body under a new id, which
 * replaces the body's "_id".
 *
 * - 200 with the new context as JSON, or with the bare id if the Accept header holds "text/plain".
 * - 400 with the JSON parser's error as text; nothing is created.
 *
 * The body is UTF-8, or Latin-1 if the Content-Type header holds "charset=ISO-8859-1", case included.
 */
class ContextCreateController final : public http::Controller
{
public:
    explicit ContextCreateController(ContextService &contextService);
    Q_DISABLE_COPY_MOVE(ContextCreateController)

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    void onNewRequest() override;

private:
    [[nodiscard]] QByteArray bodyAsUtf8() const;
    void refuse(const QString &reason);
    void answer(const QString &id, const QJsonObject &context);

    ContextService &m_contextService;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
};
