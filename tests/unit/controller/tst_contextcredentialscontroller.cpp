#include "contextfixture.h"

#include "contextserviceprobe.h"
#include "controller/contextcredentialscontroller.h"
#include "jsontext.h"
#include "mortalbus.h"

#include <http/server/response.h>

#include <QtTest>

#include <stdexcept>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

Q_DECLARE_METATYPE(Method)

namespace {

const char *const category = "ch.tessel.vexo-service.context.credentials.controller";

const QString resetChunk = QStringLiteral(
    R"({"data":{"event":"credentialreset-published","id":"abc"},"source":"k7-plugin-context","version":"1.0.0"})");

QString credentialChunk(const QString &entry)
{
    return QStringLiteral(
               R"({"data":{"data":%1,"event":"credential-published","id":"abc"},"source":"k7-plugin-context","version":"1.0.0"})")
        .arg(entry);
}

// A text as QDebug shows it.
QString quoted(const QString &text)
{
    QString shown;
    QDebug(&shown).nospace() << text;
    return shown;
}

QString serviceLine(const QString &service)
{
    return QStringLiteral("debug: Publish credential for context  \"abc\" : Service:  ") + quoted(service);
}

QString chunkLine(const QString &entry)
{
    return QStringLiteral("debug: Credential chunk to be sent:  ") + quoted(credentialChunk(entry));
}

const QString firstLine = QStringLiteral("debug: Publish credential for context \"abc\" .");
const QString resetLine = QStringLiteral("debug: Sending chunk.");
const QString incomplete = QStringLiteral("debug: Incomplete credentials. Do not publish.");
const QString incompleteKeystore = QStringLiteral("debug: Incomplete keystore credentials. Do not publish.");

QStringList textsOf(const RecordingChunkService &bus)
{
    QStringList texts;
    for (const QJsonValue &chunk : bus.chunks)
        texts.append(jsonText(chunk));
    return texts;
}

// One request to a controller of its own, ended with the object.
class Posting final
{
public:
    Posting(ContextCredentialsController *controller, const QByteArray &body)
        : m_controller(controller)
        , m_response(QSharedPointer<Response>::create(&m_sink))
    {
        m_controller->setRequest(QSharedPointer<Request>::create(
            Method::Post, QUrl(QStringLiteral("/context/abc/credentials")), HeaderFields(), body));
        m_controller->setResponse(m_response);
    }
    ~Posting() { m_controller->release(); }
    Q_DISABLE_COPY_MOVE(Posting)

    void run() { m_controller->onNewRequest(); }

    [[nodiscard]] bool isAnswered() const { return m_sink.answers > 0; }
    // Status, headers and body of the one answer.
    [[nodiscard]] QString answer() const
    {
        if (m_sink.answers != 1)
            return QString::number(m_sink.answers);
        QString text = QString::number(m_sink.last->status);
        for (int i = 0; i < m_sink.last->headers.size(); ++i)
            text +=
                QLatin1Char(' ')
                + QString::fromUtf8(m_sink.last->headers.nameAt(i) + '=' + m_sink.last->headers.valueAt(i));
        return text + QLatin1String(" [") + QString::fromUtf8(m_sink.last->body) + QLatin1Char(']');
    }

private:
    RecordingSink m_sink;
    ContextCredentialsController *m_controller;
    QSharedPointer<Response> m_response;
};

const QString goodAnswer = QStringLiteral("200 Content-Type=application/json []");

ContextCredentialsController *controllerOn(ChunkService *bus)
{
    return new ContextCredentialsController(bus, Method::Post, QStringLiteral("abc"));
}

} // namespace

class ContextCredentialsControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void bodies_data();
    void bodies();
    void bodiesWithoutABus_data() { bodies_data(); }
    void bodiesWithoutABus();
    void linesComeBeforeTheirChunks();
    void entryTravelsWhole();
    void manyEntriesGoOutInOrder();
    void emptyIdIsRefused();
    void onlyPostDoesSomething_data();
    void onlyPostDoesSomething();
    void responseMayBeMissing();
    void storeIsLeftAlone();
    void busOfTheProxyIsUsed();
    void busThatTheProxyLostIsNotTouched();
    void busThatTheProxyReplacedIsNotTouched();
    void busMayGoFromInsideAPublishing();
    void routeHandsOnTheBus();
    void routeHandsOnABusThatHasGone();
    void routeHandsOnTheNextBus();
    void routeHandsOnABusOfNoProxy();
    void requestAndResponseAreHeldUntilTheRelease();
    void categoryIsNamed();
};

void ContextCredentialsControllerTest::bodies_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QString>("end");
    const auto row = [](const char *name, const char *body, const QStringList &entries = {},
                        const QString &end = {}) {
        QTest::newRow(name) << QByteArray(body) << entries << end;
    };
    const QString s = QStringLiteral(R"({"service":"s"})");
    const QString t = QStringLiteral(R"({"service":"t"})");
    row("empty array", "[]");
    row("empty body", "");
    row("no JSON", "[{");
    row("object", R"({"service":"s"})");
    row("text", R"("s")");
    row("garbage behind", R"([{"service":"s"}] x)");
    row("no UTF-8", "[{\"service\":\"\xff\"}]");
    row("one", R"([{"service":"s"}])", {s});
    row("two", R"([{"service":"s"},{"service":"t"}])", {s, t});
    row("the same twice", R"([{"service":"s"},{"service":"s"}])", {s, s});
    row("second incomplete", R"([{"service":"s"},{"id":"i"},{"service":"t"}])", {s}, incomplete);
    row("first incomplete", R"([{},{"service":"t"}])", {}, incomplete);
    row("last incomplete", R"([{"service":"s"},{"service":""}])", {s}, incomplete);
    row("service that is no text", R"([{"service":5},{"service":"t"}])", {}, incomplete);
    row("service that is null", R"([{"service":null}])", {}, incomplete);
    row("service in other case", R"([{"Service":"s"}])", {}, incomplete);
    for (const char *element : {"7", "null", R"("s")", "true", R"([{"service":"s"}])"}) {
        QTest::addRow("element %s", element)
            << QByteArray(R"([{"service":"s"},)") + element + R"(,{"service":"t"}])" << QStringList(s)
            << incomplete;
    }
    row("everything but a service", R"([{"id":"i","cert":"c","key":"k","keyPass":"p"}])", {}, incomplete);
    row("everything", R"([{"cert":"c","id":"i","key":"k","keyPass":"p","keystore_ref":"r","service":"s"}])",
        {QStringLiteral(
            R"({"cert":"c","id":"i","key":"k","keyPass":"p","keystore_ref":"r","service":"s"})")});
    row("keystore", R"([{"id":"i","keystore_ref":"r","service":"s"},{"service":"t"}])",
        {QStringLiteral(R"({"id":"i","keystore_ref":"r","service":"s"})"), t});
    row("keystore without an id", R"([{"keystore_ref":"r","service":"s"},{"service":"t"}])", {},
        incompleteKeystore);
    row("the same without a keystore", R"([{"service":"s"},{"service":"t"}])", {s, t});
    row("keystore with an empty id", R"([{"id":"","keystore_ref":"r","service":"s"}])", {},
        incompleteKeystore);
    row("keystore with an id that is no text", R"([{"id":1,"keystore_ref":"r","service":"s"}])", {},
        incompleteKeystore);
    row("keystore without a service", R"([{"service":"s"},{"id":"i","keystore_ref":"r"}])", {s},
        incompleteKeystore);
    row("keystore without either", R"([{"keystore_ref":"r"}])", {}, incompleteKeystore);
    row("empty keystore", R"([{"keystore_ref":"","service":"s"}])",
        {QStringLiteral(R"({"keystore_ref":"","service":"s"})")});
    row("keystore that is no text", R"([{"keystore_ref":7,"service":"s"}])",
        {QStringLiteral(R"({"keystore_ref":7,"service":"s"})")});
}

