#include "uploadhost.h"

#include <QtTest>

/// What senseless and hostile uploads give: always a 204, and nothing lost for others.
class UploadBadInputTest : public QObject
{
    Q_OBJECT

    UploadHost host;
    int contexts = 0;

    /// A body of one file whose disposition line holds `disposition`, for "boundary=X".
    static QByteArray onePart(const QByteArray &disposition, const QByteArray &content = "content")
    {
        return "--X\r\nContent-Disposition: form-data; name=\"file\"" + disposition + "\r\n\r\n" + content
               + "\r\n--X--\r\n";
    }
    /// Uploads to a context of its own; its id, or null if the answer is anything but an empty 204.
    [[nodiscard]] QString upload(const QByteArray &typeLine, const QByteArray &body)
    {
        const QString id = QStringLiteral("upload%1").arg(++contexts);
        if (!host.makeContext(id))
            return {};
        const QByteArray answer = host.ask("POST /context/" + id.toLatin1() + "/file", typeLine, body);
        return answer.startsWith("HTTP/1.1 204 ") && UploadHost::bodyOf(answer).isEmpty() ? id : QString();
    }
    /// Where the context differs that no test touches.
    [[nodiscard]] QByteArray keptDifference() const
    {
        return host.difference(QStringLiteral("kept"), Files{{QStringLiteral("report.txt"), "kept"}});
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY(host.ask("POST /context/kept/file", "Content-Type: multipart/form-data; boundary=X\r\n",
                         onePart("; filename=\"report.txt\"", "kept"))
                    .startsWith("HTTP/1.1 204 "));
        QCOMPARE(keptDifference(), QByteArray());
    }

    void bodies_data()
    {
        QTest::addColumn<QByteArray>("typeLine");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<Files>("files");
        const QByteArray form = "Content-Type: multipart/form-data";
        const QByteArray type = form + "; boundary=X\r\n";
        const QByteArray report = onePart("; filename=\"report.txt\"");
        const QString name = QStringLiteral("report.txt");
        const QString nameless = QStringLiteral("0");
        const QByteArray garbage = QByteArray::fromHex("0dff000a8aff2d2d0d0a").repeated(6000);

        QTest::newRow("no body") << type << QByteArray() << Files{};
        QTest::newRow("shorter than the delimiter") << type << QByteArray("--X") << Files{};
        QTest::newRow("a delimiter alone") << type << QByteArray("--X\r\n") << Files{};
        QTest::newRow("no part between the delimiters") << type << QByteArray("--X--\r\n") << Files{};
        QTest::newRow("the end of the headers ends the body")
            << type << QByteArray("--X\r\nContent-Disposition: form-data; filename=a\r\n\r\n") << Files{};
        QTest::newRow("no Content-Type") << QByteArray() << report << Files{};
        QTest::newRow("no boundary") << form + "\r\n" << report << Files{};
        QTest::newRow("boundary in capitals") << form + "; BOUNDARY=X\r\n" << report << Files{};
        QTest::newRow("JSON") << QByteArray("Content-Type: application/json\r\n") << QByteArray(R"({"a":1})")
                              << Files{};
        QTest::newRow("an empty boundary is found where a line ends in two dashes")
            << form + "; boundary=\r\n"
            << report << Files{{name, "content\r\n-"}};
        QTest::newRow("a boundary in quotes is not found") << form + "; boundary=\"X\"\r\n"
                                                           << report << Files{{name, "content\r\n--X--\r\n"}};
        QTest::newRow("a boundary with a parameter behind it is not found")
            << form + "; boundary=X; charset=utf-8\r\n"
            << report << Files{{name, "content\r\n--X--\r\n"}};
        QTest::newRow("another boundary") << form + "; boundary=Y\r\n"
                                          << report << Files{{name, "content\r\n--X--\r\n"}};
        QTest::newRow("line feeds alone end no headers")
            << type << QByteArray(report).replace("\r\n", "\n") << Files{};
        QTest::newRow("garbage") << type << garbage << Files{};
        QTest::newRow("garbage with an end of headers in it")
            << type << garbage + "x\r\n\r\n" + garbage << Files{{nameless, garbage}};
        QTest::newRow("no disposition")
            << type << QByteArray("--X\r\nA: b\r\n\r\ncontent\r\n--X--\r\n") << Files{{nameless, "content"}};
        QTest::newRow("a disposition without a colon")
            << type << QByteArray("--X\r\nContent-Disposition\r\n\r\ncontent\r\n--X--\r\n")
            << Files{{nameless, "content"}};
    }
    void bodies()
    {
        QFETCH(QByteArray, typeLine);
        QFETCH(QByteArray, body);
        QFETCH(Files, files);
        const QString id = upload(typeLine, body);
        QVERIFY(!id.isNull());
        QCOMPARE(host.difference(id, files), QByteArray());
        QCOMPARE(keptDifference(), QByteArray());
    }

