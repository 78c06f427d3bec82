#include "contextfixture.h"

#include "controller/contextcontroller.h"

#include <http/server/response.h>

#include <QtTest>

#include <stdexcept>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

Q_DECLARE_METATYPE(Method)

namespace {

const char *const category = "ch.tessel.vexo-service.context.controller";
const char *const target = "/context/abc";
const QStringList jsonHeaders{QStringLiteral("Content-Type: application/json")};

QString id()
{
    return QStringLiteral("abc");
}

QJsonValue array(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).array();
}

} // namespace

class ContextControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void getOfAnUnknownIdIs404();
    void getAnswersTheContext_data();
    void getAnswersTheContext();
    void getCountsAnEmptyContext();
    void putOfANewIdIs201();
    void putAfterAReadOfAnUnknownIdIs201();
    void putMergesOneLevelDeep();
    void putAnswersTheMergeAndNotTheStoredContext();
    void putChangesNothingElse();
    void putNeverRefusesABody_data();
    void putNeverRefusesABody();
    void putKeepsWhatAnInvalidBodyMeets();
    void putOnANonObjectAnswersTheBody_data();
    void putOnANonObjectAnswersTheBody();
    void deleteRemovesTheContext();
    void deleteOfAnUnknownIdIs404();
    void getAfterDeleteIs404();
    void otherMethodsWriteNothing_data();
    void otherMethodsWriteNothing();
    void emptyIdThrows_data();
    void emptyIdThrows();
    void releaseDropsRequestAndResponse();
};

void ContextControllerTest::getOfAnUnknownIdIs404()
{
    ContextFixture fixture;
    const LogCapture log(category);
    const Exchange exchange(fixture.strategy, Method::Get, target);
    QCOMPARE(exchange.status(), 404);
    QCOMPARE(exchange.headers(), QStringList());
    QCOMPARE(exchange.body(), QByteArray());
    QCOMPARE(linesOf(log), QStringList{QStringLiteral(R"(debug: Accessing context "abc" .)")});
    // The read leaves an entry without meaning.
    QCOMPARE(fixture.contexts.getContextKeys(), QStringList{id()});
}

void ContextControllerTest::getAnswersTheContext_data()
{
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("keys in order") << QJsonValue(object(R"({"b":[],"a":{"y":null,"x":[1,true]}})"))
                                   << QByteArray("{\n    \"a\": {\n        \"x\": [\n            1,\n"
                                                 "            true\n        ],\n        \"y\": null\n"
                                                 "    },\n    \"b\": [\n    ]\n}\n");
    QTest::newRow("UTF-8") << QJsonValue(object("{\"a\":\"gr\xc3\xbcn \xf0\x9f\x98\x80\"}"))
                           << QByteArray("{\n    \"a\": \"gr\xc3\xbcn \xf0\x9f\x98\x80\"\n}\n");
    QTest::newRow("empty object") << QJsonValue(QJsonObject()) << QByteArray("{\n}\n");
    QTest::newRow("array as an empty object") << array("[1]") << QByteArray("{\n}\n");
    QTest::newRow("text as an empty object") << QJsonValue(QStringLiteral("text")) << QByteArray("{\n}\n");
    QTest::newRow("false as an empty object") << QJsonValue(false) << QByteArray("{\n}\n");
}

void ContextControllerTest::getAnswersTheContext()
{
    QFETCH(QJsonValue, stored);
    QFETCH(QByteArray, body);
    ContextFixture fixture;
    fixture.contexts.setContext(id(), stored);
    const LogCapture log(category);
    const Exchange exchange(fixture.strategy, Method::Get, target);
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(exchange.headers(), jsonHeaders);
    QCOMPARE(exchange.body(), body);
    QCOMPARE(linesOf(log), QStringList{QStringLiteral(R"(debug: Accessing context "abc" .)")});
    QCOMPARE(fixture.contexts.getContext(id()), stored);
}

void ContextControllerTest::getCountsAnEmptyContext()
{
    ContextFixture fixture;
    QCOMPARE(Exchange(fixture.strategy, Method::Put, target, {}, "{}").status(), 201);
    QCOMPARE(Exchange(fixture.strategy, Method::Get, target).status(), 200);
    QCOMPARE(Exchange(fixture.strategy, Method::Put, target, {}, "{}").status(), 200);
}

