#include "contextfixture.h"

#include "controller/contextcreatecontroller.h"

#include <http/server/response.h>

#include <QRegularExpression>
#include <QtTest>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

namespace {

const char *const category = "ch.tessel.vexo-service.context.controller.create";

QString exchangeOf(const QJsonValue &chunk)
{
    return chunk.toObject().value(QStringLiteral("exchange")).toString();
}

} // namespace

class ContextCreateControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void createsAContextOfTheBody();
    void idIsWrittenIntoTheContext_data();
    void idIsWrittenIntoTheContext();
    void idIsAnnouncedBeforeTheContext();
    void everyCreationHasItsOwnId();
    void answerIsWhatWasBuiltAndNotWhatIsStored();
    void acceptChoosesTheForm_data();
    void acceptChoosesTheForm();
    void charsetChoosesTheDecoding_data();
    void charsetChoosesTheDecoding();
    void charsetCanNotRescueAnInvalidBody();
    void invalidBodyIsRefused_data();
    void invalidBodyIsRefused();
    void oddBodyIsTaken_data();
    void oddBodyIsTaken();
    void releaseDropsRequestAndResponse();
};

void ContextCreateControllerTest::createsAContextOfTheBody()
{
    ContextFixture fixture;
    const LogCapture log(category);
    const Exchange exchange(fixture.strategy, Method::Post, "/context", {}, "{\"b\":1,\"a\":\"\xc3\xa4\"}");
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(exchange.headers(), QStringList{QStringLiteral("Content-Type: application/json")});
    const QString id = fixture.contexts.getContextKeys().value(0);
    QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9]{16}$")).match(id).hasMatch());
    QCOMPARE(exchange.body(),
             "{\n    \"_id\": \"" + id.toUtf8() + "\",\n    \"a\": \"\xc3\xa4\",\n    \"b\": 1\n}\n");
    QCOMPARE(fixture.contexts.getContextKeys().size(), 1);
    QCOMPARE(fixture.contexts.getContext(id), QJsonValue(object(exchange.body())));
    QCOMPARE(linesOf(log), QStringList{QStringLiteral("debug: Creating a new context.")});
    QVERIFY(fixture.strategy.lastSentContexts().isEmpty());
}

void ContextCreateControllerTest::idIsWrittenIntoTheContext_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("empty object") << QByteArray("{}");
    QTest::newRow("id of the client's own") << QByteArray(R"({"_id":"mine"})");
    QTest::newRow("id that is an object") << QByteArray(R"({"_id":{"a":1}})");
    QTest::newRow("array") << QByteArray(R"([{"a":1}])");
    QTest::newRow("empty array") << QByteArray("[]");
}

void ContextCreateControllerTest::idIsWrittenIntoTheContext()
{
    QFETCH(QByteArray, body);
    ContextFixture fixture;
    const Exchange exchange(fixture.strategy, Method::Post, "/context/", {}, body);
    QCOMPARE(exchange.status(), 200);
    const QString id = fixture.contexts.getContextKeys().value(0);
    QCOMPARE(id.size(), 16);
    QCOMPARE(exchange.body(), "{\n    \"_id\": \"" + id.toUtf8() + "\"\n}\n");
    QCOMPARE(fixture.contexts.getContext(id), QJsonValue(QJsonObject{{QStringLiteral("_id"), id}}));
}

void ContextCreateControllerTest::idIsAnnouncedBeforeTheContext()
{
    ContextFixture fixture;
    const Exchange exchange(fixture.strategy, Method::Post, "/context", {{"Accept", "text/plain"}}, "{}");
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(fixture.bus.chunks.size(), 2);
    const QJsonObject created = fixture.bus.chunks.at(0).toObject();
    QCOMPARE(exchangeOf(created), QStringLiteral("context-created"));
    QCOMPARE(created.value(QStringLiteral("data")),
             QJsonValue(QJsonObject{{QStringLiteral("contextId"), QString::fromUtf8(exchange.body())}}));
    const QJsonObject changed = fixture.bus.chunks.at(1).toObject();
    QCOMPARE(changed.value(QStringLiteral("data")).toObject().value(QStringLiteral("event")),
             QJsonValue(QStringLiteral("context-changed")));
}