    void names_data()
    {
        QTest::addColumn<QByteArray>("disposition");
        QTest::addColumn<QString>("name");
        QTest::newRow("none") << QByteArray() << QStringLiteral("0");
        QTest::newRow("empty") << QByteArray("; filename=\"\"") << QStringLiteral("0");
        QTest::newRow("one quote") << QByteArray("; filename=\"") << QStringLiteral("0");
        QTest::newRow("extended") << QByteArray("; filename*=utf-8''a.txt") << QStringLiteral("0");
        QTest::newRow("up and out") << QByteArray("; filename=\"../../etc/passwd\"")
                                    << QStringLiteral("../../etc/passwd");
        QTest::newRow("absolute") << QByteArray("; filename=\"/etc/passwd\"")
                                  << QStringLiteral("/etc/passwd");
        QTest::newRow("backslashes") << QByteArray("; filename=\"..\\..\\a.txt\"")
                                     << QStringLiteral("..\\..\\a.txt");
        QTest::newRow("a drive, whose colon ends the name")
            << QByteArray("; filename=\"C:\\a.txt\"") << QStringLiteral("C");
        QTest::newRow("control characters") << QByteArray("; filename=\"a\x01\x1b[2J\x7f.txt\"")
                                            << QStringLiteral("a\u0001\u001b[2J\u007f.txt");
        QTest::newRow("NUL") << "; filename=\"a" + QByteArray(1, '\0') + "b.txt\""
                             << QStringLiteral("a\0b.txt");
        QTest::newRow("a carriage return")
            << QByteArray("; filename=\"a\rb.txt\"") << QStringLiteral("a\rb.txt");
        QTest::newRow("a line feed ends the line")
            << QByteArray("; filename=\"a\nb.txt\"") << QStringLiteral("a");
        QTest::newRow("a line end ends the line")
            << QByteArray("; filename=\"a\r\nb.txt\"") << QStringLiteral("a");
        QTest::newRow("a second disposition behind a line feed wins")
            << QByteArray("; filename=\"a\nContent-Disposition: form-data; filename=\"b.txt\"")
            << QStringLiteral("b.txt");
        QTest::newRow("invalid UTF-8")
            << QByteArray("; filename=\"a\xff.txt\"") << QStringLiteral("a\ufffd.txt");
        QTest::newRow("something behind it")
            << QByteArray("; filename=\"a.txt\"; size=7") << QStringLiteral("a.txt\"; size=7");
        QTest::newRow("a URL of its own")
            << QByteArray("; filename=\"?download=true#x\"") << QStringLiteral("?download=true#x");
        QTest::newRow("places of a template")
            << QByteArray("; filename=\"%1%2.txt\"") << QStringLiteral("%1%2.txt");
        QTest::newRow("long") << "; filename=\"" + QByteArray(3000, 'a') + '"'
                              << QString(3000, QLatin1Char('a'));
    }
    void names()
    {
        QFETCH(QByteArray, disposition);
        QFETCH(QString, name);
        const QString id = upload("Content-Type: multipart/form-data; boundary=X\r\n", onePart(disposition));
        QVERIFY(!id.isNull());
        QCOMPARE(host.difference(id, Files{{name, "content"}}), QByteArray());
        QCOMPARE(keptDifference(), QByteArray());
    }

    // What comes of a file is stored, and all that is not a whole closing delimiter belongs to it. One that
    // has no line end behind it costs the last byte, deliberately.
    void cutAtEveryByte()
    {
        const QByteArray whole = onePart("; filename=\"report.txt\"");
        const int content = whole.indexOf("\r\n\r\n") + 4;
        for (int size = 0; size <= whole.size(); ++size) {
            Files expected;
            if (size == whole.size())
                expected = {{QStringLiteral("report.txt"), "content"}};
            else if (size >= whole.size() - 2)
                expected = {{QStringLiteral("report.txt"), "conten"}};
            else if (size > content)
                expected = {{QStringLiteral("report.txt"), whole.mid(content, size - content)}};
            const QString id = upload("Content-Type: multipart/form-data; boundary=X\r\n", whole.left(size));
            QVERIFY(!id.isNull());
            QCOMPARE(host.difference(id, expected), QByteArray());
        }
        QCOMPARE(keptDifference(), QByteArray());
    }

    void aClientThatLeavesMidwayStoresNothing()
    {
        QVERIFY(host.makeContext(QStringLiteral("left")));
        const QByteArray request = UploadHost::request("POST /context/left/file",
                                                       "Content-Type: multipart/form-data; boundary=X\r\n",
                                                       onePart("; filename=\"report.txt\""));
        for (int missing : {1, 5, 20}) {
            RawClient client(host.port());
            client.send(request.left(request.size() - missing));
            QVERIFY(client.awaitReceipt());
            client.reset();
        }
        QCOMPARE(host.context(QStringLiteral("left")), QJsonObject());
        QCOMPARE(keptDifference(), QByteArray());
    }

    void othersAreServedWhileAnUploadDawdles()
    {
        QVERIFY(host.makeContext(QStringLiteral("slow")));
        const QByteArray request = UploadHost::request("POST /context/slow/file",
                                                       "Content-Type: multipart/form-data; boundary=X\r\n",
                                                       onePart("; filename=\"report.txt\""));
        RawClient slow(host.port());
        for (const char byte : request) {
            QVERIFY(host.context(QStringLiteral("slow")).isEmpty());
            slow.send(QByteArray(1, byte));
        }
        QVERIFY(slow.readAnswer().startsWith("HTTP/1.1 204 "));
        QCOMPARE(host.difference(QStringLiteral("slow"), Files{{QStringLiteral("report.txt"), "content"}}),
                 QByteArray());
        QCOMPARE(keptDifference(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(UploadBadInputTest)
#include "tst_uploadbadinput.moc"
