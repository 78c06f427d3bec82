#include "contextfixture.h"

#include "controller/contextcontroller.h"
#include "controller/contextcreatecontroller.h"
#include "controller/contextcredentialscontroller.h"
#include "controller/contexteventcontroller.h"
#include "controller/contextfilegetcontroller.h"
#include "controller/contextfilepostcontroller.h"
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
    if (dynamic_cast<ContextFileGetController *>(controller) != nullptr)
        return "download";
    if (dynamic_cast<ContextFilePostController *>(controller) != nullptr)
        return "upload";
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
    void filePathsAreMatchedDecoded_data();
    void filePathsAreMatchedDecoded();
    void downloadIsReadFromTheQuery_data();
    void downloadIsReadFromTheQuery();
    void uploadsAreMatchedAsText_data();
    void uploadsAreMatchedAsText();
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
                                              {"POST /context/abc/file", "upload"},
                                              {"POST /context/abc/file/", "upload"},
                                              {"GET /context/abc/file/a.pdf", "download"},
                                              {"GET /context/abc/file/a.pdf/", "download"},
                                              {"DELETE /context/abc/file/a.pdf", "download"},
                                              {"DELETE /context/abc/file/a.pdf/", "download"},
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
                               "/context/abc/file",
                               "/context/abc/file/",
                               "/context/abc/file//",
                               "/context/abc/file/a.pdf",
                               "/context/abc/file/a.pdf/",
                               "/context/abc/file/a.pdf//",
                               "/context/abc/file/a/b",
                               "/context//file/a.pdf",
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
            const QByteArray kind = served.value(line, "none");
            // Only the name of a file goes with a query.
            const QByteArray withQuery = kind == "download" ? kind : QByteArray("none");
            QTest::addRow("%s", line.constData()) << row.method << path << kind;
            QTest::addRow("%s?x=1", line.constData()) << row.method << path + "?x=1" << withQuery;
            QTest::addRow("%s?", line.constData()) << row.method << path + '?' << withQuery;
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
    QTest::newRow("multipart") << QByteArray("multipart/form-data; boundary=X") << false;
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
    QCOMPARE(route(fixture.strategy, Method::Get, "/context/abc/file/a", headers), QByteArray("download"));
    QCOMPARE(route(fixture.strategy, Method::Delete, "/context/abc/file/a", headers), QByteArray("download"));
    QCOMPARE(route(fixture.strategy, Method::Post, "/context/abc/file", headers), QByteArray("upload"));
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

// The path is decoded before it is matched, and the name in it once more. A null `name` stands for no route.
void ContextControllerStrategyTest::filePathsAreMatchedDecoded_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *title, const QByteArray &target, const char *name) {
        QTest::newRow(title) << target << QString::fromUtf8(name);
    };
    row("plain", "/context/abc/file/a.pdf", "a.pdf");
    row("every kind of character", "/context/abc/file/aZ09_-.", "aZ09_-.");
    row("trailing slash", "/context/abc/file/a.pdf/", "a.pdf");
    row("encoded trailing slash", "/context/abc/file/a.pdf%2F", "a.pdf");
    row("two trailing slashes", "/context/abc/file/a.pdf/%2f", nullptr);
    row("named event", "/context/abc/file/event", "event");
    row("named file", "/context/abc/file/file", "file");
    row("two dots", "/context/abc/file/..", "..");
    row("dot segments", "/context/x/../abc/file/a", nullptr);
    row("encoded once", "/context/abc/file/%61%2Epdf", "a.pdf");
    row("encoded twice", "/context/abc/file/%2561%252Epdf", "a.pdf");
    row("encoded three times", "/context/abc/file/%252561", "%61");
    row("encoded id", "/context/%61bc/file/a", "a");
    row("id encoded twice", "/context/%2561bc/file/a", nullptr);
    row("encoded route", "/%63ontext/abc/fil%65/a", "a");
    row("encoded slashes", "/context%2Fabc%2Ffile%2Fa", "a");
    row("blank", "/context/abc/file/a b", nullptr);
    row("blank encoded once", "/context/abc/file/a%20b", nullptr);
    row("blank encoded twice", "/context/abc/file/a%2520b", "a b");
    row("blank encoded three times", "/context/abc/file/a%252520b", "a%20b");
    row("slash encoded once", "/context/abc/file/a%2Fb", nullptr);
    row("slash encoded twice", "/context/abc/file/a%252Fb", "a/b");
    row("percent alone", "/context/abc/file/%", "%");
    row("percent encoded once", "/context/abc/file/%25", "%");
    row("percent encoded twice", "/context/abc/file/%2525", "%");
    row("percent encoded three times", "/context/abc/file/%252525", "%25");
    row("cut encoding", "/context/abc/file/a%4", "a%4");
    row("umlaut encoded once", "/context/abc/file/%C3%A4", nullptr);
    row("umlaut encoded twice", "/context/abc/file/%25C3%25A4", "\xc3\xa4");
    row("no UTF-8 encoded once", "/context/abc/file/%FF", nullptr);
    row("no UTF-8 encoded twice", "/context/abc/file/%25FF", "\xef\xbf\xbd");
    row("byte order mark encoded once", "/context/abc/file/%EF%BB%BFa", nullptr);
    row("byte order mark encoded twice", "/context/abc/file/%25EF%25BB%25BFa", "a");
    row("byte order mark within, encoded twice", "/context/abc/file/a%25EF%25BB%25BF", "a\xef\xbb\xbf");
    row("plus", "/context/abc/file/a+b", nullptr);
    row("plus encoded twice", "/context/abc/file/a%252Bb", "a+b");
    row("tilde", "/context/abc/file/a~b", nullptr);
    row("colon", "/context/abc/file/a:b", nullptr);
    row("question mark encoded once", "/context/abc/file/a%3Fb", nullptr);
    row("question mark encoded twice", "/context/abc/file/a%253Fb", "a?b");
    row("NUL encoded once", "/context/abc/file/a%00", nullptr);
    // The end of the pattern deliberately allows one line feed.
    row("line feed at the end", "/context/abc/file/a%0A", "a");
    row("line feed behind the slash at the end", "/context/abc/file/a/%0A", "a");
    row("two line feeds at the end", "/context/abc/file/a%0A%0A", nullptr);
    row("line feed within", "/context/abc/file/a%0Ab", nullptr);
    row("line feed encoded twice", "/context/abc/file/a%250A", "a\n");
    row("fragment", "/context/abc/file/a#b", "a");
    row("query", "/context/abc/file/a?b", "a");
    row("slash in the query", "/context/abc/file/a?/b", "a");
    row("absolute", "http://localhost/context/abc/file/a", "a");
    row("very long name", "/context/abc/file/" + QByteArray(10000, 'x'), QByteArray(10000, 'x').constData());
    row("id with a hyphen", "/context/a-c/file/a", nullptr);
    row("no id", "/context//file/a", nullptr);
    row("other case", "/context/abc/File/a", nullptr);
    row("something in front", "/x/context/abc/file/a", nullptr);
    row("two slashes in front", "//context/abc/file/a", nullptr);
    QTest::newRow("NUL encoded twice")
        << QByteArray("/context/abc/file/a%2500") << QString(QStringLiteral("a") + QChar(0));
}

