#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

/// Files of contexts over real sockets: uploaded, described, watched for and downloaded.
class FilesTest : public QObject
{
    Q_OBJECT

    HostProcess host{{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)}};

    static QByteArray request(const QByteArray &line, const QByteArray &headers = {},
                              const QByteArray &body = {})
    {
        return line + " HTTP/1.1\r\nHost: localhost\r\n" + headers
               + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }
    static QByteArray part(const QByteArray &name, const QByteArray &content)
    {
        return "--Cut-Here\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" + name
               + "\"\r\nContent-Type: application/octet-stream\r\n\r\n" + content + "\r\n";
    }
    static QByteArray upload(const QByteArray &id, const QByteArrayList &parts)
    {
        return request("POST /context/" + id + "/file",
                       "Content-Type: multipart/form-data; boundary=Cut-Here\r\n",
                       parts.join() + "--Cut-Here--\r\n");
    }
    static QByteArray bodyOf(const QByteArray &answer) { return answer.mid(answer.indexOf("\r\n\r\n") + 4); }
    static QJsonObject objectOf(const QByteArray &answer)
    {
        return QJsonDocument::fromJson(bodyOf(answer)).object();
    }
    static QStringList urlsOf(const QByteArray &answer)
    {
        QStringList urls;
        const QJsonArray entries = objectOf(answer).value(QStringLiteral("attachments")).toArray();
        for (const QJsonValue &entry : entries)
            urls +=
                entry[QLatin1String("content")][QLatin1String("attachment")][QLatin1String("url")].toString();
        return urls;
    }
    static bool isProblem(const QByteArray &answer, int status)
    {
        return answer.startsWith("HTTP/1.1 " + QByteArray::number(status) + ' ')
               && answer.contains("\r\nContent-Type: application/problem+json\r\n");
    }
    [[nodiscard]] QByteArray ask(const QByteArray &bytes) const
    {
        RawClient client(host.port());
        client.send(bytes);
        return client.readAnswer();
    }
    [[nodiscard]] QByteArray get(const QByteArray &target, const QByteArray &headers = {}) const
    {
        return ask(request("GET " + target, headers));
    }
    // The header lines that the plug-in sets.
    static QByteArrayList headersOf(const QByteArray &answer)
    {
        QByteArrayList set;
        const QByteArray head = answer.left(answer.indexOf("\r\n\r\n"));
        for (const QByteArray &line : head.split('\n').mid(1)) {
            const QByteArray name = line.left(line.indexOf(':'));
            if (name != "Date" && name != "Content-Length" && name != "Connection")
                set += line.trimmed();
        }
        return set;
    }
    void park(RawClient &client, const QByteArray &id)
    {
        const QByteArray waits = "Current context has already been sent. Wait for change...";
        const int count = host.readLog().count(waits) + 1;
        client.send(request("GET /context/" + id + "/event"));
        QVERIFY(waitForLog(host, waits, count));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QProcessEnvironment environment = host.process.processEnvironment();
        environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                           QStringLiteral("ch.tessel.vexo-service.context.eventcontroller.debug=true"));
        host.process.setProcessEnvironment(environment);
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(ask(request("PUT /context/kept", {}, R"({"_id":"kept"})")).startsWith("HTTP/1.1 201 "));
        QVERIFY(ask(upload("kept", {part("a.pdf", "of a"), part("b.txt", "of b"), part("empty", "")}))
                    .startsWith("HTTP/1.1 204 "));
    }

    void uploadIsDescribedInTheContext()
    {
        QVERIFY(ask(request("PUT /context/desk", {}, R"({"_id":"desk","matchingItems":[1]})"))
                    .startsWith("HTTP/1.1 201 "));
        const QByteArray answer = ask(upload("desk", {part("report.pdf", "bytes")}));
        QVERIFY2(answer.startsWith("HTTP/1.1 204 "), answer.constData());
        QCOMPARE(headersOf(answer), QByteArrayList());
        QCOMPARE(bodyOf(answer), QByteArray());
        const QByteArray expected = R"({
    "_id": "desk",
    "attachments": [
        {
            "content": {
                "attachment": {
                    "url": "/context/desk/file/report.pdf"
                }
            },
            "resourceType": "DocumentReference",
            "status": "superseded",
            "type": {
                "coding": [
                    {
                        "code": "55107-7",
                        "display": "Addendum Document",
                        "system": "SYSTEM"
                    }
                ]
            }
        }
    ],
    "matchingItems": [
        1
    ]
}
)";
        const QByteArray system = "http://hl7.org/fhir/ValueSet/c80-doc-typecodes";
        QCOMPARE(bodyOf(get("/context/desk")), QByteArray(expected).replace("SYSTEM", system));
    }

    void uploadToAnUnknownIdMakesTheContext()
    {
        QVERIFY(ask(upload("made", {part("b", "2"), part("a", "1")})).startsWith("HTTP/1.1 204 "));
        const QByteArray answer = get("/context/made");
        QCOMPARE(objectOf(answer).keys(),
                 QStringList({QStringLiteral("_id"), QStringLiteral("attachments")}));
        QCOMPARE(urlsOf(answer), QStringList({QStringLiteral("/context/made/file/a"),
                                              QStringLiteral("/context/made/file/b")}));
    }

    void uploadWithoutAFileIsNoFailure_data()
    {
        QTest::addColumn<QByteArray>("headers");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("nothing") << QByteArray() << QByteArray();
        QTest::newRow("JSON") << QByteArray("Content-Type: application/json\r\n") << QByteArray("{}");
        QTest::newRow("no boundary") << QByteArray("Content-Type: multipart/form-data\r\n")
                                     << part("a", "1") + "--Cut-Here--\r\n";
        QTest::newRow("empty body") << QByteArray("Content-Type: multipart/form-data; boundary=X\r\n")
                                    << QByteArray();
    }
    void uploadWithoutAFileIsNoFailure()
    {
        QFETCH(QByteArray, headers);
        QFETCH(QByteArray, body);
        const QByteArray answer = ask(request("POST /context/untouched/file", headers, body));
        QVERIFY2(answer.startsWith("HTTP/1.1 204 "), answer.constData());
        QVERIFY(get("/context/untouched").startsWith("HTTP/1.1 404 "));
    }

    void downloads_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArrayList>("headers");
        QTest::addColumn<QByteArray>("body");
        const QByteArrayList none;
        const QByteArrayList pdf{"Content-Type: application/pdf"};
        const QByteArrayList base64{"Content-Encoding: base64"};
        const QByteArray octets = "Content-Type: application/octet-stream";
        QTest::newRow("raw") << QByteArray("b.txt") << QByteArray() << none << QByteArray("of b");
        QTest::newRow("PDF") << QByteArray("a.pdf") << QByteArray() << pdf << QByteArray("of a");
        QTest::newRow("empty") << QByteArray("empty") << QByteArray() << none << QByteArray();
        QTest::newRow("Base64") << QByteArray("a.pdf?download=true")
                                << QByteArray("Accept-Encoding: gzip, base64\r\n") << base64
                                << QByteArray("b2YgYQ==");
        QTest::newRow("download") << QByteArray("a.pdf?download=true") << QByteArray()
                                  << QByteArrayList{octets, "Content-Disposition: attachment"}
                                  << QByteArray("of a");
        QTest::newRow("download by another name")
            << QByteArray("a.pdf?download=true&filename=x.pdf") << QByteArray()
            << QByteArrayList{octets, "Content-Disposition: attachment; filename=x.pdf;"}
            << QByteArray("of a");
        QTest::newRow("download in capitals")
            << QByteArray("a.pdf?download=TRUE") << QByteArray() << pdf << QByteArray("of a");
        QTest::newRow("line end in the other name")
            << QByteArray("a.pdf?download=true&filename=x%0D%0AEvil:%201") << QByteArray()
            << QByteArrayList{octets, "Content-Disposition: attachment; filename=x%0D%0AEvil: 1;"}
            << QByteArray("of a");
        QTest::newRow("line end encoded twice in the other name")
            << QByteArray("a.pdf?download=true&filename=x%250D%250AEvil:1") << QByteArray()
            << QByteArrayList{octets, "Content-Disposition: attachment; filename=x%250D%250AEvil:1;"}
            << QByteArray("of a");
    }
    void downloads()
    {
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, request);
        QFETCH(QByteArrayList, headers);
        QFETCH(QByteArray, body);
        for (const QByteArray method : {"GET", "DELETE", "GET"}) {
            const QByteArray line = method + " /context/kept/file/" + target;
            const QByteArray answer = ask(FilesTest::request(line, request));
            QVERIFY2(answer.startsWith("HTTP/1.1 200 "), answer.constData());
            QCOMPARE(headersOf(answer), headers);
            QCOMPARE(bodyOf(answer), body);
        }
    }

    void failures_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("unknown context")
            << QByteArray("/context/nowhere/file/a.pdf") << 404 << QByteArray("Context not found.");
        QTest::newRow("unknown file")
            << QByteArray("/context/kept/file/A.pdf") << 404 << QByteArray("File not found.");
        QTest::newRow("known file") << QByteArray("/context/kept/file/a.pdf") << 501
                                    << QByteArray("Fhir file reprensentation not implemented.");
    }
    void failures()
    {
        QFETCH(QByteArray, target);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        const QByteArray answer = get(target, "Accept: application/fhir+json\r\n");
        QVERIFY2(answer.startsWith("HTTP/1.1 " + QByteArray::number(status) + ' '), answer.constData());
        QCOMPARE(headersOf(answer), QByteArrayList());
        QCOMPARE(bodyOf(answer), body);
    }

    // A byte order mark, encoded twice, leaves no name at all: the controller throws.
    void nameThatDecodesToNothingIsTheHostsFailure()
    {
        const QByteArray answer = get("/context/kept/file/%25EF%25BB%25BF");
        QVERIFY2(isProblem(answer, 500), answer.constData());
        QCOMPARE(bodyOf(get("/context/kept/file/a.pdf")), QByteArray("of a"));
    }

    void requestsThatNobodyTakes_data()
    {
        QTest::addColumn<QByteArray>("line");
        for (const char *line :
             {"PUT /context/kept/file/a.pdf", "PATCH /context/kept/file/a.pdf",
              "POST /context/kept/file/a.pdf", "OPTIONS /context/kept/file/a.pdf", "GET /context/kept/file",
              "GET /context/kept/file/", "PUT /context/kept/file", "DELETE /context/kept/file",
              "POST /context/kept/file?x=1", "GET /context/kept/file/a%20b", "GET /context/kept/file/a%2Fb"})
            QTest::newRow(line) << QByteArray(line);
    }
    void requestsThatNobodyTakes()
    {
        QFETCH(QByteArray, line);
        const QByteArray answer = ask(request(line, {}, "x"));
        QVERIFY2(isProblem(answer, 404), answer.constData());
        QCOMPARE(bodyOf(get("/context/kept/file/a.pdf")), QByteArray("of a"));
    }

    void headIsNotServed()
    {
        RawClient client(host.port());
        // The answer to a HEAD has no body: readAnswer() takes that of the second request in its place.
        client.send(request("HEAD /context/kept/file/a.pdf") + request("GET /context/kept"));
        const QByteArray answer = client.readAnswer();
        QVERIFY2(isProblem(answer, 404), answer.constData());
        QVERIFY2(bodyOf(answer).startsWith("HTTP/1.1 200 "), answer.constData());
    }

    void namesWithBlanksAreReachedByEncodingThemTwice()
    {
        QVERIFY(
            ask(upload("blanks", {part("a b.txt", "1"), part("\xc3\xa4", "2")})).startsWith("HTTP/1.1 204 "));
        QCOMPARE(urlsOf(get("/context/blanks")),
                 QStringList({QStringLiteral("/context/blanks/file/a b.txt"),
                              QString::fromUtf8("/context/blanks/file/\xc3\xa4")}));
        QVERIFY(isProblem(get("/context/blanks/file/a%20b.txt"), 404));
        QCOMPARE(bodyOf(get("/context/blanks/file/a%2520b.txt")), QByteArray("1"));
        QCOMPARE(bodyOf(get("/context/blanks/file/%25C3%25A4")), QByteArray("2"));
    }

    void largeBinaryFileComesBack()
    {
        QByteArray content;
        for (int i = 0; i < 20000; ++i)
            content += QByteArray("\0\r\n--\r\n--Cut-Her\xff\r\n\r\n", 21) + QByteArray::number(i);
        RawClient client(host.port());
        client.send(upload("large", {part("x", content)}));
        QVERIFY(client.readAnswer().startsWith("HTTP/1.1 204 "));
        client.send(request("GET /context/large/file/x"));
        QVERIFY(bodyOf(client.readAnswer()) == content);
        client.send(request("GET /context/large/file/x", "Accept-Encoding: base64\r\n"));
        QVERIFY(QByteArray::fromBase64(bodyOf(client.readAnswer())) == content);
    }

    void uploadWakesAPollAndANewContentDoesNot()
    {
        QVERIFY(ask(request("PUT /context/watched", {}, R"({"_id":"watched"})")).startsWith("HTTP/1.1 201 "));
        QVERIFY(get("/context/watched/event").startsWith("HTTP/1.1 200 "));
        RawClient poll(host.port());
        park(poll, "watched");
        QVERIFY(ask(upload("watched", {part("a", "first")})).startsWith("HTTP/1.1 204 "));
        const QByteArray woken = poll.readAnswer();
        QVERIFY2(woken.startsWith("HTTP/1.1 200 "), woken.constData());
        QCOMPARE(urlsOf(woken), QStringList(QStringLiteral("/context/watched/file/a")));

        park(poll, "watched");
        QVERIFY(ask(upload("watched", {part("a", "second")})).startsWith("HTTP/1.1 204 "));
        QCOMPARE(bodyOf(get("/context/watched/file/a")), QByteArray("second"));
        QVERIFY(!poll.isReadable(0));
        QVERIFY(ask(upload("watched", {part("a", "third"), part("b", "new")})).startsWith("HTTP/1.1 204 "));
        QCOMPARE(urlsOf(poll.readAnswer()).size(), 2);
    }

    // Each file is a change of its own, but one poll is answered once.
    void severalFilesWakeAPollWithTheFirst()
    {
        QVERIFY(ask(request("PUT /context/several", {}, R"({"_id":"several"})")).startsWith("HTTP/1.1 201 "));
        QVERIFY(get("/context/several/event").startsWith("HTTP/1.1 200 "));
        RawClient poll(host.port());
        park(poll, "several");
        QVERIFY(ask(upload("several", {part("b", "2"), part("a", "1"), part("c", "3")}))
                    .startsWith("HTTP/1.1 204 "));
        QCOMPARE(urlsOf(poll.readAnswer()), QStringList(QStringLiteral("/context/several/file/a")));
        QCOMPARE(urlsOf(get("/context/several")).size(), 3);
        park(poll, "several");
        QVERIFY(ask(upload("several", {part("d", "4")})).startsWith("HTTP/1.1 204 "));
        QCOMPARE(urlsOf(poll.readAnswer()).size(), 4);
    }

    // What is uploaded stays until the host ends, and a context that comes back under the id has it again.
    void filesOutliveTheirContext()
    {
        QVERIFY(ask(upload("gone", {part("a", "1")})).startsWith("HTTP/1.1 204 "));
        QVERIFY(ask(request("DELETE /context/gone")).startsWith("HTTP/1.1 204 "));
        QCOMPARE(bodyOf(get("/context/gone/file/a")), QByteArray("Context not found."));
        QVERIFY(ask(request("PUT /context/gone", {}, "{}")).startsWith("HTTP/1.1 201 "));
        QCOMPARE(urlsOf(get("/context/gone")), QStringList());
        QCOMPARE(bodyOf(get("/context/gone/file/a")), QByteArray("1"));
    }
};

QTEST_GUILESS_MAIN(FilesTest)
#include "tst_files.moc"
