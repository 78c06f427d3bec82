#include "contextfixture.h"

#include "controller/contexteventcontroller.h"

#include <http/server/response.h>

#include <QtTest>

#include <memory>
#include <stdexcept>
#include <vector>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

Q_DECLARE_METATYPE(Method)

namespace {

const char *const category = "ch.tessel.vexo-service.context.eventcontroller";
const char *const target = "/context/abc/event";

QString id()
{
    return QStringLiteral("abc");
}

QStringList cacheHeaders()
{
    return {QStringLiteral("Cache-Control: no-cache, no-store, must-revalidate"),
            QStringLiteral("Pragma: no-cache"), QStringLiteral("Expires: 0")};
}

QStringList answerHeaders()
{
    return cacheHeaders() << QStringLiteral("Content-Type: application/json");
}

HeaderFields waitFor(const QByteArray &key)
{
    return {{"Prefer", "wait=$." + key}};
}

struct PollFixture : ContextFixture
{
    void store(const QByteArray &json) { contexts.setContext(id(), object(json)); }

    [[nodiscard]] Exchange poll(const HeaderFields &headers = {})
    {
        return Exchange(strategy, Method::Get, target, headers);
    }

    /// Stores the context and lets a poll deliver it, so that the next poll waits.
    void deliver(const QByteArray &json)
    {
        store(json);
        QCOMPARE(Exchange(strategy, Method::Get, target).status(), 200);
    }

    [[nodiscard]] QJsonObject lastSent() { return strategy.lastSentContexts().value(id()); }
};

} // namespace

class ContextEventControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isAQObjectFirstAndDeclaresOneSlot();
    void firstPollIsAnsweredAtOnce();
    void nextPollWaitsForAChange();
    void memoryBelongsToTheContextAndNotToTheClient();
    void memoryOutlivesThePollOfAnotherId();
    void pollOfAnUnknownIdWaits_data();
    void pollOfAnUnknownIdWaits();
    void emptyContextReadsAsDelivered_data();
    void emptyContextReadsAsDelivered();
    void nonObjectIsAnsweredAsAnEmptyObject();
    void everyStoredDifferenceWakes_data();
    void everyStoredDifferenceWakes();
    void identicalContextDoesNotWake();
    void changeOfAnotherIdDoesNotWake();
    void oneChangeWakesAllPolls();
    void pollAfterTheChangeWaits();
    void twoChangesInOneTurnAnswerOnceAndRememberTheLast();
    void onlyTheFirstChangeInOneTurnIsRendered();
    void releaseOfAParkedPollWritesNothing();
    void releaseBetweenTheAnswerAndTheEventLoopIsSafe();
    void deletionDoesNotWake_data();
    void deletionDoesNotWake();
    void pollAfterDeletionIs404Once_data();
    void pollAfterDeletionIs404Once();
    void recreatedContextIsComparedWithTheLastDelivered();
    void preferenceNamesTheItem_data();
    void preferenceNamesTheItem();
    void linesOfPreferAreJoined();
    void awaitedItemIsAnsweredAtOnce();
    void missingItemStrandsThePoll();
    void missingItemKeepsAParkedPollWaiting();
    void awaitedItemMayBeNull();
    void deleteIsNotAnswered();
    void emptyIdThrows_data();
    void emptyIdThrows();
};

void ContextEventControllerTest::isAQObjectFirstAndDeclaresOneSlot()
{
    PollFixture fixture;
    const Exchange poll = fixture.poll();
    // The cast to void gives the start of the whole object.
    QCOMPARE(dynamic_cast<void *>(poll.controller()),
             static_cast<void *>(dynamic_cast<QObject *>(poll.controller())));

    const QMetaObject &meta = ContextEventController::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod slot = meta.method(meta.methodOffset());
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.methodSignature(), QByteArray("onContextChanged(QString,QJsonValue)"));
}

