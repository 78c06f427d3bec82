#include "dispatcher.h"

#include "exchange.h"
#include "thrownby.h"

#include <k7-plugin-api/controllerstrategy.h>

#include <http/server/answer.h>
#include <http/server/request.h>
#include <http/server/response.h>

#include <QLoggingCategory>

#include <utility>

using http::server::Answer;
using http::server::Request;
using http::server::Response;

static const QLoggingCategory &dispatcherLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.dispatcher");
    return category;
}

static void complete(Response &response, const Answer &answer)
{
    for (int i = 0; i < answer.headers.size(); ++i) {
        response.setHeader(QString::fromUtf8(answer.headers.nameAt(i)),
                           QString::fromUtf8(answer.headers.valueAt(i)));
    }
    response.writeHead(answer.status);
    response.end(answer.body);
}

static http::Controller *findController(const std::vector<http::ControllerStrategy *> &strategies,
                                        const QSharedPointer<Request> &request)
{
    for (http::ControllerStrategy *strategy : strategies) {
        if (http::Controller *controller = strategy->createController(request))
            return controller;
    }
    return nullptr;
}

static void run(OwnedController &controller, const QSharedPointer<Request> &request,
                const QSharedPointer<Response> &response)
{
    controller->setRequest(request);
    controller->setResponse(response);
    controller->onNewRequest();
}

Dispatcher::Dispatcher(std::vector<http::ControllerStrategy *> strategies)
    : m_strategies(std::move(strategies))
{
}

Dispatcher::~Dispatcher()
{
    releaseAll();
}

void Dispatcher::requestReceived(const QSharedPointer<Request> &request,
                                 const QSharedPointer<Response> &given)
{
    // The server's own pointer may move while a controller runs an event loop.
    const QSharedPointer<Response> response = given;
    http::Controller *found = nullptr;
    if (const auto thrown = thrownBy([&] { found = findController(m_strategies, request); })) {
        qCWarning(dispatcherLogging) << "A strategy has thrown:" << *thrown;
        return complete(*response, http::server::problem(500));
    }
    if (found == nullptr)
        return complete(*response, http::server::problem(404, QStringLiteral("No plug-in serves this.")));

    OwnedController controller(found);
    if (const auto thrown = thrownBy([&] { run(controller, request, response); })) {
        qCWarning(dispatcherLogging) << "A controller has thrown:" << *thrown;
        complete(*response, http::server::problem(500));
    }
    if (response->isOpen())
        new Exchange(std::move(controller), response, m_open); // destroys itself
}

void Dispatcher::releaseAll()
{
    while (!m_open.empty())
        delete m_open.front();
}
