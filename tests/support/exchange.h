#pragma once

#include "recordingsink.h"

#include <http/server/request.h>
#include <k7-plugin-api/controller.h>
#include <k7-plugin-api/controllerstrategy.h>

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QStringList>

/// One request, taken through a route table to its controller and ended as a host does it.
class Exchange final
{
public:
    using Method = http::server::Request::HttpMethod;

    Exchange(http::ControllerStrategy &strategy, Method method, const QByteArray &target,
             const http::server::HeaderFields &headers = {}, const QByteArray &body = {})
        : m_request(QSharedPointer<http::server::Request>::create(
            method, QUrl::fromEncoded(target, QUrl::TolerantMode), headers, body))
        , m_response(QSharedPointer<http::server::Response>::create(&m_sink))
        , m_controller(strategy.createController(m_request))
        , m_object(dynamic_cast<QObject *>(m_controller))
        , m_isObject(!m_object.isNull())
    {
        if (m_controller == nullptr)
            return;
        m_controller->setRequest(m_request);
        m_controller->setResponse(m_response);
        m_controller->onNewRequest();
    }
    ~Exchange() { leave(); }
    Q_DISABLE_COPY_MOVE(Exchange)

    /// The client goes away, if it is still there, and the controller is released unless it has ended itself.
    void leave()
    {
        m_response->abandon();
        if (m_controller != nullptr && !hasEndedItself())
            m_controller->release();
        m_controller = nullptr;
    }

    [[nodiscard]] bool isAnswered() const { return m_sink.answers > 0; }
    [[nodiscard]] int status() const { return m_sink.last ? m_sink.last->status : 0; }
    [[nodiscard]] QByteArray body() const { return m_sink.last ? m_sink.last->body : QByteArray(); }

    /// Every header line of the answer, in the order in which it was set.
    [[nodiscard]] QStringList headers() const
    {
        QStringList lines;
        for (int i = 0; m_sink.last && i < m_sink.last->headers.size(); ++i)
            lines +=
                QString::fromUtf8(m_sink.last->headers.nameAt(i) + ": " + m_sink.last->headers.valueAt(i));
        return lines;
    }

    /// The controller, while there is one.
    [[nodiscard]] http::Controller *controller() const { return m_controller; }

    /// Runs what deleteLater() has left for the event loop; true if that destroyed the controller.
    [[nodiscard]] bool hasEndedItself()
    {
        QCoreApplication::sendPostedEvents(m_object.data(), QEvent::DeferredDelete);
        return m_isObject && m_object.isNull();
    }

private:
    RecordingSink m_sink;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
    http::Controller *m_controller;
    QPointer<QObject> m_object;
    bool m_isObject;
};
