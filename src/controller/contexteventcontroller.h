#pragma once

#include <k7-plugin-api/controller.h>

#include <http/server/request.h>

#include <QObject>
#include <QString>

class ContextControllerStrategy;
class ContextService;

/**
 * Answers GET on /context/{id}/event, a long poll on one context: 200 with the context as JSON, at once if it
 * differs from what the strategy remembers as last delivered for this id, else after its next change,
 * however long that takes. After a 200 it ends itself with deleteLater(); every other end is release().
 *
 * A request header "Prefer: wait=$.KEY" waits for a context that has the top-level key KEY. A context that
 * differs from what was last delivered and lacks the key is remembered as delivered all the same, and this
 * poll then gets no answer ever; the client is to poll again.
 *
 * The removal of a context wakes nobody. A poll that starts after it gets 404 if a body is remembered, once.
 */
class ContextEventController final : public QObject, public http::Controller
{
    Q_OBJECT

public:
    /// Any method but GET leaves the response untouched. The references must outlive the controller.
    ContextEventController(ContextControllerStrategy &strategy, ContextService &contextService,
                           http::server::Request::HttpMethod method, QString contextId);
    Q_DISABLE_COPY_MOVE(ContextEventController)

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    /// Throws std::runtime_error if the id is empty, which no route lets happen.
    void onNewRequest() override;

public Q_SLOTS:
    /// `id` now holds `value`, which is null if there is no such context.
    void onContextChanged(const QString &id, const QJsonValue &value);

private:
    void readPreference();
    void forbidCaching();

    ContextControllerStrategy &m_strategy;
    QString m_contextItem;
    ContextService &m_contextService;
    http::server::Request::HttpMethod m_method;
    QString m_contextId;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
};
