#include "contextfixture.h"
#include "messages.h"

#include "controller/messageeventcontroller.h"

#include <http/server/response.h>

#include <QtTest>

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

Q_DECLARE_METATYPE(Method)

static_assert(std::is_base_of_v<http::Controller, MessageEventController>);
static_assert(std::is_constructible_v<MessageEventController, MessageService &>);

namespace {

const char *const category = "ch.tessel.vexo-service.context.eventcontroller";
const char *const target = "/message/event";
const QStringList answerHeaders{QStringLiteral("Content-Type: application/json")};
const QString immediately = QStringLiteral("debug: There are outstanding messages. Immediately return.");
const QString waiting = QStringLiteral("debug: Wait for messages becoming available...");
const QStringList answering{QStringLiteral("debug: Trying to disconnect..."),
                            QStringLiteral("debug: Messages have become available. Returning long-polling.")};

struct PollFixture : ContextFixture
{
    [[nodiscard]] Exchange poll(Method method = Method::Get) { return Exchange(strategy, method, target); }

    void consume(const QByteArray &report)
    {
        QCOMPARE(Exchange(strategy, Method::Post, "/message", {}, report).status(), 200);
    }

    /// Whether anything is connected to the queue; nothing is any more after that.
    [[nodiscard]] bool cutsConnections() { return QObject::disconnect(&messages, nullptr, nullptr, nullptr); }
};

QStringList identifiersIn(const QByteArray &body)
{
    return textsOf(QJsonDocument::fromJson(body)).keys();
}

QStringList identifiersIn(const Exchange &exchange)
{
    return identifiersIn(exchange.body());
}

/// A poll whose client acts as soon as it is answered, from inside the answer.
class ActingPoll final : public http::server::AnswerSink
{
public:
    ActingPoll(MessageService &messages, std::function<void()> act)
        : m_act(std::move(act))
        , m_controller(new MessageEventController(messages))
    {
        m_controller->setResponse(QSharedPointer<Response>::create(this));
        m_controller->onNewRequest();
    }
    ~ActingPoll() { m_controller->release(); }
    Q_DISABLE_COPY_MOVE(ActingPoll)

    void answer(http::server::Answer &&answer) override
    {
        bodies += answer.body;
        m_act();
    }
    void abandoned() override { }

    QByteArrayList bodies;

private:
    std::function<void()> m_act;
    MessageEventController *m_controller;
};

} // namespace

class MessageEventControllerTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isAQObjectFirstAndDeclaresOneSlot();
    void outstandingMessagesAreAnsweredAtOnce();
    void everyPollIsAnsweredUntilTheMessagesAreConsumed();
    void emptyQueueIsWaitedFor();
    void connectionAloneWakesAPoll();
    void oneMessageWakesAllPolls();
    void nextMessageDoesNotReachAnAnsweredPoll();
    void nextPollIsAnsweredFromInsideTheSignal();
    void clientMayConsumeAndPollAgainFromInsideItsAnswer();
    void messageFromInsideAnAnswerReachesEveryPollOnce();
    void otherPollMayBeReleasedFromInsideAnAnswer();
    void consumptionAnswersNobody();
    void deleteIsServedLikeGet_data();
    void deleteIsServedLikeGet();
    void slotAnswersWithoutAConnection();
    void releaseOfAParkedPollWritesNothing();
    void releaseBetweenTheAnswerAndTheEventLoopIsSafe();
    void queueMayGoBeforeAParkedPoll();
    void categoryIsThatOfTheContextPoll();
};

void MessageEventControllerTest::isAQObjectFirstAndDeclaresOneSlot()
{
    PollFixture fixture;
    const Exchange poll = fixture.poll();
    // The cast to void gives the start of the whole object.
    QCOMPARE(dynamic_cast<void *>(poll.controller()),
             static_cast<void *>(dynamic_cast<QObject *>(poll.controller())));

    const QMetaObject &meta = MessageEventController::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod slot = meta.method(meta.methodOffset());
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.methodSignature(), QByteArray("onMessagesAvailable()"));
}