void ContextControllerTest::putOfANewIdIs201()
{
    ContextFixture fixture;
    const LogCapture log(category);
    const Exchange exchange(fixture.strategy, Method::Put, target, {}, R"({"b":1,"a":null})");
    QCOMPARE(exchange.status(), 201);
    QCOMPARE(exchange.headers(), jsonHeaders);
    QCOMPARE(exchange.body(), QByteArray("{\n    \"a\": null,\n    \"b\": 1\n}\n"));
    QCOMPARE(linesOf(log), QStringList{QStringLiteral(R"(debug: Setting context "abc" .)")});
    QCOMPARE(fixture.contexts.getContext(id()), QJsonValue(object(R"({"a":null,"b":1})")));
    QCOMPARE(fixture.contexts.getContextKeys(), QStringList{id()});
}

void ContextControllerTest::putAfterAReadOfAnUnknownIdIs201()
{
    ContextFixture fixture;
    QCOMPARE(Exchange(fixture.strategy, Method::Get, target).status(), 404);
    QCOMPARE(Exchange(fixture.strategy, Method::Put, target, {}, R"({"a":1})").status(), 201);
    QCOMPARE(Exchange(fixture.strategy, Method::Put, target, {}, R"({"a":1})").status(), 200);
}

void ContextControllerTest::putMergesOneLevelDeep()
{
    ContextFixture fixture;
    fixture.contexts.setContext(id(), object(R"({"attachments":[1],"deep":{"x":1,"y":2},"kept":"k"})"));
    const Exchange exchange(fixture.strategy, Method::Put, target, {}, R"({"deep":{"z":3},"kept":null})");
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(exchange.headers(), jsonHeaders);
    QCOMPARE(exchange.body(), QByteArray("{\n    \"attachments\": [\n        1\n    ],\n    \"deep\": {\n"
                                         "        \"z\": 3\n    },\n    \"kept\": null\n}\n"));
    QCOMPARE(fixture.contexts.getContext(id()).toObject().value(QStringLiteral("deep")),
             QJsonValue(object(R"({"z":3})")));
}

void ContextControllerTest::putAnswersTheMergeAndNotTheStoredContext()
{
    ContextFixture fixture;
    fixture.contexts.setContext(id(), object(R"({"a":1,"matchingItems":[1]})"));
    const Exchange exchange(fixture.strategy, Method::Put, target, {}, R"({"a":2})");
    QCOMPARE(exchange.body(),
             QByteArray("{\n    \"a\": 2,\n    \"matchingItems\": [\n        1\n    ]\n}\n"));
    QCOMPARE(fixture.contexts.getContext(id()), QJsonValue(object(R"({"a":2,"matchingItems":[]})")));
}

void ContextControllerTest::putChangesNothingElse()
{
    ContextFixture fixture;
    fixture.contexts.setContext(QStringLiteral("other"), object(R"({"o":1})"));
    QCOMPARE(Exchange(fixture.strategy, Method::Put, target, {}, R"({"a":1})").status(), 201);
    QCOMPARE(fixture.contexts.getContext(QStringLiteral("other")), QJsonValue(object(R"({"o":1})")));
    QVERIFY(fixture.strategy.lastSentContexts().isEmpty());
}