void ContextEventControllerTest::firstPollIsAnsweredAtOnce()
{
    PollFixture fixture;
    fixture.store("{\"b\":[1],\"a\":\"\xc3\xa4\"}");
    const LogCapture log(category);
    Exchange poll = fixture.poll();
    QCOMPARE(poll.status(), 200);
    QCOMPARE(poll.headers(), answerHeaders());
    QCOMPARE(poll.body(), QByteArray("{\n    \"a\": \"\xc3\xa4\",\n    \"b\": [\n        1\n    ]\n}\n"));
    QCOMPARE(fixture.lastSent(), object("{\"b\":[1],\"a\":\"\xc3\xa4\"}"));
    const QStringList expected{QStringLiteral(R"(debug: Accessing context "abc" .)"),
                               QStringLiteral("debug: Context changed since last sent. Immediately return."),
                               QStringLiteral("debug: Context changed. Return long polling.")};
    QCOMPARE(linesOf(log), expected);
    QVERIFY(poll.hasEndedItself());
}

void ContextEventControllerTest::nextPollWaitsForAChange()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    const LogCapture log(category);
    Exchange poll = fixture.poll();
    QVERIFY(!poll.isAnswered());
    QVERIFY(!poll.hasEndedItself());
    QStringList expected{QStringLiteral(R"(debug: Accessing context "abc" .)"),
                         QStringLiteral("debug: Current context has already been sent. Wait for change...")};
    QCOMPARE(linesOf(log), expected);

    const QPointer<QObject> controller = dynamic_cast<QObject *>(poll.controller());
    bool wasAnsweredWhenStored = false;
    connect(&fixture.contexts, &ContextService::contextChanged, this,
            [&] { wasAnsweredWhenStored = poll.isAnswered(); });
    fixture.store(R"({"a":2})");
    QVERIFY(wasAnsweredWhenStored);
    QCOMPARE(poll.status(), 200);
    QCOMPARE(poll.headers(), answerHeaders());
    QCOMPARE(poll.body(), QByteArray("{\n    \"a\": 2,\n    \"matchingItems\": [\n    ]\n}\n"));
    QCOMPARE(fixture.lastSent(), object(R"({"a":2,"matchingItems":[]})"));
    expected << QStringLiteral("debug: Context changed. Return long polling.");
    QCOMPARE(linesOf(log), expected);
    QVERIFY(!controller.isNull());
    QVERIFY(poll.hasEndedItself());
}

void ContextEventControllerTest::memoryBelongsToTheContextAndNotToTheClient()
{
    PollFixture fixture;
    fixture.store(R"({"a":1})");
    const Exchange one = fixture.poll();
    const Exchange other = fixture.poll();
    QCOMPARE(one.status(), 200);
    QVERIFY(!other.isAnswered());
}

void ContextEventControllerTest::memoryOutlivesThePollOfAnotherId()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    fixture.contexts.setContext(QStringLiteral("other"), object(R"({"a":1})"));
    const Exchange other(fixture.strategy, Method::Get, "/context/other/event");
    QCOMPARE(other.status(), 200);
    QCOMPARE(fixture.strategy.lastSentContexts().keys(), (QStringList{id(), QStringLiteral("other")}));
    const Exchange poll = fixture.poll();
    QVERIFY(!poll.isAnswered());
}

void ContextEventControllerTest::pollOfAnUnknownIdWaits_data()
{
    QTest::addColumn<QByteArray>("created");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("object") << QByteArray(R"({"a":1})") << QByteArray("{\n    \"a\": 1\n}\n");
    QTest::newRow("empty object") << QByteArray("{}") << QByteArray("{\n}\n");
}