void ContextCreateControllerTest::everyCreationHasItsOwnId()
{
    ContextFixture fixture;
    const HeaderFields headers{{"Accept", "text/plain"}};
    const Exchange first(fixture.strategy, Method::Post, "/context", headers, R"({"n":1})");
    const Exchange second(fixture.strategy, Method::Post, "/context", headers, R"({"n":2})");
    QVERIFY(first.body() != second.body());
    QCOMPARE(
        fixture.contexts.getContext(QString::fromUtf8(first.body())).toObject().value(QStringLiteral("n")),
        QJsonValue(1));
    QCOMPARE(
        fixture.contexts.getContext(QString::fromUtf8(second.body())).toObject().value(QStringLiteral("n")),
        QJsonValue(2));
}

void ContextCreateControllerTest::answerIsWhatWasBuiltAndNotWhatIsStored()
{
    ContextFixture fixture;
    bool isFirst = true;
    connect(&fixture.contexts, &ContextService::contextChanged, this, [&](const QString &id) {
        if (std::exchange(isFirst, false))
            fixture.contexts.updateContext(id, object(R"({"late":1})"));
    });
    const Exchange exchange(fixture.strategy, Method::Post, "/context", {}, "{}");
    const QString id = fixture.contexts.getContextKeys().value(0);
    QVERIFY(fixture.contexts.getContext(id).toObject().contains(QStringLiteral("late")));
    QCOMPARE(exchange.body(), "{\n    \"_id\": \"" + id.toUtf8() + "\"\n}\n");
}

void ContextCreateControllerTest::acceptChoosesTheForm_data()
{
    QTest::addColumn<QByteArray>("accept");
    QTest::addColumn<bool>("isText");
    QTest::newRow("text") << QByteArray("text/plain") << true;
    QTest::newRow("text, then JSON") << QByteArray("text/plain, application/json") << true;
    QTest::newRow("JSON, then text of little weight")
        << QByteArray("application/json, text/plain;q=0.1") << true;
    QTest::newRow("text of no weight") << QByteArray("text/plain;q=0") << true;
    QTest::newRow("text within a longer word") << QByteArray("xtext/plainx") << true;
    QTest::newRow("text in other case") << QByteArray("Text/Plain") << false;
    QTest::newRow("any text") << QByteArray("text/*") << false;
    QTest::newRow("anything") << QByteArray("*/*") << false;
    QTest::newRow("JSON") << QByteArray("application/json") << false;
    QTest::newRow("empty") << QByteArray("") << false;
}

void ContextCreateControllerTest::acceptChoosesTheForm()
{
    QFETCH(QByteArray, accept);
    QFETCH(bool, isText);
    ContextFixture fixture;
    const Exchange exchange(fixture.strategy, Method::Post, "/context", {{"accept", accept}}, "{}");
    const QByteArray id = fixture.contexts.getContextKeys().value(0).toUtf8();
    QCOMPARE(id.size(), 16);
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(exchange.headers(), QStringList{isText ? QStringLiteral("Content-Type: text/plain")
                                                    : QStringLiteral("Content-Type: application/json")});
    QCOMPARE(exchange.body(), isText ? id : "{\n    \"_id\": \"" + id + "\"\n}\n");
}