void ContextControllerTest::putNeverRefusesABody_data()
{
    const QByteArray nothing = "{\n}\n";
    QByteArray deep = "1";
    for (int i = 0; i < 1025; ++i)
        deep = "{\"a\":" + deep + '}';
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("empty") << QByteArray() << nothing;
    QTest::newRow("blank") << QByteArray("  \r\n") << nothing;
    QTest::newRow("cut") << QByteArray(R"({"a":1)") << nothing;
    QTest::newRow("garbage behind") << QByteArray(R"({"a":1} x)") << nothing;
    QTest::newRow("NUL behind") << QByteArray("{\"a\":1}\0", 8) << nothing;
    QTest::newRow("trailing comma") << QByteArray(R"({"a":1,})") << nothing;
    QTest::newRow("number") << QByteArray("1") << nothing;
    QTest::newRow("text") << QByteArray(R"("a")") << nothing;
    QTest::newRow("null") << QByteArray("null") << nothing;
    QTest::newRow("array") << QByteArray(R"([{"a":1}])") << nothing;
    QTest::newRow("too deep") << deep << nothing;
    QTest::newRow("100000 brackets") << QByteArray(100000, '[') << nothing;
    QTest::newRow("value that is no UTF-8") << QByteArray("{\"a\":\"\xff\"}") << nothing;
    QTest::newRow("key that is no UTF-8") << QByteArray("{\"\xe4\":1}") << nothing;
    QTest::newRow("number beyond a double") << QByteArray(R"({"a":1e400})") << nothing;
    QTest::newRow("NaN") << QByteArray(R"({"a":NaN})") << nothing;
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf{\"a\":1}")
                                     << QByteArray("{\n    \"a\": 1\n}\n");
    QTest::newRow("key twice") << QByteArray(R"({"a":1,"a":2})") << QByteArray("{\n    \"a\": 2\n}\n");
    QTest::newRow("integer beyond 53 bits")
        << QByteArray(R"({"a":9007199254740993})") << QByteArray("{\n    \"a\": 9007199254740992\n}\n");
    QTest::newRow("integer beyond 64 bits")
        << QByteArray(R"({"a":99999999999999999999999})") << QByteArray("{\n    \"a\": 1e+23\n}\n");
    QTest::newRow("escaped NUL") << QByteArray(R"({"a":"\u0000"})")
                                 << QByteArray("{\n    \"a\": \"\\u0000\"\n}\n");
    QTest::newRow("lone surrogate") << QByteArray(R"({"a":"\ud800"})")
                                    << QByteArray("{\n    \"a\": \"\\ud800\"\n}\n");
    QTest::newRow("empty key") << QByteArray(R"({"":1})") << QByteArray("{\n    \"\": 1\n}\n");
}

void ContextControllerTest::putNeverRefusesABody()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, answer);
    ContextFixture fixture;
    const Exchange exchange(fixture.strategy, Method::Put, target, {}, body);
    QCOMPARE(exchange.status(), 201);
    QCOMPARE(exchange.headers(), jsonHeaders);
    QCOMPARE(exchange.body(), answer);
    const QJsonValue stored = fixture.contexts.getContext(id());
    QVERIFY(stored.isObject());
    QCOMPARE(QJsonDocument(stored.toObject()).toJson(), answer);
}

void ContextControllerTest::putKeepsWhatAnInvalidBodyMeets()
{
    ContextFixture fixture;
    const QJsonValue stored = object(R"({"a":1,"matchingItems":[1]})");
    fixture.contexts.setContext(id(), stored);
    for (const char *body : {"", "{", "[1]", "{\"a\":\"\xff\"}"}) {
        const Exchange exchange(fixture.strategy, Method::Put, target, {}, body);
        QCOMPARE(exchange.status(), 200);
        QCOMPARE(exchange.body(),
                 QByteArray("{\n    \"a\": 1,\n    \"matchingItems\": [\n        1\n    ]\n}\n"));
        QCOMPARE(fixture.contexts.getContext(id()), stored);
    }
}

void ContextControllerTest::putOnANonObjectAnswersTheBody_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("object") << QByteArray(R"({"a":1})") << QByteArray("{\n    \"a\": 1\n}\n");
    QTest::newRow("array") << QByteArray("[1]") << QByteArray("[\n    1\n]\n");
    QTest::newRow("invalid") << QByteArray("{") << QByteArray("{\n}\n");
    QTest::newRow("empty") << QByteArray() << QByteArray("{\n}\n");
}

void ContextControllerTest::putOnANonObjectAnswersTheBody()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, answer);
    ContextFixture fixture;
    fixture.contexts.setContext(id(), array("[7]"));
    const Exchange exchange(fixture.strategy, Method::Put, target, {}, body);
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(exchange.headers(), jsonHeaders);
    QCOMPARE(exchange.body(), answer);
    QCOMPARE(fixture.contexts.getContext(id()), array("[7]"));
}

void ContextControllerTest::deleteRemovesTheContext()
{
    ContextFixture fixture;
    fixture.contexts.setContext(id(), object(R"({"a":1})"));
    const LogCapture log(category);
    const Exchange exchange(fixture.strategy, Method::Delete, target);
    QCOMPARE(exchange.status(), 204);
    QCOMPARE(exchange.headers(), QStringList());
    QCOMPARE(exchange.body(), QByteArray());
    QCOMPARE(linesOf(log), QStringList{QStringLiteral(R"(debug: Deleting context "abc" .)")});
    QCOMPARE(fixture.contexts.getContextKeys(), QStringList());
    QCOMPARE(fixture.bus.chunks.constLast().toObject().value(QStringLiteral("exchange")),
             QJsonValue(QStringLiteral("context-removed")));
}