void ContextEventControllerTest::pollOfAnUnknownIdWaits()
{
    QFETCH(QByteArray, created);
    QFETCH(QByteArray, body);
    PollFixture fixture;
    Exchange poll = fixture.poll();
    QVERIFY(!poll.isAnswered());
    // Both reads leave an entry without meaning.
    QCOMPARE(fixture.strategy.lastSentContexts().keys(), QStringList{id()});
    QCOMPARE(fixture.lastSent(), QJsonObject());
    QCOMPARE(fixture.contexts.getContextKeys(), QStringList{id()});
    fixture.store(created);
    QCOMPARE(poll.status(), 200);
    QCOMPARE(poll.body(), body);
    QVERIFY(poll.hasEndedItself());
}

void ContextEventControllerTest::emptyContextReadsAsDelivered_data()
{
    QTest::addColumn<QJsonValue>("stored");
    QTest::newRow("empty object") << QJsonValue(QJsonObject());
    QTest::newRow("array") << QJsonValue(QJsonArray{1});
    QTest::newRow("text") << QJsonValue(QStringLiteral("text"));
}

void ContextEventControllerTest::emptyContextReadsAsDelivered()
{
    QFETCH(QJsonValue, stored);
    PollFixture fixture;
    fixture.contexts.setContext(id(), stored);
    Exchange poll = fixture.poll();
    QVERIFY(!poll.isAnswered());
    fixture.store(R"({"a":1})");
    QCOMPARE(poll.status(), 200);
}

void ContextEventControllerTest::nonObjectIsAnsweredAsAnEmptyObject()
{
    PollFixture fixture;
    Exchange poll = fixture.poll();
    Exchange choosy = fixture.poll(waitFor("a"));
    fixture.contexts.setContext(id(), QJsonArray{1});
    QCOMPARE(poll.status(), 200);
    QCOMPARE(poll.headers(), answerHeaders());
    QCOMPARE(poll.body(), QByteArray("{\n}\n"));
    QVERIFY(!choosy.isAnswered());
}

void ContextEventControllerTest::everyStoredDifferenceWakes_data()
{
    QTest::addColumn<QByteArray>("changed");
    QTest::newRow("data") << QByteArray(R"({"a":2,"b":1,"matchingItems":[]})");
    QTest::newRow("matching items") << QByteArray(R"({"a":1,"b":1,"matchingItems":[1]})");
    QTest::newRow("action requests") << QByteArray(R"({"a":1,"b":1,"matchingItems":[],"actionRequests":[]})");
    QTest::newRow("inbox") << QByteArray(R"({"a":1,"b":1,"matchingItems":[],"inbox":1})");
    QTest::newRow("attachments") << QByteArray(R"({"a":1,"b":1,"matchingItems":[],"attachments":[1]})");
    QTest::newRow("removed key") << QByteArray(R"({"a":1,"matchingItems":[]})");
    QTest::newRow("added null") << QByteArray(R"({"a":1,"b":1,"c":null,"matchingItems":[]})");
}

void ContextEventControllerTest::everyStoredDifferenceWakes()
{
    QFETCH(QByteArray, changed);
    PollFixture fixture;
    fixture.deliver(R"({"a":1,"b":1,"matchingItems":[]})");
    const Exchange poll = fixture.poll();
    fixture.store(changed);
    QCOMPARE(poll.status(), 200);
    QCOMPARE(object(poll.body()), object(changed));
    QCOMPARE(fixture.lastSent(), object(changed));
}

void ContextEventControllerTest::identicalContextDoesNotWake()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1,"b":{"c":[1]}})");
    const Exchange poll = fixture.poll();
    fixture.store(R"({"b":{"c":[1]},"a":1})");
    fixture.contexts.updateContext(id(), QJsonObject());
    QVERIFY(!poll.isAnswered());
    fixture.store(R"({"a":2})");
    QVERIFY(poll.isAnswered());
}