void MessageEventControllerTest::outstandingMessagesAreAnsweredAtOnce()
{
    PollFixture fixture;
    fixture.messages.addMessage(message("a", "t\xc3\xa4"));
    const LogCapture log(category);
    Exchange poll = fixture.poll();
    QCOMPARE(poll.status(), 200);
    QCOMPARE(poll.headers(), answerHeaders);
    QCOMPARE(poll.body(), QByteArray("[\n"
                                     "    {\n"
                                     "        \"id\": \"a\",\n"
                                     "        \"subtitle\": \"\",\n"
                                     "        \"text\": \"x\",\n"
                                     "        \"timestamp\": \"\",\n"
                                     "        \"title\": \"t\xc3\xa4\"\n"
                                     "    }\n"
                                     "]\n"));
    QCOMPARE(linesOf(log), QStringList{immediately} + answering);
    QVERIFY(!fixture.cutsConnections());
    QVERIFY(poll.hasEndedItself());
}

void MessageEventControllerTest::everyPollIsAnsweredUntilTheMessagesAreConsumed()
{
    PollFixture fixture;
    fixture.messages.addMessage(message("a"));
    fixture.messages.addMessage(message("b"));
    const Exchange first = fixture.poll();
    const Exchange second = fixture.poll();
    QCOMPARE(identifiersIn(first), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(second.body(), first.body());

    fixture.consume(R"(["a"])");
    const Exchange third = fixture.poll();
    QCOMPARE(identifiersIn(third), QStringList{QStringLiteral("b")});

    fixture.consume(R"(["b"])");
    const Exchange parked = fixture.poll();
    QVERIFY(!parked.isAnswered());
    fixture.messages.addMessage(message("a"));
    QCOMPARE(identifiersIn(parked), QStringList{QStringLiteral("a")});
}

void MessageEventControllerTest::emptyQueueIsWaitedFor()
{
    PollFixture fixture;
    const LogCapture log(category);
    Exchange poll = fixture.poll();
    QVERIFY(!poll.isAnswered());
    QVERIFY(!poll.hasEndedItself());
    QCOMPARE(linesOf(log), QStringList{waiting});

    const QPointer<QObject> controller = dynamic_cast<QObject *>(poll.controller());
    bool wasAnsweredInside = false;
    const auto connection = connect(&fixture.messages, &MessageService::messagesAvailable, this,
                                    [&] { wasAnsweredInside = poll.isAnswered(); });
    fixture.messages.addMessage(message("a"));
    QVERIFY(wasAnsweredInside);
    QCOMPARE(poll.status(), 200);
    QCOMPARE(poll.headers(), answerHeaders);
    QCOMPARE(identifiersIn(poll), QStringList{QStringLiteral("a")});
    QCOMPARE(poll.body(), fixture.messages.createMessageUpdate().toJson());
    QCOMPARE(linesOf(log), QStringList{waiting} + answering);
    QVERIFY(disconnect(connection));
    QVERIFY(!fixture.cutsConnections());
    QVERIFY(!controller.isNull());
    QVERIFY(poll.hasEndedItself());
}

void MessageEventControllerTest::connectionAloneWakesAPoll()
{
    PollFixture fixture;
    const Exchange poll = fixture.poll();
    QVERIFY(fixture.cutsConnections());
    fixture.messages.addMessage(message("a"));
    QVERIFY(!poll.isAnswered());
}

void MessageEventControllerTest::oneMessageWakesAllPolls()
{
    PollFixture fixture;
    std::vector<std::unique_ptr<Exchange>> polls;
    for (int i = 0; i < 20; ++i)
        polls.push_back(std::make_unique<Exchange>(fixture.strategy, Method::Get, target));
    fixture.messages.addMessage(message("a"));
    for (const auto &poll : polls) {
        QCOMPARE(poll->status(), 200);
        QCOMPARE(poll->body(), polls.front()->body());
        QVERIFY(poll->hasEndedItself());
    }
    QCOMPARE(identifiersIn(*polls.front()), QStringList{QStringLiteral("a")});
    QVERIFY(!fixture.cutsConnections());
}

void MessageEventControllerTest::nextMessageDoesNotReachAnAnsweredPoll()
{
    PollFixture fixture;
    const Exchange poll = fixture.poll();
    fixture.messages.addMessage(message("a"));
    const QByteArray body = poll.body();
    const LogCapture log(category);
    fixture.messages.addMessage(message("b"));
    // The event loop has not turned yet: the controller still lives.
    QVERIFY(linesOf(log).isEmpty());
    QCOMPARE(poll.body(), body);
}

void MessageEventControllerTest::nextPollIsAnsweredFromInsideTheSignal()
{
    PollFixture fixture;
    const Exchange parked = fixture.poll();
    std::unique_ptr<Exchange> next;
    connect(&fixture.messages, &MessageService::messagesAvailable, this,
            [&] { next = std::make_unique<Exchange>(fixture.strategy, Method::Get, target); });
    fixture.messages.addMessage(message("a"));
    QVERIFY(next && next->isAnswered());
    QCOMPARE(next->body(), parked.body());
}

void MessageEventControllerTest::clientMayConsumeAndPollAgainFromInsideItsAnswer()
{
    PollFixture fixture;
    std::unique_ptr<Exchange> again;
    const ActingPoll first(fixture.messages, [&] {
        fixture.consume(R"(["a"])");
        again = std::make_unique<Exchange>(fixture.strategy, Method::Get, target);
    });
    const Exchange second = fixture.poll();
    fixture.messages.addMessage(message("a"));
    QCOMPARE(first.bodies.size(), 1);
    QCOMPARE(identifiersIn(first.bodies.constFirst()), QStringList{QStringLiteral("a")});
    // What is left when its turn comes.
    QCOMPARE(second.status(), 200);
    QCOMPARE(second.body(), QByteArray("[\n]\n"));
    QVERIFY(again && !again->isAnswered());
    fixture.messages.addMessage(message("b"));
    QCOMPARE(identifiersIn(*again), QStringList{QStringLiteral("b")});
}

void MessageEventControllerTest::messageFromInsideAnAnswerReachesEveryPollOnce()
{
    PollFixture fixture;
    const ActingPoll first(fixture.messages, [&] {
        if (textsOf(fixture.messages.createMessageUpdate()).size() == 1)
            fixture.messages.addMessage(message("b"));
    });
    const Exchange second = fixture.poll();
    const LogCapture log(category);
    fixture.messages.addMessage(message("a"));
    QCOMPARE(first.bodies.size(), 1);
    QCOMPARE(identifiersIn(first.bodies.constFirst()), QStringList{QStringLiteral("a")});
    QCOMPARE(identifiersIn(second), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(linesOf(log), answering + answering);
    QVERIFY(!fixture.cutsConnections());
}

void MessageEventControllerTest::otherPollMayBeReleasedFromInsideAnAnswer()
{
    PollFixture fixture;
    std::unique_ptr<Exchange> second;
    const ActingPoll first(fixture.messages, [&] { second->leave(); });
    second = std::make_unique<Exchange>(fixture.strategy, Method::Get, target);
    const Exchange third = fixture.poll();
    const LogCapture log(category);
    fixture.messages.addMessage(message("a"));
    QCOMPARE(first.bodies.size(), 1);
    QVERIFY(!second->isAnswered());
    QCOMPARE(third.body(), first.bodies.constFirst());
    QCOMPARE(linesOf(log), answering + answering);
    QVERIFY(!fixture.cutsConnections());
}

void MessageEventControllerTest::consumptionAnswersNobody()
{
    PollFixture fixture;
    const Exchange poll = fixture.poll();
    fixture.consume("[]");
    fixture.consume(R"(["a"])");
    QVERIFY(!poll.isAnswered());
    fixture.messages.addMessage(message("a"));
    QVERIFY(poll.isAnswered());
}

void MessageEventControllerTest::deleteIsServedLikeGet_data()
{
    QTest::addColumn<Method>("method");
    QTest::newRow("GET") << Method::Get;
    QTest::newRow("DELETE") << Method::Delete;
}

void MessageEventControllerTest::deleteIsServedLikeGet()
{
    QFETCH(Method, method);
    PollFixture fixture;
    Exchange parked = fixture.poll(method);
    QVERIFY(!parked.isAnswered());
    fixture.messages.addMessage(message("a"));
    QCOMPARE(parked.status(), 200);
    QVERIFY(parked.hasEndedItself());
    Exchange immediate = fixture.poll(method);
    QCOMPARE(immediate.status(), 200);
    QCOMPARE(immediate.headers(), answerHeaders);
    QCOMPARE(immediate.body(), parked.body());
    QVERIFY(immediate.hasEndedItself());
    // Nothing is consumed, not by DELETE either.
    QVERIFY(fixture.messages.hasMessages());
}

void MessageEventControllerTest::slotAnswersWithoutAConnection()
{
    PollFixture fixture;
    RecordingSink sink;
    const QPointer<MessageEventController> controller = new MessageEventController(fixture.messages);
    controller->setResponse(QSharedPointer<Response>::create(&sink));
    controller->onMessagesAvailable();
    QCOMPARE(sink.answers, 1);
    QCOMPARE(sink.last->body, QByteArray("[\n]\n"));
    QCoreApplication::sendPostedEvents(controller.data(), QEvent::DeferredDelete);
    QVERIFY(controller.isNull());
}

void MessageEventControllerTest::releaseOfAParkedPollWritesNothing()
{
    PollFixture fixture;
    RecordingSink sink;
    auto request = QSharedPointer<Request>::create(Method::Get, QUrl(QString::fromLatin1(target)),
                                                   HeaderFields(), QByteArray());
    auto response = QSharedPointer<Response>::create(&sink);
    const QWeakPointer<Request> weakRequest = request;
    http::Controller *controller = fixture.strategy.createController(request);
    const QPointer<QObject> watched = dynamic_cast<QObject *>(controller);
    controller->setRequest(request);
    controller->setResponse(response);
    controller->onNewRequest();
    request.clear();
    QVERIFY(!weakRequest.isNull());
    controller->release();
    QVERIFY(watched.isNull());
    QVERIFY(weakRequest.isNull());
    QVERIFY(response->isOpen());

    fixture.messages.addMessage(message("a"));
    QCOMPARE(sink.answers, 0);
    QVERIFY(!fixture.cutsConnections());
}

void MessageEventControllerTest::releaseBetweenTheAnswerAndTheEventLoopIsSafe()
{
    PollFixture fixture;
    const Exchange poll = fixture.poll();
    fixture.messages.addMessage(message("a"));
    QCOMPARE(poll.status(), 200);
    const QPointer<QObject> controller = dynamic_cast<QObject *>(poll.controller());
    QVERIFY(!controller.isNull());
    poll.controller()->release();
    QVERIFY(controller.isNull());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    fixture.messages.addMessage(message("b"));
    QVERIFY(!fixture.cutsConnections());
}

void MessageEventControllerTest::queueMayGoBeforeAParkedPoll()
{
    RecordingSink sink;
    auto queue = std::make_unique<MessageService>();
    auto *controller = new MessageEventController(*queue);
    controller->setResponse(QSharedPointer<Response>::create(&sink));
    controller->onNewRequest();
    queue.reset();
    controller->release();
    QCOMPARE(sink.answers, 0);
}

void MessageEventControllerTest::categoryIsThatOfTheContextPoll()
{
    PollFixture fixture;
    const LogCapture log(category);
    const Exchange messages = fixture.poll();
    const Exchange context(fixture.strategy, Method::Get, "/context/abc/event");
    QCOMPARE(
        linesOf(log),
        (QStringList{waiting, QStringLiteral(R"(debug: Accessing context "abc" .)"),
                     QStringLiteral("debug: Current context has already been sent. Wait for change...")}));
}

QTEST_GUILESS_MAIN(MessageEventControllerTest)
#include "tst_messageeventcontroller.moc"
