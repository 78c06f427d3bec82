#pragma once

#include <k7-plugin-api/controller.h>

#include <QMetaObject>
#include <QObject>

class MessageService;

/**
 * Answers GET on /message/event, and DELETE no differently, a long poll on the messages for the user: 200
 * with all of them as JSON, at once if there are any, else as soon as one is added, however long that takes.
 * After the answer it ends itself with deleteLater(); every other end is release().
 */
class MessageEventController final : public QObject, public http::Controller
{
    Q_OBJECT

public:
    explicit MessageEventController(MessageService &messageService);
    Q_DISABLE_COPY_MOVE(MessageEventController)

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    void onNewRequest() override;

public Q_SLOTS:
    void onMessagesAvailable();

private:
    MessageService &m_messageService;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
    QMetaObject::Connection m_connection;
};
