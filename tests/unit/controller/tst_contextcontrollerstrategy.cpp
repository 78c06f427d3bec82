#include "contextfixture.h"

#include "controller/contextcontroller.h"
#include "controller/contextcreatecontroller.h"
#include "controller/contextcredentialscontroller.h"
#include "controller/contexteventcontroller.h"
#include "controller/contextformcontroller.h"
#include "controller/messagecontroller.h"
#include "controller/messageeventcontroller.h"

#include <QtTest>

using http::server::HeaderFields;
using http::server::Request;
using Method = Request::HttpMethod;

Q_DECLARE_METATYPE(Method)

namespace {

struct NamedMethod
{
    const char *name;
    Method method;
};

constexpr NamedMethod allMethods[] = {{"DELETE", Method::Delete},   {"GET", Method::Get},
                                      {"HEAD", Method::Head},       {"POST", Method::Post},
                                      {"PUT", Method::Put},         {"CONNECT", Method::Connect},
                                      {"OPTIONS", Method::Options}, {"TRACE", Method::Trace},
                                      {"PATCH", Method::Patch},     {"unknown", Method::Unknown}};

QByteArray kindOf(http::Controller *controller)
{
    if (dynamic_cast<ContextCreateController *>(controller) != nullptr)
        return "create";
    if (dynamic_cast<ContextController *>(controller) != nullptr)
        return "instance";
    if (dynamic_cast<ContextEventController *>(controller) != nullptr)
        return "event";
    if (dynamic_cast<ContextFormController *>(controller) != nullptr)
        return "form";
    if (dynamic_cast<ContextCredentialsController *>(controller) != nullptr)
        return "credentials";
    if (dynamic_cast<MessageController *>(controller) != nullptr)
        return "messages";
    if (dynamic_cast<MessageEventController *>(controller) != nullptr)
        return "message event";
    return controller == nullptr ? "none" : "other";
}

QByteArray route(ContextControllerStrategy &strategy, Method method, const QByteArray &target,
                 const HeaderFields &headers = {})
{
    http::Controller *controller = strategy.createController(
        QSharedPointer<Request>::create(method, QUrl::fromEncoded(target), headers, QByteArray()));
    QByteArray kind = kindOf(controller);
    if (controller != nullptr)
        controller->release();
    return kind;
}

} // namespace

class ContextControllerStrategyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void routesByMethodAndPath_data();
    void routesByMethodAndPath();
    void gateLooksAtTheContentType_data();
    void gateLooksAtTheContentType();
    void pathsAreMatchedAsText_data();
    void pathsAreMatchedAsText();
    void idIsTheCapturedOne_data();
    void idIsTheCapturedOne();
    void credentialsAreLabelledWithTheCapturedId_data();
    void credentialsAreLabelledWithTheCapturedId();
    void pathsOfPostAreMatchedAsText_data();
    void pathsOfPostAreMatchedAsText();
    void methodIsPassedOn();
    void routesOfMessagesAreLogged_data();
    void routesOfMessagesAreLogged();
    void everyRequestHasItsOwnController();
    void nothingIsRememberedAtFirst();
};