void ContextControllerTest::deleteOfAnUnknownIdIs404()
{
    ContextFixture fixture;
    const LogCapture log(category);
    const Exchange exchange(fixture.strategy, Method::Delete, target);
    QCOMPARE(exchange.status(), 404);
    QCOMPARE(exchange.headers(), QStringList());
    QCOMPARE(exchange.body(), QByteArray("Context not found."));
    QCOMPARE(linesOf(log), QStringList());
    QVERIFY(fixture.bus.chunks.isEmpty());
    QCOMPARE(fixture.contexts.getContextKeys(), QStringList{id()});
}

void ContextControllerTest::getAfterDeleteIs404()
{
    ContextFixture fixture;
    QCOMPARE(Exchange(fixture.strategy, Method::Put, target, {}, R"({"a":1})").status(), 201);
    QCOMPARE(Exchange(fixture.strategy, Method::Delete, target).status(), 204);
    const Exchange get(fixture.strategy, Method::Get, target);
    QCOMPARE(get.status(), 404);
    QCOMPARE(get.body(), QByteArray());
    const Exchange removal(fixture.strategy, Method::Delete, target);
    QCOMPARE(removal.status(), 404);
    QCOMPARE(removal.body(), QByteArray("Context not found."));
}

void ContextControllerTest::otherMethodsWriteNothing_data()
{
    QTest::addColumn<Method>("method");
    QTest::newRow("POST") << Method::Post;
    QTest::newRow("HEAD") << Method::Head;
    QTest::newRow("PATCH") << Method::Patch;
    QTest::newRow("unknown") << Method::Unknown;
}

void ContextControllerTest::otherMethodsWriteNothing()
{
    QFETCH(Method, method);
    ContextFixture fixture;
    RecordingSink sink;
    const auto request = QSharedPointer<Request>::create(method, QUrl(QString::fromLatin1(target)),
                                                         HeaderFields(), QByteArray("{}"));
    const auto response = QSharedPointer<Response>::create(&sink);
    auto *controller = new ContextController(fixture.contexts, method, id());
    controller->setRequest(request);
    controller->setResponse(response);
    controller->onNewRequest();
    QCOMPARE(sink.answers, 0);
    QVERIFY(response->isOpen());
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
    controller->release();
}

void ContextControllerTest::emptyIdThrows_data()
{
    QTest::addColumn<Method>("method");
    QTest::newRow("GET") << Method::Get;
    QTest::newRow("PUT") << Method::Put;
    QTest::newRow("DELETE") << Method::Delete;
    QTest::newRow("POST") << Method::Post;
}

void ContextControllerTest::emptyIdThrows()
{
    QFETCH(Method, method);
    ContextFixture fixture;
    auto *controller = new ContextController(fixture.contexts, method, QString());
    QByteArray text;
    try {
        controller->onNewRequest();
    } catch (const std::runtime_error &error) {
        text = error.what();
    }
    controller->release();
    QCOMPARE(text, QByteArray("Context id required."));
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
}

void ContextControllerTest::releaseDropsRequestAndResponse()
{
    ContextFixture fixture;
    RecordingSink sink;
    auto request = QSharedPointer<Request>::create(Method::Get, QUrl(QString::fromLatin1(target)),
                                                   HeaderFields(), QByteArray());
    auto response = QSharedPointer<Response>::create(&sink);
    const QWeakPointer<Request> weakRequest = request;
    const QWeakPointer<Response> weakResponse = response;
    http::Controller *controller = fixture.strategy.createController(request);
    controller->setRequest(request);
    controller->setResponse(response);
    request.clear();
    response.clear();
    QVERIFY(!weakRequest.isNull());
    QVERIFY(!weakResponse.isNull());
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
    controller->release();
    QVERIFY(weakRequest.isNull());
    QVERIFY(weakResponse.isNull());
    QCOMPARE(sink.answers, 0);
}

QTEST_GUILESS_MAIN(ContextControllerTest)
#include "tst_contextcontroller.moc"
