#include "contextfixture.h"

#include "controller/contextformcontroller.h"

#include <http/server/response.h>

#include <QtTest>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

class ContextFormControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsAnswered_data();
    void nothingIsAnswered();
    void requestAndResponseAreHeldUntilTheRelease();
    void needsNeitherRequestNorResponse();
    void categoryIsNamed();
};

void ContextFormControllerTest::nothingIsAnswered_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("JSON") << QByteArray("/context/abc$form") << QByteArray("application/json")
                          << QByteArray(R"({"a":1})");
    QTest::newRow("no JSON") << QByteArray("/context/abc$form") << QByteArray("") << QByteArray("{");
    QTest::newRow("empty body") << QByteArray("/context/abc/$form") << QByteArray("") << QByteArray();
    QTest::newRow("unknown context") << QByteArray("/context/xyz$form") << QByteArray("") << QByteArray("{}");
}

void ContextFormControllerTest::nothingIsAnswered()
{
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    ContextFixture fixture;
    const QJsonObject context = object(R"({"k":1})");
    fixture.contexts.setContext(QStringLiteral("abc"), context);
    fixture.bus.chunks.clear();
    const LogCapture log("ch.tessel.vexo-service.context.controller.form");
    Exchange exchange(fixture.strategy, Method::Post, target, {{"Content-Type", contentType}}, body);
    QVERIFY(dynamic_cast<ContextFormController *>(exchange.controller()) != nullptr);
    QVERIFY(!exchange.isAnswered());
    QVERIFY(!exchange.hasEndedItself());
    exchange.leave();
    QVERIFY(!exchange.isAnswered());
    QVERIFY(fixture.bus.chunks.isEmpty());
    QCOMPARE(fixture.contexts.getContextKeys(), QStringList(QStringLiteral("abc")));
    QCOMPARE(fixture.contexts.getContext(QStringLiteral("abc")), QJsonValue(context));
    QCOMPARE(linesOf(log), QStringList());
}

void ContextFormControllerTest::requestAndResponseAreHeldUntilTheRelease()
{
    ContextFixture fixture;
    RecordingSink sink;
    auto request = QSharedPointer<Request>::create(Method::Post, QUrl(QStringLiteral("/context/abc$form")),
                                                   HeaderFields(), QByteArray());
    auto response = QSharedPointer<Response>::create(&sink);
    const QWeakPointer<Request> weakRequest = request;
    const QWeakPointer<Response> weakResponse = response;
    http::Controller *controller = new ContextFormController(fixture.contexts, QStringLiteral("abc"));
    controller->setRequest(request);
    controller->setResponse(response);
    request.clear();
    response.clear();
    controller->onNewRequest();
    QVERIFY(!weakRequest.isNull());
    QVERIFY(!weakResponse.isNull());
    QVERIFY(weakResponse.toStrongRef()->isOpen());
    controller->release();
    QVERIFY(weakRequest.isNull());
    QVERIFY(weakResponse.isNull());
    QCOMPARE(sink.answers, 0);
}

void ContextFormControllerTest::needsNeitherRequestNorResponse()
{
    ContextFixture fixture;
    http::Controller *controller = new ContextFormController(fixture.contexts, QString());
    controller->onNewRequest();
    controller->release();
    QVERIFY(fixture.contexts.getContextKeys().isEmpty());
}

void ContextFormControllerTest::categoryIsNamed()
{
    QCOMPARE(contextFormControllerLogging().categoryName(), "ch.tessel.vexo-service.context.controller.form");
}

QTEST_GUILESS_MAIN(ContextFormControllerTest)
#include "tst_contextformcontroller.moc"