void ContextControllerStrategyTest::routesByMethodAndPath_data()
{
    const QMap<QByteArray, QByteArray> served{{"POST /context", "create"},
                                              {"POST /context/", "create"},
                                              {"GET /context/abc", "instance"},
                                              {"GET /context/abc/", "instance"},
                                              {"PUT /context/abc", "instance"},
                                              {"PUT /context/abc/", "instance"},
                                              {"DELETE /context/abc", "instance"},
                                              {"DELETE /context/abc/", "instance"},
                                              {"GET /context/abc/event", "event"},
                                              {"GET /context/abc/event/", "event"},
                                              {"DELETE /context/abc/event", "event"},
                                              {"DELETE /context/abc/event/", "event"},
                                              {"POST /context/abc$form", "form"},
                                              {"POST /context/abc/$form", "form"},
                                              {"POST /context/abc/credentials", "credentials"},
                                              {"POST /context/abc/credentials/", "credentials"},
                                              {"POST /message", "messages"},
                                              {"GET /message/event", "message event"},
                                              {"DELETE /message/event", "message event"}};
    const QByteArrayList paths{"/context",
                               "/context/",
                               "/context/abc",
                               "/context/abc/",
                               "/context/abc/event",
                               "/context/abc/event/",
                               "/context//",
                               "/context/abc//",
                               "/context/abc/event//",
                               "/context/abc/other",
                               "/context/abc/event/x",
                               "/context/abc$form",
                               "/context/abc/$form",
                               "/context/abc$form/",
                               "/context/abc//$form",
                               "/context/$form",
                               "/context$form",
                               "/context/abc/form",
                               "/context/abc$Form",
                               "/context/abc$formx",
                               "/context/abc/credentials",
                               "/context/abc/credentials/",
                               "/context/abc/credentials//",
                               "/context//credentials",
                               "/context/abc/Credentials",
                               "/context/abc/credentials/x",
                               "/message",
                               "/message/",
                               "/message/event",
                               "/message/event/",
                               "/message/other",
                               "/message/event/x"};
    QTest::addColumn<Method>("method");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("kind");
    for (const NamedMethod &row : allMethods) {
        for (const QByteArray &path : paths) {
            const QByteArray line = QByteArray(row.name) + ' ' + path;
            QTest::addRow("%s", line.constData()) << row.method << path << served.value(line, "none");
            QTest::addRow("%s?x=1", line.constData()) << row.method << path + "?x=1" << QByteArray("none");
            QTest::addRow("%s?", line.constData()) << row.method << path + '?' << QByteArray("none");
        }
    }
}

void ContextControllerStrategyTest::routesByMethodAndPath()
{
    QFETCH(Method, method);
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, kind);
    ContextFixture fixture;
    QCOMPARE(route(fixture.strategy, method, target), kind);
}

void ContextControllerStrategyTest::gateLooksAtTheContentType_data()
{
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<bool>("passes");
    QTest::newRow("empty") << QByteArray("") << true;
    QTest::newRow("JSON") << QByteArray("application/json") << true;
    QTest::newRow("JSON with a charset") << QByteArray("application/json; charset=utf-8") << false;
    QTest::newRow("JSON with a semicolon") << QByteArray("application/json;") << false;
    QTest::newRow("JSON in other case") << QByteArray("Application/JSON") << false;
    QTest::newRow("JSON in front") << QByteArray("application/json-patch+json") << false;
    QTest::newRow("trailing blank") << QByteArray("application/json ") << false;
    QTest::newRow("text") << QByteArray("text/plain") << false;
}

void ContextControllerStrategyTest::gateLooksAtTheContentType()
{
    QFETCH(QByteArray, contentType);
    QFETCH(bool, passes);
    ContextFixture fixture;
    const HeaderFields headers{{"content-type", contentType}};
    for (const Method method : {Method::Get, Method::Put, Method::Delete})
        QCOMPARE(route(fixture.strategy, method, "/context/abc", headers),
                 QByteArray(passes ? "instance" : "none"));
    QCOMPARE(route(fixture.strategy, Method::Post, "/context/abc$form", headers),
             QByteArray(passes ? "form" : "none"));
    QCOMPARE(route(fixture.strategy, Method::Post, "/context/abc/credentials", headers),
             QByteArray(passes ? "credentials" : "none"));
    QCOMPARE(route(fixture.strategy, Method::Post, "/message", headers),
             QByteArray(passes ? "messages" : "none"));
    // No gate stands in front of these.
    QCOMPARE(route(fixture.strategy, Method::Get, "/message/event", headers), QByteArray("message event"));
    QCOMPARE(route(fixture.strategy, Method::Delete, "/message/event", headers), QByteArray("message event"));
    QCOMPARE(route(fixture.strategy, Method::Post, "/context", headers), QByteArray("create"));
    QCOMPARE(route(fixture.strategy, Method::Get, "/context/abc/event", headers), QByteArray("event"));
    QCOMPARE(route(fixture.strategy, Method::Delete, "/context/abc/event", headers), QByteArray("event"));
}

