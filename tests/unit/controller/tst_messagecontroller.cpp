#include "contextfixture.h"
#include "messages.h"

#include "controller/messagecontroller.h"

#include <http/server/response.h>

#include <QtTest>

#include <type_traits>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

static_assert(std::is_base_of_v<http::Controller, MessageController>);
static_assert(!std::is_base_of_v<QObject, MessageController>);
static_assert(std::is_constructible_v<MessageController, MessageService &, Method>);

namespace {

const char *const category = "ch.tessel.vexo-service.context.messagecontroller";
const char *const target = "/message";

struct QueueFixture : ContextFixture
{
    explicit QueueFixture(const QByteArrayList &identifiers)
    {
        for (const QByteArray &identifier : identifiers)
            messages.addMessage(message(identifier.constData()));
    }

    [[nodiscard]] Exchange post(const QByteArray &body)
    {
        return Exchange(strategy, Method::Post, target, {{"Content-Type", "application/json"}}, body);
    }

    [[nodiscard]] QStringList queue() const { return textsOf(messages.createMessageUpdate()).keys(); }
};

QStringList identifiersIn(const QByteArray &body)
{
    return textsOf(QJsonDocument::fromJson(body)).keys();
}

} // namespace

class MessageControllerTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reportIsAppliedAndTheRestAnswered();
    void emptyQueueIsAnsweredAsAnEmptyArray();
    void reportConsumesWhatItNames_data();
    void reportConsumesWhatItNames();
    void anyOtherBodyReadsTheQueue_data();
    void anyOtherBodyReadsTheQueue();
    void methodIsDiscarded();
    void everyRequestIsLogged();
    void releaseDropsRequestAndResponse();
};

void MessageControllerTest::reportIsAppliedAndTheRestAnswered()
{
    QueueFixture fixture({"a"});
    structure::content::Message left = message("b", "t\xc3\xa4", "x");
    left.setSubtitle(QStringLiteral("s"));
    left.setTimestamp(QDateTime(QDate(2026, 1, 5), QTime(7, 8, 9)));
    left.setCustomLifeTime(structure::content::Timespan(3600));
    fixture.messages.addMessage(left);
    const Exchange exchange = fixture.post(R"(["a"])");
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(exchange.headers(), QStringList{QStringLiteral("Content-Type: application/json")});
    QCOMPARE(exchange.body(), QByteArray("[\n"
                                         "    {\n"
                                         "        \"id\": \"b\",\n"
                                         "        \"lifetime\": \"3600\",\n"
                                         "        \"subtitle\": \"s\",\n"
                                         "        \"text\": \"x\",\n"
                                         "        \"timestamp\": \"2026-01-05T07:08:09\",\n"
                                         "        \"title\": \"t\xc3\xa4\",\n"
                                         "        \"type\": \"customlifetime\"\n"
                                         "    }\n"
                                         "]\n"));
    QCOMPARE(fixture.queue(), QStringList{QStringLiteral("b")});
}

void MessageControllerTest::emptyQueueIsAnsweredAsAnEmptyArray()
{
    QueueFixture fixture({"a"});
    const Exchange last = fixture.post(R"(["a"])");
    QCOMPARE(last.status(), 200);
    QCOMPARE(last.body(), QByteArray("[\n]\n"));
    QVERIFY(!fixture.messages.hasMessages());
    const Exchange again = fixture.post(R"(["a"])");
    QCOMPARE(again.body(), QByteArray("[\n]\n"));
}

void MessageControllerTest::reportConsumesWhatItNames_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("left");
    QTest::newRow("one") << QByteArray(R"(["b"])") << QStringLiteral("a c");
    QTest::newRow("several") << QByteArray(R"(["c","a"])") << QStringLiteral("b");
    QTest::newRow("unknown") << QByteArray(R"(["d"])") << QStringLiteral("a b c");
    QTest::newRow("texts among others")
        << QByteArray(R"([1,"a",null,{"id":"b"},["c"]])") << QStringLiteral("b c");
    QTest::newRow("none") << QByteArray("[]") << QStringLiteral("a b c");
}

void MessageControllerTest::reportConsumesWhatItNames()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, left);
    QueueFixture fixture({"a", "b", "c"});
    const Exchange exchange = fixture.post(body);
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(identifiersIn(exchange.body()).join(QLatin1Char(' ')), left);
    QCOMPARE(fixture.queue().join(QLatin1Char(' ')), left);
}

void MessageControllerTest::anyOtherBodyReadsTheQueue_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("a");
    QTest::newRow("cut array") << QByteArray(R"(["a")");
    QTest::newRow("more behind the array") << QByteArray(R"(["a"] x)");
    QTest::newRow("object") << QByteArray(R"({"identifiers":["a"]})");
    QTest::newRow("text") << QByteArray(R"("a")");
    QTest::newRow("number") << QByteArray("5");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("no UTF-8") << QByteArray("[\"a\",\"\xff\"]");
}

void MessageControllerTest::anyOtherBodyReadsTheQueue()
{
    QFETCH(QByteArray, body);
    QueueFixture fixture({"a", "b"});
    const Exchange exchange = fixture.post(body);
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(exchange.headers(), QStringList{QStringLiteral("Content-Type: application/json")});
    QCOMPARE(identifiersIn(exchange.body()), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(fixture.queue(), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
}

void MessageControllerTest::methodIsDiscarded()
{
    for (const Method method : {Method::Delete, Method::Get, Method::Put, Method::Unknown}) {
        QueueFixture fixture({"a", "b"});
        RecordingSink sink;
        auto *controller = new MessageController(fixture.messages, method);
        controller->setRequest(QSharedPointer<Request>::create(method, QUrl(QString::fromLatin1(target)),
                                                               HeaderFields(), R"(["a"])"));
        controller->setResponse(QSharedPointer<Response>::create(&sink));
        controller->onNewRequest();
        controller->release();
        QCOMPARE(sink.answers, 1);
        QCOMPARE(identifiersIn(sink.last->body), QStringList{QStringLiteral("b")});
    }
}

void MessageControllerTest::everyRequestIsLogged()
{
    QueueFixture fixture({"a"});
    const LogCapture log(category);
    const Exchange report = fixture.post(R"(["a"])");
    QStringList lines{QStringLiteral("debug: Processing Message update request")};
    QCOMPARE(linesOf(log), lines);
    const Exchange other = fixture.post("{");
    lines += lines;
    QCOMPARE(linesOf(log), lines);
}

void MessageControllerTest::releaseDropsRequestAndResponse()
{
    QueueFixture fixture({"a"});
    RecordingSink sink;
    auto request = QSharedPointer<Request>::create(Method::Post, QUrl(QString::fromLatin1(target)),
                                                   HeaderFields(), R"(["a"])");
    auto response = QSharedPointer<Response>::create(&sink);
    const QWeakPointer<Request> weakRequest = request;
    const QWeakPointer<Response> weakResponse = response;
    http::Controller *controller = fixture.strategy.createController(request);
    controller->setRequest(request);
    controller->setResponse(response);
    request.clear();
    response.clear();
    QVERIFY(!weakRequest.isNull() && !weakResponse.isNull());
    controller->release();
    QVERIFY(weakRequest.isNull() && weakResponse.isNull());
    QCOMPARE(sink.answers, 0);
    QCOMPARE(fixture.queue(), QStringList{QStringLiteral("a")});
}

QTEST_GUILESS_MAIN(MessageControllerTest)
#include "tst_messagecontroller.moc"