void ContextEventControllerTest::changeOfAnotherIdDoesNotWake()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    Exchange poll = fixture.poll();
    fixture.contexts.setContext(QStringLiteral("abcd"), object(R"({"a":2})"));
    fixture.contexts.setContext(QStringLiteral("ABC"), object(R"({"a":2})"));
    QVERIFY(!poll.isAnswered());
    QCOMPARE(fixture.lastSent(), object(R"({"a":1})"));
    auto *controller = dynamic_cast<ContextEventController *>(poll.controller());
    controller->onContextChanged(QStringLiteral("other"), QJsonValue());
    controller->onContextChanged(QStringLiteral("other"), object(R"({"a":2})"));
    QVERIFY(!poll.isAnswered());
    QVERIFY(!poll.hasEndedItself());
}

void ContextEventControllerTest::oneChangeWakesAllPolls()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    std::vector<std::unique_ptr<Exchange>> polls;
    for (int i = 0; i < 20; ++i)
        polls.push_back(std::make_unique<Exchange>(fixture.strategy, Method::Get, target,
                                                   i % 2 == 0 ? HeaderFields() : waitFor("a")));
    fixture.store(R"({"a":2})");
    for (const auto &poll : polls) {
        QCOMPARE(poll->status(), 200);
        QCOMPARE(poll->body(), QByteArray("{\n    \"a\": 2,\n    \"matchingItems\": [\n    ]\n}\n"));
        QVERIFY(poll->hasEndedItself());
    }
}

void ContextEventControllerTest::pollAfterTheChangeWaits()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    const Exchange parked = fixture.poll();
    fixture.store(R"({"a":2})");
    QVERIFY(parked.isAnswered());
    const Exchange late = fixture.poll();
    QVERIFY(!late.isAnswered());
}

void ContextEventControllerTest::twoChangesInOneTurnAnswerOnceAndRememberTheLast()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    Exchange poll = fixture.poll();
    fixture.store(R"({"a":1,"inbox":1})");
    fixture.store(R"({"a":1,"inbox":2})");
    QCOMPARE(poll.body(), QByteArray("{\n    \"a\": 1,\n    \"inbox\": 1\n}\n"));
    // The connection lasts until the event loop turns: the memory goes on, the answer does not.
    QCOMPARE(fixture.lastSent(), object(R"({"a":1,"inbox":2})"));
    QVERIFY(poll.hasEndedItself());
    fixture.store(R"({"a":1,"inbox":3})");
    QCOMPARE(fixture.lastSent(), object(R"({"a":1,"inbox":2})"));
    const Exchange next = fixture.poll();
    QCOMPARE(next.body(), QByteArray("{\n    \"a\": 1,\n    \"inbox\": 3\n}\n"));
}

// The strategy keeps the text that it made last. One request or chunk may change a context thousands of
// times, and a text for each of them would cost the host minutes.
void ContextEventControllerTest::onlyTheFirstChangeInOneTurnIsRendered()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    const Exchange poll = fixture.poll();
    fixture.store(R"({"a":1,"inbox":1})");
    fixture.store(R"({"a":1,"inbox":2})");
    QVERIFY(poll.isAnswered());
    QVERIFY(fixture.strategy.indentedJson(object(R"({"a":1,"inbox":1})")).isSharedWith(poll.body()));
}

void ContextEventControllerTest::releaseOfAParkedPollWritesNothing()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
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
    QCOMPARE(sink.answers, 0);
    QVERIFY(response->isOpen());
    QCOMPARE(fixture.lastSent(), object(R"({"a":1})"));

    fixture.store(R"({"a":2})");
    QCOMPARE(sink.answers, 0);
    QCOMPARE(fixture.lastSent(), object(R"({"a":1})"));
    const Exchange next = fixture.poll();
    QCOMPARE(next.status(), 200);
}

void ContextEventControllerTest::releaseBetweenTheAnswerAndTheEventLoopIsSafe()
{
    PollFixture fixture;
    fixture.store(R"({"a":1})");
    const Exchange poll = fixture.poll();
    QCOMPARE(poll.status(), 200);
    const QPointer<QObject> controller = dynamic_cast<QObject *>(poll.controller());
    QVERIFY(!controller.isNull());
    poll.controller()->release();
    QVERIFY(controller.isNull());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    fixture.store(R"({"a":2})");
    QCOMPARE(fixture.lastSent(), object(R"({"a":1})"));
}

