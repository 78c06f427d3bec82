#include "contextfixture.h"

#include "controller/contextfilepostcontroller.h"
#include "jsontext.h"

#include <http/server/response.h>

#include <QtTest>

#include <stdexcept>

using http::server::HeaderFields;
using http::server::Request;
using http::server::Response;
using Method = Request::HttpMethod;

Q_DECLARE_METATYPE(HeaderFields)

namespace {

const char *const category = "ch.tessel.vexo-service.context.file.post.controller";
const char *const target = "/context/abc/file";
const QStringList uploading{QStringLiteral(R"(debug: Uploading file to context "abc" .)")};

QString id()
{
    return QStringLiteral("abc");
}

QByteArray part(const QByteArray &name, const QByteArray &content)
{
    return "--X\r\nContent-Disposition: form-data; name=\"f\"; filename=\"" + name
           + "\"\r\nContent-Type: application/pdf\r\n\r\n" + content + "\r\n";
}

QByteArray bodyOf(const QByteArrayList &parts)
{
    return parts.join() + "--X--\r\n";
}

HeaderFields typed(const QByteArray &contentType = "multipart/form-data; boundary=X")
{
    return {{"Content-Type", contentType}};
}

QJsonArray attachments(ContextFixture &fixture)
{
    return fixture.contexts.getContext(id())[QLatin1String("attachments")].toArray();
}

QStringList urls(ContextFixture &fixture)
{
    QStringList all;
    for (const QJsonValue &entry : attachments(fixture))
        all += entry[QLatin1String("content")][QLatin1String("attachment")][QLatin1String("url")].toString();
    return all;
}

} // namespace

class ContextFilePostControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void attachesAFileOfTheOneType()
    {
        ContextFixture fixture;
        fixture.contexts.setContext(id(), object(R"({"_id":"abc","matchingItems":[1]})"));
        const int chunks = fixture.bus.chunks.size();
        const QByteArray content("\0\r\n--\r\n--\xff\r\n\r\n", 13);
        const LogCapture log(category);
        const Exchange exchange(fixture.strategy, Method::Post, target, typed(),
                                bodyOf({part("a.pdf", content)}));
        QCOMPARE(exchange.status(), 204);
        QCOMPARE(exchange.headers(), QStringList());
        QCOMPARE(exchange.body(), QByteArray());
        QCOMPARE(linesOf(log), uploading);
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("a.pdf")), content);
        QCOMPARE(fixture.bus.chunks.size(), chunks);
        const QJsonObject coding{
            {QStringLiteral("code"), QStringLiteral("55107-7")},
            {QStringLiteral("display"), QStringLiteral("Addendum Document")},
            {QStringLiteral("system"), QStringLiteral("http://hl7.org/fhir/ValueSet/c80-doc-typecodes")}};
        QCOMPARE(
            fixture.contexts.getContext(id()),
            json(QStringLiteral(R"({"_id":"abc","attachments":[{"content":{"attachment":)"
                                R"({"url":"/context/abc/file/a.pdf"}},"resourceType":"DocumentReference",)"
                                R"("status":"superseded","type":{"coding":[%1]}}],"matchingItems":[1]})")
                     .arg(jsonText(coding))));
    }

    void filesAreAddedByName()
    {
        ContextFixture fixture;
        const Exchange exchange(fixture.strategy, Method::Post, target, typed(),
                                bodyOf({part("c", "3"), part("a", "1"), part("B", "2")}));
        QCOMPARE(exchange.status(), 204);
        QCOMPARE(urls(fixture),
                 QStringList({QStringLiteral("/context/abc/file/B"), QStringLiteral("/context/abc/file/a"),
                              QStringLiteral("/context/abc/file/c")}));
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("a")), QByteArray("1"));
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("B")), QByteArray("2"));
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("c")), QByteArray("3"));
        const QJsonArray entries = attachments(fixture);
        for (const QJsonValue &entry : entries)
            QCOMPARE(entry[QLatin1String("type")], entries.at(0)[QLatin1String("type")]);
    }

    void partsOfOneNameLeaveTheLast()
    {
        ContextFixture fixture;
        const Exchange exchange(fixture.strategy, Method::Post, target, typed(),
                                bodyOf({part("a", "1"), part("a", "2")}));
        QCOMPARE(exchange.status(), 204);
        QCOMPARE(attachments(fixture).size(), 1);
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("a")), QByteArray("2"));
    }

    void unknownContextIsMade()
    {
        ContextFixture fixture;
        const Exchange exchange(fixture.strategy, Method::Post, target, typed(),
                                bodyOf({part("a", "1"), part("b", "2")}));
        QCOMPARE(exchange.status(), 204);
        const QJsonObject context = fixture.contexts.getContext(id()).toObject();
        QCOMPARE(context.keys(), QStringList({QStringLiteral("_id"), QStringLiteral("attachments")}));
        QCOMPARE(context.value(QStringLiteral("_id")), QJsonValue(id()));
        // The first file makes it, the second is no change of its data.
        QCOMPARE(fixture.bus.chunks.size(), 1);
        QCOMPARE(urls(fixture).size(), 2);
    }

    void secondUploadReplacesTheBytesAlone()
    {
        ContextFixture fixture;
        const QByteArray first = bodyOf({part("a.pdf", "first")});
        QCOMPARE(Exchange(fixture.strategy, Method::Post, target, typed(), first).status(), 204);
        const QJsonValue before = fixture.contexts.getContext(id());
        QSignalSpy changes(&fixture.contexts, &ContextService::contextChanged);
        const QByteArray second = bodyOf({part("a.pdf", "second")});
        QCOMPARE(Exchange(fixture.strategy, Method::Post, target, typed(), second).status(), 204);
        QCOMPARE(changes.size(), 0);
        QCOMPARE(fixture.contexts.getContext(id()), before);
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("a.pdf")), QByteArray("second"));
    }

    void uploadWakesAPollOnce()
    {
        ContextFixture fixture;
        fixture.contexts.setContext(id(), object(R"({"_id":"abc"})"));
        const QByteArray event = "/context/abc/event";
        QVERIFY(Exchange(fixture.strategy, Method::Get, event).isAnswered());
        const Exchange poll(fixture.strategy, Method::Get, event);
        QVERIFY(!poll.isAnswered());
        const QByteArray body = bodyOf({part("a.pdf", "first")});
        QCOMPARE(Exchange(fixture.strategy, Method::Post, target, typed(), body).status(), 204);
        QVERIFY(poll.isAnswered());
        QCOMPARE(object(poll.body()), fixture.contexts.getContext(id()).toObject());
        const Exchange next(fixture.strategy, Method::Get, event);
        QCOMPARE(Exchange(fixture.strategy, Method::Post, target, typed(), body).status(), 204);
        QVERIFY(!next.isAnswered());
    }

    // The poll is told of the first file alone, and the next one waits, deliberately: what was delivered last
    // is what the context held last.
    void everyFileIsAChangeOfItsOwn()
    {
        ContextFixture fixture;
        fixture.contexts.setContext(id(), object(R"({"_id":"abc"})"));
        const QByteArray event = "/context/abc/event";
        QVERIFY(Exchange(fixture.strategy, Method::Get, event).isAnswered());
        const Exchange poll(fixture.strategy, Method::Get, event);
        const LogCapture log(category);
        QVector<QStringList> seen;
        QVector<QStringList> logged;
        QObject::connect(&fixture.contexts, &ContextService::contextChanged, &fixture.contexts, [&] {
            seen.append(urls(fixture));
            logged.append(linesOf(log));
        });
        const Exchange exchange(fixture.strategy, Method::Post, target, typed(),
                                bodyOf({part("c", "3"), part("a", "1"), part("b", "2")}));
        QCOMPARE(exchange.status(), 204);
        const QString a = QStringLiteral("/context/abc/file/a");
        const QString b = QStringLiteral("/context/abc/file/b");
        const QString c = QStringLiteral("/context/abc/file/c");
        QCOMPARE(seen, QVector<QStringList>({{a}, {a, b}, {a, b, c}}));
        QCOMPARE(logged, QVector<QStringList>(3, uploading));
        QCOMPARE(object(poll.body()).value(QLatin1String("attachments")).toArray().size(), 1);
        QVERIFY(!Exchange(fixture.strategy, Method::Get, event).isAnswered());
    }

    void contextThatIsNoObjectTakesTheBytes()
    {
        ContextFixture fixture;
        fixture.contexts.setContext(id(), QJsonValue(5));
        const QByteArray body = bodyOf({part("a", "1")});
        QCOMPARE(Exchange(fixture.strategy, Method::Post, target, typed(), body).status(), 204);
        QCOMPARE(fixture.contexts.getContext(id()), QJsonValue(5));
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("a")), QByteArray("1"));
    }

    void contentTypesWithoutABoundaryBringNoFile_data()
    {
        QTest::addColumn<HeaderFields>("headers");
        QTest::newRow("none") << HeaderFields();
        QTest::newRow("empty") << typed("");
        QTest::newRow("multipart alone") << typed("multipart/form-data");
        QTest::newRow("other case") << typed("multipart/form-data; Boundary=X");
        QTest::newRow("blank in front of the sign") << typed("multipart/form-data; boundary =X");
        QTest::newRow("JSON") << typed("application/json");
        QTest::newRow("in another header") << HeaderFields{{"Accept", "boundary=X"}};
    }
    void contentTypesWithoutABoundaryBringNoFile()
    {
        QFETCH(HeaderFields, headers);
        ContextFixture fixture;
        const LogCapture log(category);
        const Exchange exchange(fixture.strategy, Method::Post, target, headers, bodyOf({part("a", "1")}));
        QCOMPARE(exchange.status(), 204);
        QCOMPARE(exchange.headers(), QStringList());
        QCOMPARE(exchange.body(), QByteArray());
        QCOMPARE(linesOf(log), uploading);
        QCOMPARE(fixture.contexts.getContextKeys(), QStringList());
        QVERIFY(fixture.bus.chunks.isEmpty());
    }

    // The boundary is everything behind the first mark up to the next one.
    void boundaryIsTakenAsItStands_data()
    {
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<QByteArray>("delimiter");
        const auto row = [](const char *contentType, const char *delimiter) {
            QTest::newRow(contentType) << QByteArray(contentType) << QByteArray(delimiter);
        };
        row("multipart/form-data; boundary=X", "--X");
        row("multipart/form-data; boundary=\"X\"", "--\"X\"");
        row("multipart/form-data; boundary=X; charset=utf-8", "--X; charset=utf-8");
        row("multipart/form-data; boundary= X", "-- X");
        row("multipart/form-data; boundary=--X", "----X");
        row("multipart/form-data; boundary=", "--");
        row("multipart/form-data; boundary=X; boundary=Y", "--X; ");
        row("text/plain; boundary=X", "--X");
        row("boundary=X", "--X");
        row("xboundary=X", "--X");
    }
    void boundaryIsTakenAsItStands()
    {
        QFETCH(QByteArray, contentType);
        QFETCH(QByteArray, delimiter);
        ContextFixture fixture;
        const QByteArray disposition = "\r\nContent-Disposition: form-data; filename=\"";
        const QByteArray body = delimiter + disposition + "a\"\r\n\r\nfirst\r\n" + delimiter + disposition
                                + "b\"\r\n\r\nsecond\r\n" + delimiter + "--\r\n";
        const Exchange exchange(fixture.strategy, Method::Post, target, typed(contentType), body);
        QCOMPARE(exchange.status(), 204);
        QCOMPARE(urls(fixture).size(), 2);
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("a")), QByteArray("first"));
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("b")), QByteArray("second"));
    }

    // Quotes belong to the boundary, so that a body without them is one file up to its end.
    void quotedBoundaryOfAPlainBodyCutsNothing()
    {
        ContextFixture fixture;
        const QByteArray body = bodyOf({part("a", "1")});
        const QByteArray contentType = "multipart/form-data; boundary=\"X\"";
        QCOMPARE(Exchange(fixture.strategy, Method::Post, target, typed(contentType), body).status(), 204);
        QCOMPARE(fixture.contexts.getFile(id(), QStringLiteral("a")), QByteArray("1\r\n--X--\r\n"));
    }

    void bodiesWithoutAFile_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("shorter than the delimiter") << QByteArray("--");
        QTest::newRow("delimiter alone") << QByteArray("--X\r\n");
        QTest::newRow("closing delimiter alone") << QByteArray("--X--\r\n");
        QTest::newRow("no end of the header") << QByteArray("--X\r\nContent-Disposition: a\r\n");
        QTest::newRow("nothing behind the header") << QByteArray("--X\r\nContent-Disposition: a\r\n\r\n");
        QTest::newRow("JSON") << QByteArray(R"({"a":1})");
    }
    void bodiesWithoutAFile()
    {
        QFETCH(QByteArray, body);
        ContextFixture fixture;
        const Exchange exchange(fixture.strategy, Method::Post, target, typed(), body);
        QCOMPARE(exchange.status(), 204);
        QCOMPARE(exchange.body(), QByteArray());
        QCOMPARE(fixture.contexts.getContextKeys(), QStringList());
        QVERIFY(fixture.bus.chunks.isEmpty());
    }

    void emptyFileIsThere()
    {
        ContextFixture fixture;
        const QByteArray body = bodyOf({part("empty", "")});
        QCOMPARE(Exchange(fixture.strategy, Method::Post, target, typed(), body).status(), 204);
        const Exchange download(fixture.strategy, Method::Get, "/context/abc/file/empty");
        QCOMPARE(download.status(), 200);
        QCOMPARE(download.body(), QByteArray());
    }

    void emptyIdThrows()
    {
        ContextFixture fixture;
        const LogCapture log(category);
        auto *controller = new ContextFilePostController(fixture.contexts, QString());
        QByteArray thrown;
        try {
            controller->onNewRequest();
        } catch (const std::runtime_error &error) {
            thrown = error.what();
        }
        controller->release();
        QCOMPARE(thrown, QByteArray("Context id required."));
        QCOMPARE(linesOf(log), QStringList());
        QCOMPARE(fixture.contexts.getContextKeys(), QStringList());
    }

    void releaseDropsRequestAndResponse()
    {
        ContextFixture fixture;
        RecordingSink sink;
        auto request = QSharedPointer<Request>::create(Method::Post, QUrl(QString::fromLatin1(target)),
                                                       typed(), bodyOf({part("a", "1")}));
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

QTEST_GUILESS_MAIN(ContextFilePostControllerTest)
#include "tst_contextfilepostcontroller.moc"