void ContextCreateControllerTest::charsetChoosesTheDecoding_data()
{
    const QByteArray latin1 = "{\"a\":\"\xe4\"}";
    const QByteArray utf8 = "{\"a\":\"\xc3\xa4\"}";
    const QString umlaut(QChar(0xe4));
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    QTest::newRow("Latin-1 named") << QByteArray("application/json; charset=ISO-8859-1") << latin1 << umlaut;
    QTest::newRow("Latin-1 named on any type")
        << QByteArray("text/html;charset=ISO-8859-1") << latin1 << umlaut;
    QTest::newRow("Latin-1 named in a longer word") << QByteArray("xcharset=ISO-8859-15") << latin1 << umlaut;
    QTest::newRow("Latin-1 named, UTF-8 sent")
        << QByteArray("application/json; charset=ISO-8859-1") << utf8 << QString(QChar(0xc3)) + QChar(0xa4);
    QTest::newRow("Latin-1 in lower case, UTF-8 sent")
        << QByteArray("application/json; charset=iso-8859-1") << utf8 << umlaut;
    QTest::newRow("Latin-1 in lower case, Latin-1 sent")
        << QByteArray("application/json; charset=iso-8859-1") << latin1 << QString();
    QTest::newRow("Latin-1 in quotes, Latin-1 sent")
        << QByteArray("application/json; charset=\"ISO-8859-1\"") << latin1 << QString();
    QTest::newRow("nothing named, UTF-8 sent") << QByteArray("") << utf8 << umlaut;
    QTest::newRow("nothing named, Latin-1 sent") << QByteArray("") << latin1 << QString();
    QTest::newRow("type that is no JSON, UTF-8 sent") << QByteArray("text/plain") << utf8 << umlaut;
}

void ContextCreateControllerTest::charsetChoosesTheDecoding()
{
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    QFETCH(QString, text);
    ContextFixture fixture;
    const Exchange exchange(fixture.strategy, Method::Post, "/context", {{"content-type", contentType}},
                            body);
    QCOMPARE(exchange.status(), text.isNull() ? 400 : 200);
    QCOMPARE(fixture.contexts.getContextKeys().size(), text.isNull() ? 0 : 1);
    QCOMPARE(object(exchange.body()).value(QStringLiteral("a")).toString(), text);
}

void ContextCreateControllerTest::charsetCanNotRescueAnInvalidBody()
{
    ContextFixture fixture;
    const Exchange exchange(fixture.strategy, Method::Post, "/context",
                            {{"Content-Type", "application/json; charset=ISO-8859-1"}}, "{\"\xe4\":");
    QCOMPARE(exchange.status(), 400);
    QCOMPARE(exchange.body(), QByteArray("unterminated object"));
    QVERIFY(fixture.bus.chunks.isEmpty());
}

void ContextCreateControllerTest::invalidBodyIsRefused_data()
{
    QByteArray deep = "1";
    for (int i = 0; i < 1025; ++i)
        deep = "{\"a\":" + deep + '}';
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray() << QByteArray("illegal value");
    QTest::newRow("blank") << QByteArray(" \t\r\n") << QByteArray("illegal value");
    QTest::newRow("number") << QByteArray("1") << QByteArray("illegal value");
    QTest::newRow("text") << QByteArray(R"("a")") << QByteArray("illegal value");
    QTest::newRow("null") << QByteArray("null") << QByteArray("illegal value");
    QTest::newRow("cut object") << QByteArray("{") << QByteArray("unterminated object");
    QTest::newRow("cut array") << QByteArray("[[]") << QByteArray("unterminated array");
    QTest::newRow("cut number") << QByteArray("[1") << QByteArray("invalid termination by number");
    QTest::newRow("cut text") << QByteArray(R"({"a":"x)") << QByteArray("unterminated string");
    QTest::newRow("cut word") << QByteArray(R"({"a":tru})") << QByteArray("illegal value");
    QTest::newRow("no quotes") << QByteArray("{a:1}") << QByteArray("unterminated object");
    QTest::newRow("single quotes") << QByteArray("{'a':1}") << QByteArray("unterminated object");
    QTest::newRow("no colon") << QByteArray(R"({"a" 1})") << QByteArray("missing name separator");
    QTest::newRow("no comma") << QByteArray("[1 2]") << QByteArray("missing value separator");
    QTest::newRow("trailing comma") << QByteArray(R"({"a":1,})")
                                    << QByteArray("object is missing after a comma");
    QTest::newRow("garbage behind") << QByteArray("{} x") << QByteArray("garbage at the end of the document");
    QTest::newRow("NUL behind") << QByteArray("{}\0", 3) << QByteArray("garbage at the end of the document");
    QTest::newRow("value that is no UTF-8")
        << QByteArray("{\"a\":\"\xff\"}") << QByteArray("invalid UTF8 string");
    QTest::newRow("key that is no UTF-8") << QByteArray("{\"\xff\":1}") << QByteArray("invalid UTF8 string");
    QTest::newRow("number beyond a double") << QByteArray(R"({"a":1e400})") << QByteArray("illegal number");
    QTest::newRow("NaN") << QByteArray(R"({"a":NaN})") << QByteArray("illegal number");
    QTest::newRow("too deep") << deep << QByteArray("too deeply nested document");
    QTest::newRow("100000 brackets") << QByteArray(100000, '[') << QByteArray("too deeply nested document");
}

