#pragma once

#include "export.h"
#include "guard.h"
#include "requestreader.h"
#include "response.h"
#include "waitinginput.h"

#include <QSharedPointer>

#include <chrono>
#include <string_view>

namespace http::server {

struct Limits;

/// What carries a connection's bytes and serves its requests: a socket, or a test.
class TQ_HTTP_EXPORT ConnectionDelegate
{
public:
    enum class Written {
        Sent, ///< all has left for the kernel
        Queued, ///< Connection::flushed() follows once all has left
        Failed ///< nothing can be sent any more
    };

    [[nodiscard]] virtual Written write(const QByteArray &head, const QByteArray &body) = 0;
    /// How much of what was written has not left for the kernel.
    [[nodiscard]] virtual std::size_t queuedBytes() const = 0;
    /// Ends the stream of bytes towards the client after what is queued; reading goes on.
    virtual void endOutput() = 0;
    /// While it is off, no bytes are given to the connection, only Connection::hungUp().
    virtual void setReading(bool on) = 0;
    /// Calls Connection::timedOut() once, after `period`, unless what has come by then, which is given to the
    /// connection first, starts another timer. Replaces a timer that runs.
    virtual void startTimer(std::chrono::milliseconds period) = 0;
    virtual void stopTimer() = 0;
    /// The connection is over. It is destroyed later, not from inside this call.
    virtual void close() = 0;

    /// The head of a request has come. Its body is not read before this call has returned.
    [[nodiscard]] virtual Screening screen(Request::HttpMethod method, const HeaderFields &headers) = 0;
    /// A request is complete. The order of these two calls is kept until they reach the application.
    virtual void requestReceived(const QSharedPointer<Request> &request,
                                 const QSharedPointer<Response> &response) = 0;
    /// The client has gone: Response::abandon() is to be called if the exchange is open still.
    virtual void clientGone(const QSharedPointer<Response> &response) = 0;

protected:
    ~ConnectionDelegate() = default;
};

/**
 * One client's connection, request by request: gate, parser, limits, timers, answer, keep-alive. It knows no
 * socket: it is fed bytes and events and gives bytes to its delegate. It never calls the application; what it
 * reports through requestReceived() and clientGone() is to be queued.
 *
 * A pipelined request is not started before the answer in front of it has left for the kernel, and reading
 * stops while more than `maxWaitingBytes` of input wait.
 */
class TQ_HTTP_EXPORT Connection final : private AnswerSink
{
public:
    static constexpr int maxWaitingBytes = 65536;
    /// How long a client is listened to after the last answer, so that closing does not destroy that answer.
    static constexpr std::chrono::milliseconds lingerTime{1000};

    /// `limits` and `delegate` must outlive the connection.
    Connection(const Limits &limits, ConnectionDelegate &delegate);
    ~Connection();
    Q_DISABLE_COPY_MOVE(Connection)

    /// The client may speak now.
    void start();
    /// Answers with a problem instead of reading anything, and closes; who decides so logs it.
    void turnAway(int status, const QString &reason);

    /// Closes without a word; an exchange that is open ends silently.
    void abort();

    void received(std::string_view bytes);
    /// The client has sent its last byte.
    void endOfInput();
    /// The client has gone while reading was off. Told once; what it sent before may still be given.
    void hungUp();
    /// The connection broke.
    void lost();
    /// What write() had queued has left for the kernel.
    void flushed();
    void timedOut();

private:
    enum class Phase { Reading, Exchange, Flushing, Lingering, Closed };
    enum class Timer { None, Idle, Header, Body, Flush, Linger };

    void answer(Answer &&answer) override;
    void abandoned() override;

    [[nodiscard]] bool isOver() const;
    [[nodiscard]] std::size_t consume(std::string_view bytes);
    void consumeWaiting();
    void refuse(int status, const QString &reason);
    void screen();
    void expectBody();
    void startExchange();
    void send(const Answer &answer);
    void readNext();
    void linger();
    void close();
    void settle();
    void startTimer(Timer timer);
    void stopTimer();

    const Limits &m_limits;
    ConnectionDelegate &m_delegate;
    RequestReader m_reader;
    QSharedPointer<Response> m_response;
    WaitingInput m_waiting; ///< what could not be consumed yet
    HeaderFields m_answerFields; ///< the guard's, for the answer to the present request
    Phase m_phase = Phase::Reading;
    bool m_consuming = false;
    bool m_keepsAlive = true;
    bool m_isHead = false;
    bool m_inputEnded = false;
    bool m_hungUp = false; ///< told once only, and input that was sent before may still wait
    bool m_reading = true;
    Timer m_timer = Timer::None;
    std::size_t m_queuedBytes = 0; ///< when the flush timer was started
};

} // namespace http::server