void ContextControllerStrategyTest::pathsAreMatchedAsText_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("encoded letter of the id") << QByteArray("/context/%61bc") << QByteArray("instance");
    QTest::newRow("encoded letter of the route") << QByteArray("/conte%78t/abc") << QByteArray("instance");
    QTest::newRow("encoded letter of the event") << QByteArray("/context/abc/%65vent") << QByteArray("event");
    QTest::newRow("wholly encoded") << QByteArray("/%63%6F%6E%74%65%78%74/%41%42%30")
                                    << QByteArray("instance");
    QTest::newRow("letter encoded twice") << QByteArray("/context/%2561bc") << QByteArray("none");
    QTest::newRow("encoded slash at the end") << QByteArray("/context/abc%2F") << QByteArray("none");
    QTest::newRow("encoded slash within") << QByteArray("/context%2Fabc") << QByteArray("none");
    QTest::newRow("encoded line feed at the end") << QByteArray("/context/abc%0A") << QByteArray("none");
    QTest::newRow("encoded line feed after event")
        << QByteArray("/context/abc/event%0a") << QByteArray("none");
    QTest::newRow("line feed at the end") << QByteArray("/context/abc\n") << QByteArray("none");
    QTest::newRow("encoded NUL") << QByteArray("/context/abc%00") << QByteArray("none");
    QTest::newRow("encoded question mark") << QByteArray("/context/abc%3Fx=1") << QByteArray("none");
    QTest::newRow("broken encoding") << QByteArray("/context/a%ZZ") << QByteArray("none");
    QTest::newRow("cut encoding") << QByteArray("/context/a%4") << QByteArray("none");
    QTest::newRow("encoded blank") << QByteArray("/context/a%20c") << QByteArray("none");
    QTest::newRow("encoded hyphen") << QByteArray("/context/a%2Dc") << QByteArray("none");
    QTest::newRow("hyphen") << QByteArray("/context/a-c") << QByteArray("none");
    QTest::newRow("underscore") << QByteArray("/context/a_c") << QByteArray("none");
    QTest::newRow("dot") << QByteArray("/context/a.c") << QByteArray("none");
    QTest::newRow("tilde") << QByteArray("/context/a~c") << QByteArray("none");
    QTest::newRow("colon") << QByteArray("/context/a:c") << QByteArray("none");
    QTest::newRow("umlaut") << QByteArray("/context/\xc3\xa4") << QByteArray("none");
    QTest::newRow("encoded umlaut") << QByteArray("/context/%C3%A4") << QByteArray("none");
    QTest::newRow("fullwidth digit") << QByteArray("/context/%EF%BC%91") << QByteArray("none");
    QTest::newRow("encoded byte that is no UTF-8") << QByteArray("/context/%FF") << QByteArray("none");
    QTest::newRow("fragment") << QByteArray("/context/abc#f") << QByteArray("none");
    QTest::newRow("empty fragment") << QByteArray("/context/abc#") << QByteArray("none");
    QTest::newRow("one letter") << QByteArray("/context/a") << QByteArray("instance");
    QTest::newRow("digits") << QByteArray("/context/0123456789") << QByteArray("instance");
    QTest::newRow("very long id") << "/context/" + QByteArray(10000, 'x') << QByteArray("instance");
    QTest::newRow("id named event") << QByteArray("/context/event") << QByteArray("instance");
    QTest::newRow("event of an id named event") << QByteArray("/context/event/event") << QByteArray("event");
    QTest::newRow("event without an id") << QByteArray("/context//event") << QByteArray("none");
    QTest::newRow("route in other case") << QByteArray("/Context/abc") << QByteArray("none");
    QTest::newRow("event in other case") << QByteArray("/context/abc/Event") << QByteArray("none");
    QTest::newRow("something in front") << QByteArray("/x/context/abc") << QByteArray("none");
    QTest::newRow("dot segment") << QByteArray("/./context/abc") << QByteArray("none");
    QTest::newRow("parent segment") << QByteArray("/context/x/../abc") << QByteArray("none");
    QTest::newRow("two slashes in front") << QByteArray("//context/abc") << QByteArray("none");
    QTest::newRow("no slash in front") << QByteArray("context/abc") << QByteArray("none");
    QTest::newRow("absolute") << QByteArray("http://localhost/context/abc") << QByteArray("none");
    QTest::newRow("asterisk") << QByteArray("*") << QByteArray("none");
    QTest::newRow("root") << QByteArray("/") << QByteArray("none");
    QTest::newRow("empty") << QByteArray("") << QByteArray("none");
    QTest::newRow("encoded letter of the messages")
        << QByteArray("/m%65ssage/event") << QByteArray("message event");
    QTest::newRow("messages in other case") << QByteArray("/Message/event") << QByteArray("none");
    QTest::newRow("something in front of the messages")
        << QByteArray("/x/message/event") << QByteArray("none");
    QTest::newRow("line feed after the messages") << QByteArray("/message/event%0A") << QByteArray("none");
}

