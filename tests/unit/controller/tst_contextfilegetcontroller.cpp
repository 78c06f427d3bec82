#include "contextfixture.h"

#include "controller/contextfilegetcontroller.h"
#include "fhir/stu3/coding.h"

#include <http/server/response.h>

#include <QtTest>

#include <stdexcept>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

Q_DECLARE_METATYPE(Method)
Q_DECLARE_METATYPE(HeaderFields)

namespace {

const char *const category = "ch.tessel.vexo-service.context.file.get.controller";
const QString accessing = QStringLiteral(R"(debug: Accessing file "%1" within context "abc" .)");

QString id()
{
    return QStringLiteral("abc");
}

/// A context "abc" with the files a.pdf, a.txt, REPORT.PDF and empty.pdf.
struct FileFixture : ContextFixture
{
    FileFixture()
    {
        contexts.setContext(id(), object(R"({"_id":"abc"})"));
        for (const char *name : {"a.pdf", "a.txt", "REPORT.PDF"})
            add(name, QByteArray("bytes\0of ", 9) + name);
        add("empty.pdf", QByteArray(""));
    }
    void add(const char *name, const QByteArray &bytes)
    {
        contexts.addFile(id(), QString::fromUtf8(name), bytes, domain::Coding());
    }
};

/// Sends every request to one controller that the test makes.
class OneController final : public http::ControllerStrategy
{
public:
    explicit OneController(http::Controller *controller)
        : m_controller(controller)
    {
    }
    http::Controller *createController(QSharedPointer<Request> /*request*/) override { return m_controller; }

private:
    http::Controller *m_controller;
};

} // namespace

class ContextFileGetControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersTheBytes_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<HeaderFields>("request");
        QTest::addColumn<QStringList>("headers");
        QTest::addColumn<QByteArray>("body");
        const QByteArray pdf = QByteArray("bytes\0of a.pdf", 14);
        const QByteArray base64 = "Ynl0ZXMAb2YgYS5wZGY=";
        const QStringList isPdf{QStringLiteral("Content-Type: application/pdf")};
        const QStringList isBase64{QStringLiteral("Content-Encoding: base64")};
        const QString octets = QStringLiteral("Content-Type: application/octet-stream");
        const QStringList isDownload{octets, QStringLiteral("Content-Disposition: attachment")};
        const QStringList isNamed{octets,
                                  QStringLiteral("Content-Disposition: attachment; filename=x y.pdf;")};
        const auto row = [](const char *name, const char *target, const HeaderFields &request,
                            const QStringList &headers, const QByteArray &body) {
            QTest::newRow(name) << QByteArray(target) << request << headers << body;
        };
        row("PDF", "a.pdf", {}, isPdf, pdf);
        row("no PDF", "a.txt", {}, {}, QByteArray("bytes\0of a.txt", 14));
        row("PDF in capitals", "REPORT.PDF", {}, {}, QByteArray("bytes\0of REPORT.PDF", 19));
        row("empty", "empty.pdf", {}, isPdf, "");
        row("other query", "a.pdf?x=1", {}, isPdf, pdf);
        row("name without a download", "a.pdf?filename=x.pdf", {}, isPdf, pdf);
        row("any Accept", "a.pdf", {{"Accept", "text/plain"}}, isPdf, pdf);
        row("FHIR in other case", "a.pdf", {{"Accept", "application/FHIR+json"}}, isPdf, pdf);
        row("FHIR as Content-Type", "a.pdf", {{"Content-Type", "application/fhir+json"}}, isPdf, pdf);
        row("JSON as Content-Type", "a.pdf", {{"Content-Type", "application/json; charset=utf-8"}}, isPdf,
            pdf);

        row("Base64", "a.pdf", {{"Accept-Encoding", "base64"}}, isBase64, base64);
        row("Base64 among others", "a.pdf", {{"Accept-Encoding", "gzip, base64"}}, isBase64, base64);
        row("Base64 on a line of its own", "a.pdf",
            {{"Accept-Encoding", "gzip"}, {"accept-encoding", "base64"}}, isBase64, base64);
        row("Base64 within a word", "a.pdf", {{"Accept-Encoding", "xbase64url;q=0"}}, isBase64, base64);
        row("Base64 in capitals", "a.pdf", {{"Accept-Encoding", "BASE64"}}, isPdf, pdf);
        row("Base64 as Accept", "a.pdf", {{"Accept", "base64"}}, isPdf, pdf);
        row("Base64 of nothing", "empty.pdf", {{"Accept-Encoding", "base64"}}, isBase64, "");
        row("Base64 before download", "a.pdf?download=true&filename=x.pdf", {{"Accept-Encoding", "base64"}},
            isBase64, base64);

        row("download", "a.pdf?download=true", {}, isDownload, pdf);
        row("download with an empty name", "a.pdf?download=true&filename=", {}, isDownload, pdf);
        row("download with a name", "a.pdf?filename=x%20y.pdf&download=true", {}, isNamed, pdf);
        row("download of nothing", "empty.pdf?download=true", {}, isDownload, "");
        row("download in capitals", "a.pdf?download=TRUE", {}, isPdf, pdf);
        row("download of 1", "a.txt?download=1", {}, {}, QByteArray("bytes\0of a.txt", 14));
        row("download without a value", "a.pdf?download", {}, isPdf, pdf);
        row("no download", "a.pdf?download=false", {}, isPdf, pdf);
    }
    void answersTheBytes()
    {
        QFETCH(QByteArray, target);
        QFETCH(HeaderFields, request);
        QFETCH(QStringList, headers);
        QFETCH(QByteArray, body);
        FileFixture fixture;
        for (const Method method : {Method::Get, Method::Delete}) {
            const Exchange exchange(fixture.strategy, method, "/context/abc/file/" + target, request,
                                    "ignored");
            QCOMPARE(exchange.status(), 200);
            QCOMPARE(exchange.headers(), headers);
            QCOMPARE(exchange.body(), body);
        }
    }

    // The name goes out as it stands: what is odd about it is up to the client.
    void desiredNameIsNeitherQuotedNorEscaped_data()
    {
        QTest::addColumn<QByteArray>("encoded");
        QTest::addColumn<QString>("name");
        const auto row = [](const char *encoded, const char *name) {
            QTest::newRow(encoded) << QByteArray(encoded) << QString::fromUtf8(name);
        };
        row("x.pdf", "x.pdf");
        row("x%20y", "x y");
        row("%22x%22", "\"x\"");
        row("x;y=1", "x;y=1");
        row("x+y", "x+y");
        row("x%26y", "x&y");
        row("x%23y", "x#y");
        row("%C3%A4.pdf", "\xc3\xa4.pdf");
        row("%251", "%251");
        row("%1", "%251");
        row("x&filename=y", "x");
        row("../x", "../x");
        // What would mean something else within a URL stays encoded, and so do control characters, so that
        // none of these gets as far as the header.
        row("..%2Fx%3By%3D1", "..%2Fx%3By=1");
        row("x%0D%0AEvil:%201", "x%0D%0AEvil: 1");
        row("x%00", "x%00");
        row("x%7F", "x%7F");
    }
    void desiredNameIsNeitherQuotedNorEscaped()
    {
        QFETCH(QByteArray, encoded);
        QFETCH(QString, name);
        FileFixture fixture;
        const LogCapture log(category);
        const Exchange exchange(fixture.strategy, Method::Get,
                                "/context/abc/file/a.txt?download=true&filename=" + encoded);
        QCOMPARE(exchange.status(), 200);
        QCOMPARE(exchange.headers(), QStringList({QStringLiteral("Content-Type: application/octet-stream"),
                                                  QStringLiteral("Content-Disposition: attachment; filename=")
                                                      + name + QLatin1Char(';')}));
        QCOMPARE(log.lines().size(), 2);
        QString printed;
        QDebug(&printed) << "m_desiredFileName: " << name;
        QCOMPARE(log.lines().at(1), (LogCapture::Line{QtDebugMsg, printed.trimmed()}));
    }

    void nameThatWouldSplitTheAnswerIsRefused_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("CR LF") << QStringLiteral("x\r\nEvil: 1");
        QTest::newRow("LF") << QStringLiteral("x\nEvil: 1");
        QTest::newRow("NUL") << QStringLiteral("x") + QChar(0);
    }
    void nameThatWouldSplitTheAnswerIsRefused()
    {
        QFETCH(QString, name);
        FileFixture fixture;
        OneController strategy(
            new ContextFileGetController(fixture.contexts, id(), QStringLiteral("a.pdf"), true, name));
        const LogCapture log("ch.tessel.http.server.response");
        const Exchange exchange(strategy, Method::Get, "/");
        QCOMPARE(exchange.status(), 500);
        QCOMPARE(exchange.headers(), QStringList(QStringLiteral("Content-Type: application/problem+json")));
        QVERIFY(!exchange.body().contains("bytes"));
        QCOMPARE(linesOf(log),
                 QStringList(QStringLiteral("warning: Refused the header \"Content-Disposition\" "
                                            "since it would split the answer.")));
    }

    void failures_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("accept");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        const QByteArray noContext = "Context not found.";
        const QByteArray noFile = "File not found.";
        const QByteArray fhir = "application/fhir+json";
        const auto row = [](const char *name, const char *target, const QByteArray &accept, int status,
                            const QByteArray &body) {
            QTest::newRow(name) << QByteArray(target) << accept << status << body;
        };
        row("unknown context", "/context/x/file/a.pdf", "", 404, noContext);
        row("id in other case", "/context/ABC/file/a.pdf", "", 404, noContext);
        row("unknown context, as FHIR", "/context/x/file/a.pdf", fhir, 404, noContext);
        row("context that is gone", "/context/gone/file/a.pdf", "", 404, noContext);
        row("unknown file", "/context/abc/file/b.pdf", "", 404, noFile);
        row("name in other case", "/context/abc/file/A.pdf", "", 404, noFile);
        row("unknown file, as FHIR", "/context/abc/file/b.pdf", fhir, 404, noFile);
        row("unknown file, as a download", "/context/abc/file/b.pdf?download=true", "", 404, noFile);
        row("file without bytes", "/context/abc/file/null", "", 404, noFile);
        row("as FHIR", "/context/abc/file/a.pdf", fhir, 501, "Fhir file reprensentation not implemented.");
        row("as FHIR among others", "/context/abc/file/a.pdf?download=true",
            "text/plain, application/fhir+json;q=0.1", 501, "Fhir file reprensentation not implemented.");
    }
    void failures()
    {
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, accept);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        FileFixture fixture;
        fixture.add("null", QByteArray());
        fixture.contexts.addFile(QStringLiteral("gone"), QStringLiteral("a.pdf"), "bytes", domain::Coding());
        fixture.contexts.deleteContext(QStringLiteral("gone"));
        const HeaderFields headers{{"Accept", accept}, {"Accept-Encoding", "base64"}};
        for (const Method method : {Method::Get, Method::Delete}) {
            const Exchange exchange(fixture.strategy, method, target, headers);
            QCOMPARE(exchange.status(), status);
            QCOMPARE(exchange.body(), body);
            QCOMPARE(exchange.headers(), QStringList());
        }
    }

    void contextOfAnyKindCounts_data()
    {
        QTest::addColumn<QJsonValue>("context");
        QTest::newRow("empty object") << QJsonValue(QJsonObject());
        QTest::newRow("object that has dropped its attachments") << QJsonValue(object(R"({"a":1})"));
        QTest::newRow("array") << QJsonValue(QJsonArray());
        QTest::newRow("false") << QJsonValue(false);
    }
    void contextOfAnyKindCounts()
    {
        QFETCH(QJsonValue, context);
        FileFixture fixture;
        fixture.contexts.deleteContext(id());
        fixture.contexts.setContext(id(), context);
        const Exchange exchange(fixture.strategy, Method::Get, "/context/abc/file/a.txt");
        QCOMPARE(exchange.status(), 200);
        QCOMPARE(exchange.body(), QByteArray("bytes\0of a.txt", 14));
    }

    void logsTheAccess_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QStringList>("more");
        QTest::newRow("plain") << QByteArray("/context/abc/file/a.pdf") << QStringList();
        QTest::newRow("name without a download")
            << QByteArray("/context/abc/file/a.pdf?filename=x") << QStringList();
        QTest::newRow("download") << QByteArray("/context/abc/file/a.pdf?download=true&filename=x")
                                  << QStringList(QStringLiteral(R"(debug: m_desiredFileName:  "x")"));
        QTest::newRow("download without a name")
            << QByteArray("/context/abc/file/a.pdf?download=true")
            << QStringList(QStringLiteral(R"(debug: m_desiredFileName:  "")"));
    }
    void logsTheAccess()
    {
        QFETCH(QByteArray, target);
        QFETCH(QStringList, more);
        FileFixture fixture;
        const LogCapture log(category);
        const Exchange exchange(fixture.strategy, Method::Get, target);
        QCOMPARE(exchange.status(), 200);
        QCOMPARE(linesOf(log), QStringList(accessing.arg(QStringLiteral("a.pdf"))) + more);
    }

    void accessIsLoggedBeforeAnyFailure()
    {
        ContextFixture fixture;
        const LogCapture log(category);
        const Exchange exchange(fixture.strategy, Method::Get, "/context/abc/file/x?download=true");
        QCOMPARE(exchange.status(), 404);
        QCOMPARE(linesOf(log), QStringList(accessing.arg(QStringLiteral("x"))));
        // The read leaves an entry without meaning.
        QCOMPARE(fixture.contexts.getContextKeys(), QStringList(id()));
    }

    void bytesAreSharedWithTheStore_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::newRow("typed") << QByteArray("/context/abc/file/big.pdf");
        QTest::newRow("download") << QByteArray("/context/abc/file/big.pdf?download=true");
    }
    void bytesAreSharedWithTheStore()
    {
        QFETCH(QByteArray, target);
        FileFixture fixture;
        const QByteArray bytes(1000000, 'x');
        fixture.add("big.pdf", bytes);
        const Exchange exchange(fixture.strategy, Method::Get, target);
        QCOMPARE(static_cast<const void *>(exchange.body().constData()),
                 static_cast<const void *>(bytes.constData()));
    }

    void nothingIsChanged()
    {
        FileFixture fixture;
        const QJsonValue before = fixture.contexts.getContext(id());
        const int chunks = fixture.bus.chunks.size();
        QSignalSpy changes(&fixture.contexts, &ContextService::contextChanged);
        for (const Method method : {Method::Get, Method::Delete, Method::Get})
            QCOMPARE(Exchange(fixture.strategy, method, "/context/abc/file/a.pdf").status(), 200);
        QCOMPARE(fixture.contexts.getContext(id()), before);
        QCOMPARE(fixture.bus.chunks.size(), chunks);
        QCOMPARE(changes.size(), 0);
        QVERIFY(fixture.strategy.lastSentContexts().isEmpty());
    }

    void emptyIdOrNameThrows_data()
    {
        QTest::addColumn<QString>("contextId");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("no id") << QString() << QStringLiteral("a") << QByteArray("Context id required.");
        QTest::newRow("no name") << id() << QString() << QByteArray("Filename required.");
        QTest::newRow("neither") << QString() << QString() << QByteArray("Context id required.");
    }
    void emptyIdOrNameThrows()
    {
        QFETCH(QString, contextId);
        QFETCH(QString, fileName);
        QFETCH(QByteArray, text);
        ContextFixture fixture;
        const LogCapture log(category);
        auto *controller =
            new ContextFileGetController(fixture.contexts, contextId, fileName, false, QString());
        QByteArray thrown;
        try {
            controller->onNewRequest();
        } catch (const std::runtime_error &error) {
            thrown = error.what();
        }
        controller->release();
        QCOMPARE(thrown, text);
        QCOMPARE(linesOf(log), QStringList());
        QCOMPARE(fixture.contexts.getContextKeys(), QStringList());
    }

    // The decoder drops a byte order mark at the start of a name, so that a request can have an empty one.
    void nameOfAByteOrderMarkAloneThrows()
    {
        FileFixture fixture;
        const auto request = QSharedPointer<Request>::create(
            Method::Get, QUrl(QStringLiteral("/context/abc/file/%25EF%25BB%25BF")), HeaderFields(),
            QByteArray());
        http::Controller *controller = fixture.strategy.createController(request);
        QVERIFY(controller != nullptr);
        controller->setRequest(request);
        QVERIFY_EXCEPTION_THROWN(controller->onNewRequest(), std::runtime_error);
        controller->release();
    }

    void releaseDropsRequestAndResponse()
    {
        ContextFixture fixture;
        RecordingSink sink;
        auto request = QSharedPointer<Request>::create(
            Method::Get, QUrl(QStringLiteral("/context/abc/file/a")), HeaderFields(), QByteArray());
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
};

QTEST_GUILESS_MAIN(ContextFileGetControllerTest)
#include "tst_contextfilegetcontroller.moc"
