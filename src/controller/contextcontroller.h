#pragma once

#include <k7-plugin-api/controller.h>

#include <http/server/request.h>

#include <QString>

class ContextService;

/**
 * Answers GET, PUT and DELETE on one context, from inside onNewRequest().
 *
 * - GET: 200 with the context as JSON; 404 with an empty body.
 * - PUT: merges the body into the context. 201 if there was none, else 200, with the merged context as JSON.
 *   A body that is not valid JSON counts as an empty object and is never refused.
 * - DELETE: 204; 404 with "Context not found.".
 */
class ContextController final : public http::Controller
{
public:
    /// Any other method leaves the response untouched.
    ContextController(ContextService &contextService, http::server::Request::HttpMethod method,
                      QString contextId);
    Q_DISABLE_COPY_MOVE(ContextController)

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    /// Throws std::runtime_error if the id is empty, which no route lets happen.
    void onNewRequest() override;

private:
    void get();
    void put();
    void remove();

    ContextService &m_contextService;
    http::server::Request::HttpMethod m_method;
    QString m_contextId;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
};