void ContextControllerStrategyTest::pathsAreMatchedAsText()
{
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, kind);
    ContextFixture fixture;
    QCOMPARE(route(fixture.strategy, Method::Get, target), kind);
    QCOMPARE(route(fixture.strategy, Method::Delete, target), kind);
    QCOMPARE(route(fixture.strategy, Method::Put, target), kind == "instance" ? kind : QByteArray("none"));
}

void ContextControllerStrategyTest::idIsTheCapturedOne_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("plain") << QByteArray("/context/aBc09");
    QTest::newRow("trailing slash") << QByteArray("/context/aBc09/");
    QTest::newRow("encoded") << QByteArray("/context/%61Bc0%39");
    QTest::newRow("event") << QByteArray("/context/aBc09/event");
    QTest::newRow("event with a trailing slash") << QByteArray("/context/aBc09/event/");
}

void ContextControllerStrategyTest::idIsTheCapturedOne()
{
    QFETCH(QByteArray, target);
    ContextFixture fixture;
    fixture.contexts.setContext(QStringLiteral("aBc09"), object(R"({"k":1})"));
    const Exchange exchange(fixture.strategy, Method::Get, target);
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(exchange.body(), QByteArray("{\n    \"k\": 1\n}\n"));
    QCOMPARE(fixture.contexts.getContextKeys(), QStringList{QStringLiteral("aBc09")});
}

void ContextControllerStrategyTest::credentialsAreLabelledWithTheCapturedId_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("plain") << QByteArray("/context/aBc09/credentials");
    QTest::newRow("trailing slash") << QByteArray("/context/aBc09/credentials/");
    QTest::newRow("encoded") << QByteArray("/context/%61Bc09/cred%65ntials");
}

void ContextControllerStrategyTest::credentialsAreLabelledWithTheCapturedId()
{
    QFETCH(QByteArray, target);
    ContextFixture fixture;
    fixture.strategy.setChunkService(&fixture.bus);
    const Exchange exchange(fixture.strategy, Method::Post, target);
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(fixture.bus.chunks.at(0)[QLatin1String("data")][QLatin1String("id")].toString(),
             QStringLiteral("aBc09"));
}

void ContextControllerStrategyTest::pathsOfPostAreMatchedAsText_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("letter") << QByteArray("/context/abc$%66orm") << QByteArray("form");
    // Other than a letter, a dollar sign stays encoded in the text that is matched.
    QTest::newRow("dollar sign") << QByteArray("/context/abc%24form") << QByteArray("none");
    QTest::newRow("form without a dollar sign") << QByteArray("/context/abcform") << QByteArray("none");
    QTest::newRow("credentials without an id") << QByteArray("/context/credentials") << QByteArray("none");
    QTest::newRow("credentials of an id named so")
        << QByteArray("/context/credentials/credentials") << QByteArray("credentials");
    QTest::newRow("line feed behind the form") << QByteArray("/context/abc$form%0A") << QByteArray("none");
    QTest::newRow("credentials of an id beyond letters and digits")
        << QByteArray("/context/a_c/credentials") << QByteArray("none");
    QTest::newRow("form of an id beyond letters and digits")
        << QByteArray("/context/a-c$form") << QByteArray("none");
}

