#include "uploadhost.h"

#include <QtTest>

#include <QRandomGenerator>

#include <vector>

/// What curl uploads, and what it gets back.
class CurlUploadsTest : public QObject
{
    Q_OBJECT

    UploadHost host;
    QTemporaryDir directory;
    int contexts = 0;

    /// What curl prints, without the configuration of whoever runs the test and without a proxy.
    [[nodiscard]] QByteArray curl(const QStringList &arguments) const
    {
        static const QStringList always{QStringLiteral("--disable"), QStringLiteral("--silent"),
                                        QStringLiteral("--show-error"), QStringLiteral("--noproxy"),
                                        QStringLiteral("*")};
        QProcess process;
        process.setWorkingDirectory(directory.path());
        process.start(QStringLiteral("curl"), always + arguments);
        if (!process.waitForFinished(90000) || process.exitCode() != 0)
            return "curl: " + process.errorString().toUtf8() + process.readAllStandardError();
        return process.readAllStandardOutput();
    }
    /// The status and the body of the answer.
    [[nodiscard]] QByteArray upload(const QString &id, const QStringList &arguments) const
    {
        return curl(QStringList{QStringLiteral("--write-out"), QStringLiteral("%{http_code}")} + arguments
                    + QStringList{host.fileUrl(id)});
    }
    [[nodiscard]] QByteArray download(const QByteArray &path, const QStringList &arguments = {}) const
    {
        return curl(QStringList{QStringLiteral("--include")} + arguments
                    + QStringList{QStringLiteral("http://127.0.0.1:%1").arg(host.port())
                                  + QString::fromLatin1(path)});
    }
    void write(const QString &name, const QByteArray &content) const
    {
        QFile file(directory.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), qint64{content.size()});
    }
    /// The value of a header of an answer, null if there is none.
    static QByteArray header(const QByteArray &answer, const QByteArray &name)
    {
        const int begin = answer.left(answer.indexOf("\r\n\r\n") + 2).indexOf("\r\n" + name + ": ");
        if (begin < 0)
            return {};
        const int value = begin + 4 + name.size();
        return answer.mid(value, answer.indexOf("\r\n", value) - value);
    }
    static QByteArray everyByte()
    {
        QByteArray bytes;
        for (int byte = 0; byte < 256; ++byte)
            bytes += static_cast<char>(byte);
        return bytes + "\r\n\r\n--\r\n\r\r\n\r\n--";
    }

    /// One data row: `files` are there, `arguments` send them, and the context has `stored` then.
    void uploadAndReadBack()
    {
        QFETCH(Files, files);
        QFETCH(QStringList, arguments);
        QFETCH(Files, stored);
        const QString id = QStringLiteral("upload%1").arg(++contexts);
        QVERIFY(host.makeContext(id));
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            write(file.key(), file.value());

        QCOMPARE(upload(id, arguments), QByteArray("204"));
        QCOMPARE(host.difference(id, stored), QByteArray());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(directory.isValid());
        QVERIFY2(host.start(), host.readLog().constData());
    }

    void filesArriveAsTheyAre_data()
    {
        QTest::addColumn<Files>("files");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<Files>("stored");
        const QString form = QStringLiteral("--form");
        const QString report = QStringLiteral("report.txt");
        const QString a = QStringLiteral("a.txt");
        const QString b = QStringLiteral("b.txt");
        const QString c = QStringLiteral("c.txt");
        const QStringList sendReport{form, QStringLiteral("file=@report.txt")};
        const Files oneFile{{report, "first line\nsecond line\n"}};

        QTest::newRow("one file") << oneFile << sendReport << oneFile;
        const Files three{{a, "first"}, {b, "second\r\n"}, {c, "\nthird"}};
        QTest::newRow("three files are listed in the order of their names")
            << three << QStringList{form, QStringLiteral("file=@c.txt"), form, QStringLiteral("file=@a.txt"),
                                    form, QStringLiteral("other=@b.txt")}
            << three;
        const Files blank{{QStringLiteral("lab report.txt"), "blank"}};
        QTest::newRow("a name with a blank")
            << blank << QStringList{form, QStringLiteral("file=@lab report.txt")} << blank;
        const Files unicode{{QStringLiteral("\u00dcberweisung f\u00fcr Zo\u00eb \u20ac.txt"), "UTF-8"}};
        QTest::newRow("a name outside ASCII")
            << unicode << QStringList{form, QStringLiteral("file=@") + unicode.firstKey()} << unicode;
        const Files pdf{{QStringLiteral("report.pdf"), "%PDF-1.7\n" + everyByte() + "\n%%EOF\n"}};
        QTest::newRow("a PDF") << pdf << QStringList{form, QStringLiteral("file=@report.pdf")} << pdf;
        const Files empty{{QStringLiteral("empty.bin"), ""}};
        QTest::newRow("no bytes") << empty << QStringList{form, QStringLiteral("file=@empty.bin")} << empty;
        QTest::newRow("chunked") << oneFile
                                 << QStringList{QStringLiteral("--header"),
                                                QStringLiteral("Transfer-Encoding: chunked")}
                                        + sendReport
                                 << oneFile;
        QTest::newRow("a name of the user's choice")
            << oneFile << QStringList{form, QStringLiteral("file=@report.txt;filename=my own.txt")}
            << Files{{QStringLiteral("my own.txt"), oneFile.first()}};
        QTest::newRow("of one name, the later stays")
            << Files{{a, "first"}, {b, "second"}}
            << QStringList{form, QStringLiteral("file=@a.txt"), form,
                           QStringLiteral("file=@b.txt;filename=a.txt")}
            << Files{{a, "second"}};
        QTest::newRow("a plain field is a file that its number names")
            << oneFile << QStringList{form, QStringLiteral("comment=as discussed")} + sendReport
            << Files{{QStringLiteral("0"), "as discussed"}, {report, oneFile.first()}};
    }
    void filesArriveAsTheyAre() { uploadAndReadBack(); }

    // What stands in the header is the name, whatever encoding it has been given.
    void namesAreThoseOfTheHeader_data()
    {
        QTest::addColumn<Files>("files");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<Files>("stored");
        const QString form = QStringLiteral("--form");

        const Files quotes{{QStringLiteral("say \"hi\".txt"), "quotes"}};
        const QStringList sendQuotes{form, QStringLiteral("file=@\"say \\\"hi\\\".txt\"")};
        QTest::newRow("quotes, which curl percent-encodes")
            << quotes << sendQuotes << Files{{QStringLiteral("say %22hi%22.txt"), "quotes"}};
        QTest::newRow("quotes, which curl escapes if it is told to")
            << quotes << QStringList{QStringLiteral("--form-escape")} + sendQuotes
            << Files{{QStringLiteral("say \\\"hi\\\".txt"), "quotes"}};
        const Files lines{{QStringLiteral("two\nlines.txt"), "line feed"}};
        QTest::newRow("a line feed, which curl percent-encodes")
            << lines << QStringList{form, QStringLiteral("file=@") + lines.firstKey()}
            << Files{{QStringLiteral("two%0Alines.txt"), "line feed"}};
        const Files backslash{{QStringLiteral("a\\b.txt"), "backslash"}};
        QTest::newRow("a backslash") << backslash << QStringList{form, QStringLiteral("file=@a\\b.txt")}
                                     << backslash;
        QTest::newRow("a colon, which ends the name")
            << Files{{QStringLiteral("a:b.txt"), "colon"}}
            << QStringList{form, QStringLiteral("file=@a:b.txt")} << Files{{QStringLiteral("a"), "colon"}};
        QTest::newRow("a semicolon") << Files{{QStringLiteral("a;b.txt"), "semicolon"}}
                                     << QStringList{form, QStringLiteral("file=@\"a;b.txt\"")}
                                     << Files{{QStringLiteral("a;b.txt"), "semicolon"}};
    }
    void namesAreThoseOfTheHeader() { uploadAndReadBack(); }

    void anUnknownContextIsMadeByItsFirstFile()
    {
        write(QStringLiteral("report.txt"), "report");
        const QString id = QStringLiteral("unheardOf");
        QCOMPARE(upload(id, {QStringLiteral("--form"), QStringLiteral("file=@report.txt")}),
                 QByteArray("204"));
        QCOMPARE(host.context(id),
                 (QJsonObject{{QStringLiteral("_id"), id},
                              {QStringLiteral("attachments"),
                               UploadHost::attachments(id, {QStringLiteral("report.txt")})}}));
    }

    void aLaterUploadOfTheSameNameReplacesTheBytesAlone()
    {
        const QString id = QStringLiteral("again");
        const QString name = QStringLiteral("report.txt");
        QVERIFY(host.makeContext(id));
        for (const QByteArray content : {"the first, which is longer", "the second"}) {
            write(name, content);
            QCOMPARE(upload(id, {QStringLiteral("--form"), QStringLiteral("file=@report.txt")}),
                     QByteArray("204"));
            QCOMPARE(host.difference(id, Files{{name, content}}), QByteArray());
        }
    }

    void representations_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("askFor");
        QTest::addColumn<QByteArray>("type");
        QTest::addColumn<QByteArray>("disposition");
        QTest::addColumn<bool>("isBase64");
        const QString pdf = QStringLiteral("report.pdf");
        const QString text = QStringLiteral("note.txt");
        const QString asBase64 = QStringLiteral("Accept-Encoding: base64");
        const QString downloaded = QStringLiteral("?download=true");
        const QString named = downloaded + QStringLiteral("&filename=findings.pdf");
        const QByteArray anyType = "application/octet-stream";
        const QByteArray none;

        QTest::newRow("a PDF") << pdf << QString() << QString() << QByteArray("application/pdf") << none
                               << false;
        QTest::newRow("any other") << text << QString() << QString() << none << none << false;
        QTest::newRow("a PDF in capitals")
            << QStringLiteral("REPORT.PDF") << QString() << QString() << none << none << false;
        QTest::newRow("no bytes") << QStringLiteral("empty.bin") << QString() << QString() << none << none
                                  << false;
        QTest::newRow("Base64") << pdf << QString() << asBase64 << none << none << true;
        QTest::newRow("no bytes in Base64")
            << QStringLiteral("empty.bin") << QString() << asBase64 << none << none << true;
        QTest::newRow("download") << text << downloaded << QString() << anyType << QByteArray("attachment")
                                  << false;
        QTest::newRow("download under another name")
            << pdf << named << QString() << anyType << QByteArray("attachment; filename=findings.pdf;")
            << false;
        QTest::newRow("download in capitals is none") << pdf << QStringLiteral("?download=TRUE") << QString()
                                                      << QByteArray("application/pdf") << none << false;
        QTest::newRow("Base64 wins over download") << pdf << named << asBase64 << none << none << true;
    }
    void representations()
    {
        QFETCH(QString, name);
        QFETCH(QString, query);
        QFETCH(QString, askFor);
        QFETCH(QByteArray, type);
        QFETCH(QByteArray, disposition);
        QFETCH(bool, isBase64);
        const QString id = QStringLiteral("representations");
        const QByteArray content = name == QLatin1String("empty.bin") ? QByteArray("") : everyByte();
        write(name, content);
        QCOMPARE(upload(id, {QStringLiteral("--form"), QStringLiteral("file=@") + name}), QByteArray("204"));

        const QByteArray answer =
            download(UploadHost::pathOf(id, name) + query.toLatin1(),
                     askFor.isEmpty() ? QStringList() : QStringList{QStringLiteral("--header"), askFor});
        QVERIFY2(answer.startsWith("HTTP/1.1 200 "), answer.constData());
        QCOMPARE(header(answer, "Content-Type"), type);
        QCOMPARE(header(answer, "Content-Disposition"), disposition);
        QCOMPARE(header(answer, "Content-Encoding"), isBase64 ? QByteArray("base64") : QByteArray());
        QCOMPARE(UploadHost::bodyOf(answer), isBase64 ? content.toBase64() : content);
    }

    // The path is decoded, matched against a class of characters that has no blank, and decoded once more.
    void aNameMustStayPlainWhenItIsDecodedOnce_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("once");
        QTest::addColumn<QByteArray>("twice");
        QTest::newRow("blank") << QStringLiteral("lab report.txt") << QByteArray("lab%20report.txt")
                               << QByteArray("lab%2520report.txt");
        QTest::newRow("outside ASCII")
            << QStringLiteral("Zo\u00eb.txt") << QByteArray("Zo%C3%AB.txt") << QByteArray("Zo%25C3%25AB.txt");
        QTest::newRow("plus sign") << QStringLiteral("a+b.txt") << QByteArray("a+b.txt")
                                   << QByteArray("a%252Bb.txt");
    }
    void aNameMustStayPlainWhenItIsDecodedOnce()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, once);
        QFETCH(QByteArray, twice);
        const QString id = QStringLiteral("decoded");
        write(name, "content");
        QCOMPARE(upload(id, {QStringLiteral("--form"), QStringLiteral("file=@") + name}), QByteArray("204"));

        const QByteArray refused = download("/context/decoded/file/" + once);
        QVERIFY2(refused.startsWith("HTTP/1.1 404 "), refused.constData());
        QCOMPARE(header(refused, "Content-Type"), QByteArray("application/problem+json"));
        const QByteArray answer = download("/context/decoded/file/" + twice);
        QVERIFY2(answer.startsWith("HTTP/1.1 200 "), answer.constData());
        QCOMPARE(UploadHost::bodyOf(answer), QByteArray("content"));
    }

    void fiftyMegabytes()
    {
        std::vector<quint32> numbers(12500000);
        QRandomGenerator(1).fillRange(numbers.data(), static_cast<qsizetype>(numbers.size()));
        const QByteArray content(reinterpret_cast<const char *>(numbers.data()), 50000000);
        const QString id = QStringLiteral("large");
        const QString name = QStringLiteral("scan.bin");
        write(name, content);

        QCOMPARE(upload(id, {QStringLiteral("--form"), QStringLiteral("file=@scan.bin")}), QByteArray("204"));
        const QByteArray path = UploadHost::pathOf(id, name);
        QVERIFY(UploadHost::bodyOf(download(path)) == content);
        QVERIFY(UploadHost::bodyOf(download(path + "?download=true&filename=scan.bin")) == content);
        const QByteArray encoded =
            download(path, {QStringLiteral("--header"), QStringLiteral("Accept-Encoding: base64")});
        QVERIFY(UploadHost::bodyOf(encoded) == content.toBase64());
    }
};

QTEST_GUILESS_MAIN(CurlUploadsTest)
#include "tst_curluploads.moc"