void ContextEventControllerTest::deletionDoesNotWake_data()
{
    QTest::addColumn<bool>("byNull");
    QTest::newRow("deleteContext") << false;
    QTest::newRow("setContext with null") << true;
}

void ContextEventControllerTest::deletionDoesNotWake()
{
    QFETCH(bool, byNull);
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    Exchange poll = fixture.poll();
    if (byNull)
        fixture.contexts.setContext(id(), QJsonValue());
    else
        fixture.contexts.deleteContext(id());
    QVERIFY(!poll.isAnswered());
    QVERIFY(!poll.hasEndedItself());
    QCOMPARE(fixture.lastSent(), object(R"({"a":1})"));
    fixture.store(R"({"a":1})");
    QCOMPARE(poll.status(), 200);
    QCOMPARE(poll.body(), QByteArray("{\n    \"a\": 1\n}\n"));
}

void ContextEventControllerTest::pollAfterDeletionIs404Once_data()
{
    QTest::addColumn<QByteArray>("prefer");
    QTest::newRow("any change") << QByteArray();
    QTest::newRow("item named") << QByteArray("wait=$.a");
}

void ContextEventControllerTest::pollAfterDeletionIs404Once()
{
    QFETCH(QByteArray, prefer);
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    fixture.contexts.deleteContext(id());
    const LogCapture log(category);
    Exchange gone = fixture.poll({{"Prefer", prefer}});
    QCOMPARE(gone.status(), 404);
    QCOMPARE(gone.headers(), cacheHeaders());
    QCOMPARE(gone.body(), QByteArray());
    QCOMPARE(fixture.lastSent(), QJsonObject());
    QCOMPARE(linesOf(log).mid(linesOf(log).size() - 2),
             (QStringList{QStringLiteral(R"(debug: Accessing context "abc" .)"),
                          QStringLiteral("debug: Context changed since last sent. Immediately return.")}));
    QVERIFY(!gone.hasEndedItself());

    Exchange next = fixture.poll();
    QVERIFY(!next.isAnswered());
    fixture.store(R"({"a":1})");
    QCOMPARE(next.status(), 200);
}

void ContextEventControllerTest::recreatedContextIsComparedWithTheLastDelivered()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    fixture.contexts.deleteContext(id());
    fixture.store(R"({"a":1})");
    const Exchange same = fixture.poll();
    QVERIFY(!same.isAnswered());
}

void ContextEventControllerTest::preferenceNamesTheItem_data()
{
    QTest::addColumn<QByteArray>("prefer");
    QTest::addColumn<bool>("isNamed");
    QTest::addColumn<QString>("item");
    QTest::newRow("key") << QByteArray("wait=$.inbox") << true << QStringLiteral("inbox");
    QTest::newRow("other words in front")
        << QByteArray("respond-async, wait=$.inbox") << true << QStringLiteral("inbox");
    QTest::newRow("longer word in front") << QByteArray("nowait=$.inbox") << true << QStringLiteral("inbox");
    QTest::newRow("parameter behind")
        << QByteArray("wait=$.inbox; q=1") << true << QStringLiteral("inbox; q=1");
    QTest::newRow("preference behind")
        << QByteArray("wait=$.inbox, respond-async") << true << QStringLiteral("inbox, respond-async");
    QTest::newRow("dot in the key") << QByteArray("wait=$.a.b") << true << QStringLiteral("a.b");
    QTest::newRow("blank in front of the key")
        << QByteArray("wait=$. inbox") << true << QStringLiteral(" inbox");
    QTest::newRow("blank behind the key") << QByteArray("wait=$.inbox ") << true << QStringLiteral("inbox ");
    QTest::newRow("UTF-8 key") << QByteArray("wait=$.gr\xc3\xbcn") << true
                               << QString::fromUtf8("gr\xc3\xbcn");
    QTest::newRow("two keys") << QByteArray("wait=$.a,wait=$.b") << true << QStringLiteral("a,");
    QTest::newRow("no key") << QByteArray("wait=$.") << true << QString();
    QTest::newRow("no key, then one") << QByteArray("wait=$.wait=$.b") << true << QString();
    QTest::newRow("other case") << QByteArray("Wait=$.inbox") << false << QString();
    QTest::newRow("no dot") << QByteArray("wait=$inbox") << false << QString();
    QTest::newRow("no dollar sign") << QByteArray("wait=.inbox") << false << QString();
    QTest::newRow("blanks around the sign") << QByteArray("wait = $.inbox") << false << QString();
    QTest::newRow("seconds") << QByteArray("wait=10") << false << QString();
    QTest::newRow("other preference") << QByteArray("respond-async") << false << QString();
    QTest::newRow("empty") << QByteArray("") << false << QString();
}

