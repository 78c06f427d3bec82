#pragma once

#include <http/server/server.h>

#include <list>
#include <vector>

class Exchange;

namespace http {
class ControllerStrategy;
}

/**
 * Serves each request with the first controller that a strategy has for it: setRequest(), setResponse(),
 * onNewRequest(), and release() once the exchange is over. Nobody's request is a 404; a strategy or a
 * controller that throws is logged, and answered with a 500 if the response is still open.
 *
 * release() is called exactly once for each controller, never from inside one of the controller's own calls,
 * and not at all for one that has destroyed itself. May be re-entered from an event loop inside a controller.
 */
class Dispatcher final : public http::server::RequestHandler
{
public:
    /// Asks `strategies` in this order. They outlive the dispatcher.
    explicit Dispatcher(std::vector<http::ControllerStrategy *> strategies);
    ~Dispatcher();
    Q_DISABLE_COPY_MOVE(Dispatcher)

    void requestReceived(const QSharedPointer<http::server::Request> &request,
                         const QSharedPointer<http::server::Response> &given) override;

    /// Releases the controller of every open exchange, in the order of arrival, without an answer. Not called
    /// from inside a controller.
    void releaseAll();

    /// Exchanges left open by their onNewRequest() and not released yet.
    [[nodiscard]] int openExchanges() const { return static_cast<int>(m_open.size()); }

private:
    const std::vector<http::ControllerStrategy *> m_strategies;
    std::list<Exchange *> m_open;
};