void ContextControllerStrategyTest::filePathsAreMatchedDecoded()
{
    QFETCH(QByteArray, target);
    QFETCH(QString, name);
    ContextFixture fixture;
    fixture.contexts.setContext(QStringLiteral("abc"), QJsonObject());
    fixture.files.setFile(QStringLiteral("abc_") + name, "bytes of it");
    for (const Method method : {Method::Get, Method::Delete}) {
        const Exchange exchange(fixture.strategy, method, target);
        QCOMPARE(kindOf(exchange.controller()), QByteArray(name.isNull() ? "none" : "download"));
        QCOMPARE(exchange.body(), QByteArray(name.isNull() ? "" : "bytes of it"));
    }
    for (const Method method : {Method::Put, Method::Post, Method::Head})
        QCOMPARE(route(fixture.strategy, method, target), QByteArray("none"));
}

void ContextControllerStrategyTest::downloadIsReadFromTheQuery_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QString>("disposition");
    const auto row = [](const char *query, const char *disposition) {
        QTest::newRow(query) << QByteArray(query) << QString::fromUtf8(disposition);
    };
    row("download=true&filename=x.pdf", "attachment; filename=x.pdf;");
    row("filename=x.pdf&download=true", "attachment; filename=x.pdf;");
    row("download=true", "attachment");
    row("download=tru%65&fil%65name=x", "attachment; filename=x;");
    row("download=true&download=false", "attachment");
    row("download=true&filename=x&filename=y", "attachment; filename=x;");
    row("download=true&Filename=x", "attachment");
    row("download=true#fragment", "attachment");
    for (const char *query :
         {"", "download", "download=", "download=TRUE", "download=True", "download=1", "download=true%20",
          "download=%20true", "download=+true", "download=%22true%22", "Download=true",
          "download=false&download=true", "x=1;download=true", "filename=x.pdf"})
        row(query, nullptr);
}

void ContextControllerStrategyTest::downloadIsReadFromTheQuery()
{
    QFETCH(QByteArray, query);
    QFETCH(QString, disposition);
    ContextFixture fixture;
    fixture.contexts.setContext(QStringLiteral("abc"), QJsonObject());
    fixture.files.setFile(QStringLiteral("abc_a"), "bytes of it");
    QStringList headers;
    if (!disposition.isNull())
        headers = QStringList{QStringLiteral("Content-Type: application/octet-stream"),
                              QStringLiteral("Content-Disposition: ") + disposition};
    const Exchange exchange(fixture.strategy, Method::Get, "/context/abc/file/a?" + query);
    QCOMPARE(exchange.headers(), headers);
    QCOMPARE(exchange.body(), QByteArray("bytes of it"));
}

void ContextControllerStrategyTest::uploadsAreMatchedAsText_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("plain") << QByteArray("/context/abc/file") << QByteArray("upload");
    QTest::newRow("encoded letters") << QByteArray("/context/%61bc/fil%65") << QByteArray("upload");
    QTest::newRow("id named file") << QByteArray("/context/file/file") << QByteArray("upload");
    QTest::newRow("encoded slash") << QByteArray("/context%2Fabc%2Ffile") << QByteArray("none");
    QTest::newRow("encoded slash at the end") << QByteArray("/context/abc/file%2F") << QByteArray("none");
    QTest::newRow("encoded line feed") << QByteArray("/context/abc/file%0A") << QByteArray("none");
    QTest::newRow("fragment") << QByteArray("/context/abc/file#x") << QByteArray("none");
    QTest::newRow("no id") << QByteArray("/context//file") << QByteArray("none");
    QTest::newRow("id with a hyphen") << QByteArray("/context/a-c/file") << QByteArray("none");
    QTest::newRow("other case") << QByteArray("/context/abc/File") << QByteArray("none");
}

void ContextControllerStrategyTest::uploadsAreMatchedAsText()
{
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, kind);
    ContextFixture fixture;
    QCOMPARE(route(fixture.strategy, Method::Post, target), kind);
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
