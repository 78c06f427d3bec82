#include "browser.h"
#include "uploadhost.h"

#include <QtTest>

#include <numeric>

/// What a context gets from a form that somebody submits in a browser.
class BrowserUploadsTest : public QObject
{
    Q_OBJECT

    static constexpr int browserPatience = 100000;
    // A page from a file has the origin "null".
    UploadHost host{"http.allowedOrigins=null"};
    int contexts = 0;

    /// The page posts what its fragment tells, the files in the reverse order of their names.
    [[nodiscard]] QUrl page(const QString &id, const QString &comment, const Files &files) const
    {
        QJsonArray chosen;
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            chosen.prepend(QJsonArray{file.key(), QString::fromLatin1(file.value().toBase64())});
        QJsonObject told{{QStringLiteral("action"), host.fileUrl(id)}, {QStringLiteral("files"), chosen}};
        if (!comment.isNull())
            told.insert(QStringLiteral("comment"), comment);
        QUrl url = QUrl::fromLocalFile(QStringLiteral(UPLOAD_FORM));
        url.setFragment(QString::fromLatin1(QUrl::toPercentEncoding(
                            QString::fromUtf8(QJsonDocument(told).toJson(QJsonDocument::Compact)))),
                        QUrl::StrictMode);
        return url;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!Browser::isInstalled())
            QSKIP("Chromium is not installed; scripts/setup --checks installs it.");
        QVERIFY2(host.start(), host.readLog().constData());
    }

    void formsArrive_data()
    {
        QTest::addColumn<QString>("comment");
        QTest::addColumn<Files>("chosen");
        QTest::addColumn<Files>("stored");
        const QString report = QStringLiteral("report.pdf");
        const QString unicode = QStringLiteral("\u00dcberweisung f\u00fcr Zo\u00eb.txt");
        QByteArray everyByte(256, '\0');
        std::iota(everyByte.begin(), everyByte.end(), '\0');

        QTest::newRow("one file") << QString() << Files{{report, everyByte}} << Files{{report, everyByte}};
        // The names are those that the browser writes, with its own encoding of quotes.
        QTest::newRow("a text field and several files")
            << QStringLiteral("as discussed")
            << Files{{report, everyByte},
                     {QStringLiteral("empty.txt"), ""},
                     {QStringLiteral("lab report.txt"), "blank"},
                     {QStringLiteral("say \"hi\".txt"), "quotes"},
                     {unicode, "UTF-8"}}
            << Files{{QStringLiteral("0"), "as discussed"},
                     {report, everyByte},
                     {QStringLiteral("empty.txt"), ""},
                     {QStringLiteral("lab report.txt"), "blank"},
                     {QStringLiteral("say %22hi%22.txt"), "quotes"},
                     {unicode, "UTF-8"}};
        QTest::newRow("no file chosen") << QString() << Files{} << Files{{QStringLiteral("0"), ""}};
    }
    void formsArrive()
    {
        QFETCH(QString, comment);
        QFETCH(Files, chosen);
        QFETCH(Files, stored);
        const QString id = QStringLiteral("upload%1").arg(++contexts);
        QVERIFY(host.makeContext(id));
        // An empty context is what a poll takes for delivered: it waits for the first file.
        RawClient poll(host.port());
        poll.send(UploadHost::request("GET /context/" + id.toLatin1() + "/event"));

        Browser browser;
        browser.open(page(id, comment, chosen));
        const bool hasChanged = poll.isReadable(browserPatience);
        if (!hasChanged)
            qWarning("%s", browser.readLog().constData());
        QVERIFY(hasChanged);
        QCOMPARE(host.difference(id, stored), QByteArray());
    }
};

QTEST_GUILESS_MAIN(BrowserUploadsTest)
#include "tst_browseruploads.moc"
