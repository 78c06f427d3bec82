#pragma once

#include <k7-plugin-api/controller.h>

#include <QString>

class ContextService;
class QLoggingCategory;

/// Takes POST on /context/{id}$form and, by design, does nothing: the exchange stays open until its client
/// leaves.
class ContextFormController final : public http::Controller
{
public:
    ContextFormController(ContextService &contextService, const QString &contextId);
    Q_DISABLE_COPY_MOVE(ContextFormController)

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    void onNewRequest() override;

private:
    [[maybe_unused]] ContextService &m_contextService;
    QString m_contextId;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
};

/// The category "ch.tessel.vexo-service.context.controller.form", which stays silent.
const QLoggingCategory &contextFormControllerLogging();