void ContextEventControllerTest::preferenceNamesTheItem()
{
    QFETCH(QByteArray, prefer);
    QFETCH(bool, isNamed);
    QFETCH(QString, item);
    PollFixture fixture;
    fixture.store(R"({"unawaited":1})");
    const LogCapture log(category);
    const Exchange without(fixture.strategy, Method::Get, target, {{"prefer", prefer}});
    QCOMPARE(without.isAnswered(), item.isEmpty());
    const QString line = QStringLiteral("debug: Waiting for context item \"%1\"").arg(item);
    QCOMPARE(linesOf(log).count(line), isNamed ? 1 : 0);
    QCOMPARE(linesOf(log).filter(QStringLiteral("Waiting for context item")).size(), isNamed ? 1 : 0);

    fixture.contexts.setContext(id(), QJsonObject{{item.isEmpty() ? QStringLiteral("any") : item, 1}});
    const Exchange with(fixture.strategy, Method::Get, target, {{"prefer", prefer}});
    QCOMPARE(with.status(), 200);
}

void ContextEventControllerTest::linesOfPreferAreJoined()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    const Exchange poll = fixture.poll({{"Prefer", "respond-async"}, {"Prefer", "wait=$.inbox"}});
    fixture.store(R"({"a":2})");
    QVERIFY(!poll.isAnswered());
    fixture.store(R"({"a":2,"inbox":1})");
    QCOMPARE(poll.status(), 200);
}

void ContextEventControllerTest::awaitedItemIsAnsweredAtOnce()
{
    PollFixture fixture;
    fixture.store(R"({"a":1,"matchingItems":[]})");
    const LogCapture log(category);
    Exchange poll = fixture.poll(waitFor("matchingItems"));
    QCOMPARE(poll.status(), 200);
    QCOMPARE(poll.headers(), answerHeaders());
    QCOMPARE(poll.body(), QByteArray("{\n    \"a\": 1,\n    \"matchingItems\": [\n    ]\n}\n"));
    const QStringList expected{QStringLiteral(R"(debug: Waiting for context item "matchingItems")"),
                               QStringLiteral(R"(debug: Accessing context "abc" .)"),
                               QStringLiteral("debug: Context changed since last sent. Immediately return."),
                               QStringLiteral("debug: Context changed. Return long polling.")};
    QCOMPARE(linesOf(log), expected);
    QVERIFY(poll.hasEndedItself());
}

