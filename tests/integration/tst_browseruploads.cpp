#include "uploadhost.h"

#include <QtTest>

#include <QDeadlineTimer>
#include <QStandardPaths>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <numeric>

/// Chromium without a window, with a profile of its own. All of its processes end with this object.
class Browser final : public QProcess
{
public:
    Browser()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
            environment.insert(QString::fromLatin1(name), m_profile.path());
        setProcessEnvironment(environment);
        if (::pipe2(m_output, O_CLOEXEC) != 0)
            qFatal("There is no pipe.");
    }
    ~Browser() override
    {
        terminate();
        if (!waitForFinished(30000))
            kill();
        waitForFinished();
        // The others may still write to the profile.
        if (!readOutput(30000))
            qWarning("Chromium does not end:\n%s", m_log.constData());
        ::close(m_output[0]);
    }
    Q_DISABLE_COPY_MOVE(Browser)

    /// In a container or as root there is no sandbox, and seldom much shared memory; a network is not needed.
    void open(const QUrl &page)
    {
        start(QStringLiteral("chromium"),
              {QStringLiteral("--headless"), QStringLiteral("--no-sandbox"), QStringLiteral("--disable-gpu"),
               QStringLiteral("--disable-dev-shm-usage"), QStringLiteral("--disable-background-networking"),
               QStringLiteral("--disable-component-update"), QStringLiteral("--no-first-run"),
               QStringLiteral("--no-proxy-server"), QStringLiteral("--enable-logging=stderr"),
               QStringLiteral("--user-data-dir=") + m_profile.path(), page.toString(QUrl::FullyEncoded)});
        ::close(m_output[1]);
    }
    [[nodiscard]] QByteArray readLog()
    {
        (void)readOutput(0);
        return errorString().toUtf8() + '\n' + m_log;
    }

protected:
    void setupChildProcess() override
    {
        ::dup2(m_output[1], STDOUT_FILENO);
        ::dup2(m_output[1], STDERR_FILENO);
    }

private:
    /// Takes what comes within `milliseconds`; true if that is all: no process is left that could write.
    [[nodiscard]] bool readOutput(int milliseconds)
    {
        const QDeadlineTimer deadline(milliseconds);
        char buffer[4096];
        pollfd waiting{m_output[0], POLLIN, 0};
        while (::poll(&waiting, 1, static_cast<int>(deadline.remainingTime())) == 1) {
            const ssize_t size = ::read(m_output[0], buffer, sizeof buffer);
            if (size <= 0)
                return size == 0;
            m_log.append(buffer, static_cast<int>(size));
        }
        return false;
    }

    QTemporaryDir m_profile;
    int m_output[2] = {-1, -1};
    QByteArray m_log;
};

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
        if (QStandardPaths::findExecutable(QStringLiteral("chromium")).isEmpty())
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
