#pragma once

#include <k7-plugin-api/controller.h>

#include <http/server/request.h>

class MessageService;

/**
 * Answers POST on /message, from inside onNewRequest(): applies the consumption report in the body
 * (structure::request::MessageConsumption) and answers 200 with the messages that are left, as JSON. A body
 * that is no such report is never refused and changes nothing, so that an empty one reads the queue.
 */
class MessageController final : public http::Controller
{
public:
    /// The method is not kept: POST alone leads here.
    MessageController(MessageService &messageService, http::server::Request::HttpMethod method);
    Q_DISABLE_COPY_MOVE(MessageController)

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    void onNewRequest() override;

private:
    MessageService &m_messageService;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
};