void ContextCredentialsControllerTest::bodies()
{
    QFETCH(QByteArray, body);
    QFETCH(QStringList, entries);
    QFETCH(QString, end);
    const LogCapture log(category);
    RecordingChunkService bus;
    Posting posting(controllerOn(&bus), body);
    posting.run();
    QStringList chunks{resetChunk};
    QStringList lines{firstLine, resetLine};
    for (const QString &entry : qAsConst(entries)) {
        chunks.append(credentialChunk(entry));
        lines.append(serviceLine(json(entry)[QLatin1String("service")].toString()));
        lines.append(chunkLine(entry));
    }
    if (!end.isEmpty())
        lines.append(end);
    QCOMPARE(textsOf(bus), chunks);
    QCOMPARE(linesOf(log), lines);
    QCOMPARE(posting.answer(), goodAnswer);
}

void ContextCredentialsControllerTest::bodiesWithoutABus()
{
    QFETCH(QByteArray, body);
    QFETCH(QStringList, entries);
    QFETCH(QString, end);
    const LogCapture log(category);
    Posting posting(controllerOn(nullptr), body);
    posting.run();
    QStringList lines{firstLine};
    for (const QString &entry : qAsConst(entries))
        lines.append(serviceLine(json(entry)[QLatin1String("service")].toString()));
    if (!end.isEmpty())
        lines.append(end);
    QCOMPARE(linesOf(log), lines);
    QCOMPARE(posting.answer(), goodAnswer);
}

void ContextCredentialsControllerTest::linesComeBeforeTheirChunks()
{
    const LogCapture log(category);
    RecordingChunkService bus;
    Posting posting(controllerOn(&bus), R"([{"service":"s"},{}])");
    QStringList last;
    bus.onPublish = [&](const QJsonValue & /*chunk*/) {
        QVERIFY(!posting.isAnswered());
        last.append(linesOf(log).last());
    };
    posting.run();
    QCOMPARE(last, QStringList({resetLine, chunkLine(QStringLiteral(R"({"service":"s"})"))}));
}

void ContextCredentialsControllerTest::entryTravelsWhole()
{
    const QString entry = QStringLiteral(
        R"({"cert":["c"],"data":{"data":null},"event":"e","id":"own","more":[{"x":1.5}],"service":"s","source":"x"})");
    RecordingChunkService bus;
    Posting posting(controllerOn(&bus), '[' + entry.toUtf8() + ']');
    posting.run();
    QCOMPARE(textsOf(bus), QStringList({resetChunk, credentialChunk(entry)}));
}

void ContextCredentialsControllerTest::manyEntriesGoOutInOrder()
{
    QByteArray body = "[";
    QStringList chunks{resetChunk};
    for (int i = 0; i < 1000; ++i) {
        const QString entry = QStringLiteral(R"({"service":"s%1"})").arg(i);
        body += entry.toUtf8() + ',';
        chunks.append(credentialChunk(entry));
    }
    body[body.size() - 1] = ']';
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    RecordingChunkService bus;
    Posting posting(controllerOn(&bus), body);
    posting.run();
    QLoggingCategory::setFilterRules(QString());
    QCOMPARE(textsOf(bus), chunks);
    QCOMPARE(posting.answer(), goodAnswer);
}

void ContextCredentialsControllerTest::emptyIdIsRefused()
{
    const LogCapture log(category);
    RecordingChunkService bus;
    for (const Method method : {Method::Post, Method::Get}) {
        Posting posting(new ContextCredentialsController(&bus, method, QString()), "[]");
        QString reason;
        try {
            posting.run();
        } catch (const std::runtime_error &error) {
            reason = QString::fromLatin1(error.what());
        }
        QCOMPARE(reason, QStringLiteral("Context id required."));
        QVERIFY(!posting.isAnswered());
    }
    QVERIFY(bus.chunks.isEmpty());
    QCOMPARE(linesOf(log), QStringList());
}

void ContextCredentialsControllerTest::onlyPostDoesSomething_data()
{
    QTest::addColumn<Method>("method");
    QTest::newRow("GET") << Method::Get;
    QTest::newRow("PUT") << Method::Put;
    QTest::newRow("DELETE") << Method::Delete;
    QTest::newRow("HEAD") << Method::Head;
    QTest::newRow("PATCH") << Method::Patch;
    QTest::newRow("unknown") << Method::Unknown;
}

