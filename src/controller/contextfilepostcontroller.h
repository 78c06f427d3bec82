#pragma once

#include <k7-plugin-api/controller.h>

#include <QString>

class ContextService;

/**
 * Answers POST on /context/{id}/file, from inside onNewRequest(): attaches the files of a multipart/form-data
 * body to the context, each as an addendum document.
 *
 * Always 204, whatever was found: neither the context nor the body is checked. The body is cut at what stands
 * behind "boundary=" in the Content-Type, quotes and further parameters included; without that there are no
 * files. How it is cut is told in multipartfiles.h, and what becomes of each file in
 * ContextService::addFile().
 */
class ContextFilePostController final : public http::Controller
{
public:
    ContextFilePostController(ContextService &contextService, QString contextId);
    Q_DISABLE_COPY_MOVE(ContextFilePostController)

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    /// Throws std::runtime_error if the id is empty, which no route lets happen.
    void onNewRequest() override;

private:
    void addFiles(const QString &boundary);

    ContextService &m_contextService;
    QString m_contextId;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
};