void ContextCreateControllerTest::invalidBodyIsRefused()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, text);
    ContextFixture fixture;
    const LogCapture log(category);
    // The Accept header has no say in a refusal.
    const Exchange exchange(fixture.strategy, Method::Post, "/context", {{"Accept", "application/json"}},
                            body);
    QCOMPARE(exchange.status(), 400);
    QCOMPARE(exchange.headers(), QStringList{QStringLiteral("Content-Type: text/plain")});
    QCOMPARE(exchange.body(), text);
    const QStringList expected{QStringLiteral("debug: Creating a new context."),
                               QStringLiteral("warning: Error when parsing."),
                               QStringLiteral("debug: \"%1\"").arg(QString::fromUtf8(text))};
    QCOMPARE(linesOf(log), expected);
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
    QVERIFY(fixture.bus.chunks.isEmpty());
}

void ContextCreateControllerTest::oddBodyIsTaken_data()
{
    QByteArray deep = "1";
    for (int i = 0; i < 1024; ++i)
        deep = "{\"a\":" + deep + '}';
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("valueOfA");
    QTest::newRow("as deep as can be") << deep << deep.mid(5, deep.size() - 6);
    QTest::newRow("key twice") << QByteArray(R"({"a":1,"a":2})") << QByteArray("2");
    QTest::newRow("integer beyond 53 bits")
        << QByteArray(R"({"a":9007199254740993})") << QByteArray("9007199254740992");
    QTest::newRow("integer beyond 64 bits")
        << QByteArray(R"({"a":99999999999999999999999})") << QByteArray("1e+23");
    QTest::newRow("negative zero") << QByteArray(R"({"a":-0.0})") << QByteArray("0");
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf{\"a\":1}") << QByteArray("1");
    QTest::newRow("unknown escape") << QByteArray(R"({"a":"\x"})") << QByteArray(R"("x")");
    QTest::newRow("line feed within a text") << QByteArray("{\"a\":\"\n\"}") << QByteArray(R"("\n")");
    QTest::newRow("escaped NUL") << QByteArray(R"({"a":"\u0000"})") << QByteArray(R"("\u0000")");
    QTest::newRow("lone surrogate") << QByteArray(R"({"a":"\ud800"})") << QByteArray(R"("\ud800")");
}

void ContextCreateControllerTest::oddBodyIsTaken()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, valueOfA);
    ContextFixture fixture;
    const Exchange exchange(fixture.strategy, Method::Post, "/context", {}, body);
    QCOMPARE(exchange.status(), 200);
    const QString id = fixture.contexts.getContextKeys().value(0);
    QCOMPARE(QJsonDocument(fixture.contexts.getContext(id).toObject()).toJson(QJsonDocument::Compact),
             "{\"_id\":\"" + id.toUtf8() + "\",\"a\":" + valueOfA + '}');
    QCOMPARE(exchange.body(), QJsonDocument(fixture.contexts.getContext(id).toObject()).toJson());
}

void ContextCreateControllerTest::releaseDropsRequestAndResponse()
{
    ContextFixture fixture;
    RecordingSink sink;
    auto request = QSharedPointer<Request>::create(Method::Post, QUrl(QStringLiteral("/context")),
                                                   HeaderFields(), QByteArray("{}"));
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
    controller->release();
    QVERIFY(weakRequest.isNull());
    QVERIFY(weakResponse.isNull());
    QCOMPARE(sink.answers, 0);
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
}

QTEST_GUILESS_MAIN(ContextCreateControllerTest)
#include "tst_contextcreatecontroller.moc"