void ContextCredentialsControllerTest::onlyPostDoesSomething()
{
    QFETCH(Method, method);
    const LogCapture log(category);
    RecordingChunkService bus;
    Posting posting(new ContextCredentialsController(&bus, method, QStringLiteral("abc")),
                    R"([{"service":"s"}])");
    posting.run();
    QVERIFY(!posting.isAnswered());
    QVERIFY(bus.chunks.isEmpty());
    QCOMPARE(linesOf(log), QStringList());
}

void ContextCredentialsControllerTest::responseMayBeMissing()
{
    RecordingChunkService bus;
    ContextCredentialsController *controller = controllerOn(&bus);
    controller->setRequest(
        QSharedPointer<Request>::create(Method::Post, QUrl(), HeaderFields(), R"([{"service":"s"}])"));
    controller->onNewRequest();
    controller->release();
    QCOMPARE(bus.chunks.size(), 2);
}

void ContextCredentialsControllerTest::storeIsLeftAlone()
{
    ContextFixture fixture;
    fixture.strategy.setChunkService(&fixture.bus);
    const Exchange exchange(fixture.strategy, Method::Post, "/context/abc/credentials", {},
                            R"([{"service":"s"}])");
    QCOMPARE(exchange.status(), 200);
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
    QVERIFY(ContextServiceProbe::lastUse(fixture.contexts).isEmpty());
}

void ContextCredentialsControllerTest::busOfTheProxyIsUsed()
{
    RecordingChunkService bus;
    ChunkServiceProxy proxy;
    proxy.setChunkService(&bus);
    ContextCredentialsController *controller = controllerOn(&bus);
    controller->setChunkServiceProxy(proxy);
    Posting posting(controller, R"([{"service":"s"}])");
    posting.run();
    QCOMPARE(bus.chunks.size(), 2);
}

void ContextCredentialsControllerTest::busThatTheProxyLostIsNotTouched()
{
    const LogCapture log(category);
    MortalBus mortal;
    ChunkServiceProxy proxy;
    proxy.setChunkService(&mortal.bus());
    ContextCredentialsController *controller = controllerOn(&mortal.bus());
    controller->setChunkServiceProxy(proxy);
    Posting posting(controller, R"([{"service":"s"}])");
    proxy.setChunkService(nullptr);
    mortal.end();
    posting.run();
    QCOMPARE(posting.answer(), goodAnswer);
    QCOMPARE(linesOf(log), QStringList({firstLine, serviceLine(QStringLiteral("s"))}));
}

void ContextCredentialsControllerTest::busThatTheProxyReplacedIsNotTouched()
{
    MortalBus mortal;
    RecordingChunkService next;
    ChunkServiceProxy proxy;
    proxy.setChunkService(&next);
    ContextCredentialsController *controller = controllerOn(&mortal.bus());
    controller->setChunkServiceProxy(proxy);
    Posting posting(controller, R"([{"service":"s"}])");
    mortal.end();
    posting.run();
    QCOMPARE(posting.answer(), goodAnswer);
    QVERIFY(next.chunks.isEmpty());
}

void ContextCredentialsControllerTest::busMayGoFromInsideAPublishing()
{
    ContextFixture fixture;
    fixture.strategy.setChunkService(&fixture.bus);
    fixture.bus.onPublish = [&fixture](const QJsonValue & /*chunk*/) {
        if (fixture.bus.chunks.size() == 2)
            fixture.proxy.setChunkService(nullptr);
    };
    const Exchange exchange(fixture.strategy, Method::Post, "/context/abc/credentials", {},
                            R"([{"service":"s"},{"service":"t"}])");
    QCOMPARE(exchange.status(), 200);
    QCOMPARE(textsOf(fixture.bus),
             QStringList({resetChunk, credentialChunk(QStringLiteral(R"({"service":"s"})"))}));
}