void ContextControllerStrategyTest::pathsOfPostAreMatchedAsText()
{
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, kind);
    ContextFixture fixture;
    QCOMPARE(route(fixture.strategy, Method::Post, target), kind);
}

void ContextControllerStrategyTest::methodIsPassedOn()
{
    ContextFixture fixture;
    const Exchange put(fixture.strategy, Method::Put, "/context/abc", {}, "{}");
    QCOMPARE(put.status(), 201);
    const Exchange get(fixture.strategy, Method::Get, "/context/abc");
    QCOMPARE(get.status(), 200);
    const Exchange removal(fixture.strategy, Method::Delete, "/context/abc");
    QCOMPARE(removal.status(), 204);
    fixture.contexts.setContext(QStringLiteral("abc"), object(R"({"k":1})"));
    const Exchange eventRemoval(fixture.strategy, Method::Delete, "/context/abc/event");
    QVERIFY(!eventRemoval.isAnswered());
}

void ContextControllerStrategyTest::routesOfMessagesAreLogged_data()
{
    QTest::addColumn<Method>("method");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QStringList>("lines");
    const QStringList polled{QStringLiteral("debug: Received request matching message event polling URL")};
    const QStringList posted{QStringLiteral("debug: Received request matching message URL")};
    const auto row = [](const char *name, Method method, const char *target, const char *contentType,
                        const QStringList &lines) {
        QTest::newRow(name) << method << QByteArray(target) << QByteArray(contentType) << lines;
    };
    row("poll", Method::Get, "/message/event", "", polled);
    row("poll by DELETE", Method::Delete, "/message/event", "text/plain", polled);
    row("report", Method::Post, "/message", "application/json", posted);
    row("report that the gate stops", Method::Post, "/message", "text/plain", posted);
    row("poll with a slash", Method::Get, "/message/event/", "", {});
    row("report with a query", Method::Post, "/message?x=1", "", {});
    row("poll by POST", Method::Post, "/message/event", "", {});
    row("poll by PUT", Method::Put, "/message/event", "", {});
    row("context", Method::Get, "/context/abc", "", {});
    row("event of a context", Method::Get, "/context/abc/event", "", {});
    row("new context", Method::Post, "/context", "", {});
}

void ContextControllerStrategyTest::routesOfMessagesAreLogged()
{
    QFETCH(Method, method);
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, contentType);
    QFETCH(QStringList, lines);
    ContextFixture fixture;
    const LogCapture log("ch.tessel.vexo-service.context.controllerstrategy");
    (void)route(fixture.strategy, method, target, {{"Content-Type", contentType}});
    QCOMPARE(linesOf(log), lines);
}

void ContextControllerStrategyTest::everyRequestHasItsOwnController()
{
    ContextFixture fixture;
    const auto request = QSharedPointer<Request>::create(Method::Get, QUrl(QStringLiteral("/context/abc")),
                                                         HeaderFields(), QByteArray());
    http::Controller *first = fixture.strategy.createController(request);
    http::Controller *second = fixture.strategy.createController(request);
    QVERIFY(first != nullptr && second != nullptr);
    QVERIFY(first != second);
    first->release();
    second->release();
}

void ContextControllerStrategyTest::nothingIsRememberedAtFirst()
{
    ContextFixture fixture;
    QVERIFY(fixture.strategy.lastSentContexts().isEmpty());
    QCOMPARE(route(fixture.strategy, Method::Get, "/context/abc/event"), QByteArray("event"));
    QVERIFY(fixture.strategy.lastSentContexts().isEmpty());
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
}

QTEST_GUILESS_MAIN(ContextControllerStrategyTest)
#include "tst_contextcontrollerstrategy.moc"