void ContextEventControllerTest::missingItemStrandsThePoll()
{
    PollFixture fixture;
    fixture.store(R"({"a":1})");
    const LogCapture log(category);
    Exchange stranded = fixture.poll(waitFor("inbox"));
    QVERIFY(!stranded.isAnswered());
    QVERIFY(!stranded.hasEndedItself());
    QCOMPARE(fixture.lastSent(), object(R"({"a":1})"));
    const QStringList expected{
        QStringLiteral(R"(debug: Waiting for context item "inbox")"),
        QStringLiteral(R"(debug: Accessing context "abc" .)"),
        QStringLiteral("debug: Context changed since last sent. Immediately return."),
        QStringLiteral("debug: Context changed but doesnt have the item we're waiting for \"inbox\"")};
    QCOMPARE(linesOf(log), expected);

    Exchange next = fixture.poll(waitFor("inbox"));
    QVERIFY(!next.isAnswered());
    fixture.store(R"({"a":1,"inbox":1})");
    QCOMPARE(next.status(), 200);
    QVERIFY(!stranded.isAnswered());
    QVERIFY(!stranded.hasEndedItself());
}

void ContextEventControllerTest::missingItemKeepsAParkedPollWaiting()
{
    PollFixture fixture;
    fixture.deliver(R"({"a":1})");
    Exchange poll = fixture.poll(waitFor("inbox"));
    const LogCapture log(category);
    fixture.store(R"({"a":2})");
    QVERIFY(!poll.isAnswered());
    QVERIFY(!poll.hasEndedItself());
    QCOMPARE(linesOf(log),
             QStringList{QStringLiteral(
                 "debug: Context changed but doesnt have the item we're waiting for \"inbox\"")});
    // What was not delivered is not remembered.
    QCOMPARE(fixture.lastSent(), object(R"({"a":1})"));
    fixture.store(R"({"a":2,"inbox":[1]})");
    QCOMPARE(poll.status(), 200);
    QCOMPARE(object(poll.body()), object(R"({"a":2,"inbox":[1]})"));
    QCOMPARE(fixture.lastSent(), object(R"({"a":2,"inbox":[1]})"));
    QVERIFY(poll.hasEndedItself());
}

void ContextEventControllerTest::awaitedItemMayBeNull()
{
    PollFixture fixture;
    fixture.store(R"({"inbox":null,"nested":{"deep":1}})");
    const Exchange nested = fixture.poll(waitFor("deep"));
    QVERIFY(!nested.isAnswered());
    fixture.store(R"({"inbox":null,"more":1})");
    const Exchange poll = fixture.poll(waitFor("inbox"));
    QCOMPARE(poll.status(), 200);
}

void ContextEventControllerTest::deleteIsNotAnswered()
{
    PollFixture fixture;
    fixture.store(R"({"inbox":1})");
    const LogCapture log(category);
    Exchange removal(fixture.strategy, Method::Delete, target, waitFor("inbox"));
    QVERIFY(!removal.isAnswered());
    QCOMPARE(linesOf(log), QStringList{QStringLiteral(R"(debug: Waiting for context item "inbox")")});
    QVERIFY(fixture.strategy.lastSentContexts().isEmpty());
    fixture.store(R"({"inbox":2})");
    QVERIFY(!removal.isAnswered());
    QVERIFY(!removal.hasEndedItself());
    QVERIFY(fixture.contexts.getContext(id()).isObject());
}

void ContextEventControllerTest::emptyIdThrows_data()
{
    QTest::addColumn<Method>("method");
    QTest::newRow("GET") << Method::Get;
    QTest::newRow("DELETE") << Method::Delete;
}

void ContextEventControllerTest::emptyIdThrows()
{
    QFETCH(Method, method);
    PollFixture fixture;
    auto *controller = new ContextEventController(fixture.strategy, fixture.contexts, method, QString());
    QByteArray text;
    try {
        controller->onNewRequest();
    } catch (const std::runtime_error &error) {
        text = error.what();
    }
    controller->release();
    QCOMPARE(text, QByteArray("Context id required."));
    QVERIFY(fixture.strategy.lastSentContexts().isEmpty());
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
}

QTEST_GUILESS_MAIN(ContextEventControllerTest)
#include "tst_contexteventcontroller.moc"