void ContextCredentialsControllerTest::routeHandsOnTheBus()
{
    ContextFixture fixture;
    const QByteArray body = R"([{"service":"s"}])";
    const Exchange without(fixture.strategy, Method::Post, "/context/abc/credentials", {}, body);
    QCOMPARE(without.status(), 200);
    QVERIFY(fixture.bus.chunks.isEmpty());

    fixture.strategy.setChunkService(&fixture.bus);
    const Exchange with(fixture.strategy, Method::Post, "/context/abc/credentials", {}, body);
    QCOMPARE(with.status(), 200);
    QCOMPARE(with.headers(), QStringList(QStringLiteral("Content-Type: application/json")));
    QCOMPARE(with.body(), QByteArray());
    QCOMPARE(textsOf(fixture.bus),
             QStringList({resetChunk, credentialChunk(QStringLiteral(R"({"service":"s"})"))}));
}

void ContextCredentialsControllerTest::routeHandsOnABusThatHasGone()
{
    ContextFixture fixture;
    MortalBus mortal;
    fixture.proxy.setChunkService(&mortal.bus());
    fixture.strategy.setChunkService(&mortal.bus());
    fixture.proxy.setChunkService(nullptr);
    const LogCapture log(category);
    const QByteArray body = R"([{"service":"s"},{}])";
    const QStringList lines{firstLine, serviceLine(QStringLiteral("s")), incomplete};

    // Alive and yet not used.
    const Exchange first(fixture.strategy, Method::Post, "/context/abc/credentials", {}, body);
    QCOMPARE(first.status(), 200);
    QCOMPARE(first.headers(), QStringList(QStringLiteral("Content-Type: application/json")));
    QCOMPARE(first.body(), QByteArray());
    QCOMPARE(textsOf(mortal.bus()), QStringList());
    QCOMPARE(linesOf(log), lines);

    mortal.end();
    const Exchange second(fixture.strategy, Method::Post, "/context/abc/credentials", {}, body);
    QCOMPARE(second.status(), 200);
    QCOMPARE(linesOf(log), lines + lines);
}

void ContextCredentialsControllerTest::routeHandsOnTheNextBus()
{
    ContextFixture fixture;
    MortalBus mortal;
    fixture.proxy.setChunkService(&mortal.bus());
    fixture.strategy.setChunkService(&mortal.bus());
    fixture.proxy.setChunkService(nullptr);
    mortal.end();
    // In the same place as the old one.
    mortal.begin();
    fixture.proxy.setChunkService(&mortal.bus());
    fixture.strategy.setChunkService(&mortal.bus());
    const Exchange exchange(fixture.strategy, Method::Post, "/context/abc/credentials", {}, "[]");
    QCOMPARE(textsOf(mortal.bus()), QStringList(resetChunk));
}

// A route table without a proxy that knows its bus takes it for granted.
void ContextCredentialsControllerTest::routeHandsOnABusOfNoProxy()
{
    ContextFixture fixture;
    fixture.proxy.setChunkService(nullptr);
    fixture.strategy.setChunkService(&fixture.bus);
    const Exchange exchange(fixture.strategy, Method::Post, "/context/abc/credentials", {}, "[]");
    QCOMPARE(textsOf(fixture.bus), QStringList(resetChunk));
}

void ContextCredentialsControllerTest::requestAndResponseAreHeldUntilTheRelease()
{
    RecordingSink sink;
    auto request = QSharedPointer<Request>::create(Method::Post, QUrl(), HeaderFields(), QByteArray("[]"));
    auto response = QSharedPointer<Response>::create(&sink);
    const QWeakPointer<Request> weakRequest = request;
    const QWeakPointer<Response> weakResponse = response;
    http::Controller *controller = controllerOn(nullptr);
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
}

void ContextCredentialsControllerTest::categoryIsNamed()
{
    QCOMPARE(contextCredentialsControllerLogging().categoryName(), category);
}

QTEST_GUILESS_MAIN(ContextCredentialsControllerTest)
#include "tst_contextcredentialscontroller.moc"
