#include "browser.h"
#include "hostlog.h"
#include "uploadhost.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

/// Serves the page of tests/data/browser and keeps what it tells.
class PageServer final : public QTcpServer
{
public:
    PageServer()
    {
        QFile file(QStringLiteral(REQUESTS_PAGE));
        if (!file.open(QIODevice::ReadOnly) || !listen(QHostAddress::LocalHost))
            qFatal("The page cannot be served.");
        m_page = file.readAll();
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *const socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(*socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        });
    }

    [[nodiscard]] QByteArray origin(const QByteArray &host) const
    {
        return "http://" + host + ':' + QByteArray::number(serverPort());
    }
    [[nodiscard]] bool wasTold() const { return !m_told.isNull(); }
    [[nodiscard]] QJsonArray told() const { return m_told.array(); }

private:
    void read(QTcpSocket &socket)
    {
        static const QRegularExpression length(QStringLiteral(R"(\r\nContent-Length: (\d+)\r\n)"));
        const QByteArray request = socket.peek(socket.bytesAvailable());
        const int bodyBegin = request.indexOf("\r\n\r\n") + 4;
        const int bodySize = length.match(QString::fromLatin1(request)).captured(1).toInt();
        if (bodyBegin < 4 || request.size() < bodyBegin + bodySize)
            return;
        if (request.startsWith("POST /told "))
            m_told = QJsonDocument::fromJson(request.mid(bodyBegin));
        const QByteArray page = request.startsWith("GET / ") ? m_page : QByteArray();
        socket.write("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\nContent-Length: "
                     + QByteArray::number(page.size()) + "\r\n\r\n" + page);
        socket.disconnectFromHost();
    }

    QByteArray m_page;
    QJsonDocument m_told;
};

/// What web pages of other origins can do with the host in a real browser.
class BrowserPagesTest : public QObject
{
    Q_OBJECT

    static constexpr int browserPatience = 60000;

    static QStringList plugin() { return {QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN)}; }
    static QString urlOf(const HostProcess &host, const QByteArray &path, const char *name = "127.0.0.1")
    {
        return QStringLiteral("http://%1:%2%3")
            .arg(QString::fromLatin1(name), QString::number(host.port()), QString::fromLatin1(path));
    }
    static QJsonArray request(const HostProcess &host, const char *method, const QByteArray &path,
                              const QJsonObject &headers = {}, const char *body = nullptr)
    {
        QJsonObject options{{QStringLiteral("method"), QString::fromLatin1(method)},
                            {QStringLiteral("headers"), headers}};
        if (body != nullptr)
            options.insert(QStringLiteral("body"), QString::fromLatin1(body));
        return {urlOf(host, path), options};
    }
    static QJsonObject header(const char *name, const QByteArray &value)
    {
        return {{QString::fromLatin1(name), QString::fromLatin1(value)}};
    }
    /// All that a program does with a context; with `authorization`, each of them shows it.
    static QJsonArray everyRoute(const HostProcess &host, const QByteArray &authorization = {})
    {
        const auto with = [&](const char *name = "Accept", const QByteArray &value = "*/*") {
            QJsonObject headers = header(name, value);
            if (!authorization.isNull())
                headers.insert(QStringLiteral("Authorization"), QString::fromLatin1(authorization));
            return headers;
        };
        return {
            request(host, "PUT", "/context/page", with("Content-Type", "application/json"), "{\"a\":1}"),
            request(host, "GET", "/context/page", with()),
            request(host, "GET", "/context/page/event", with("Prefer", "wait=$.a")),
            request(
                host, "POST", "/context/page/file", with("Content-Type", "multipart/form-data; boundary=b"),
                "--b\r\nContent-Disposition: form-data; name=\"f\"; filename=\"f\"\r\n\r\nx\r\n--b--\r\n"),
            request(host, "DELETE", "/context/page", with()),
        };
    }
    static QUrl page(const QByteArray &origin, const QJsonArray &requests, const QJsonArray &images,
                     const QString &form)
    {
        const QJsonObject told{{QStringLiteral("requests"), requests},
                               {QStringLiteral("images"), images},
                               {QStringLiteral("form"), form}};
        QUrl url(QString::fromLatin1(origin + '/'));
        url.setFragment(QString::fromLatin1(QUrl::toPercentEncoding(
                            QString::fromUtf8(QJsonDocument(told).toJson(QJsonDocument::Compact)))),
                        QUrl::StrictMode);
        return url;
    }
    static QVector<int> statuses(const QJsonArray &told)
    {
        QVector<int> all;
        for (const auto &answer : told)
            all.append(answer.toObject().value(QStringLiteral("status")).toInt());
        return all;
    }
    static QByteArray ask(const HostProcess &host, const QByteArray &path)
    {
        RawClient client(host.port());
        client.send(UploadHost::request("GET " + path));
        return client.readAnswer();
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!Browser::isInstalled())
            QSKIP("Chromium is not installed; scripts/setup --checks installs it.");
    }

    void aListedPageDoesWhatProgramsDo()
    {
        PageServer server;
        const QByteArray origin = server.origin("page.test");
        HostProcess host(plugin(), "http.allowedOrigins=" + origin);
        QVERIFY2(host.start(), host.readLog().constData());
        Browser browser;
        browser.open(page(origin, everyRoute(host), {urlOf(host, "/context/page")},
                          urlOf(host, "/context/form/file")));
        QTRY_VERIFY2_WITH_TIMEOUT(server.wasTold(), browser.readLog().constData(), browserPatience);
        QCOMPARE(statuses(server.told()), (QVector<int>{201, 200, 200, 204, 204}));
        QCOMPARE(server.told().at(2).toObject().value(QStringLiteral("body")).toString(),
                 QStringLiteral("{\n    \"a\": 1\n}\n"));
        QTRY_VERIFY_WITH_TIMEOUT(ask(host, "/context/form/file/0").endsWith("\r\n\r\nfrom a page"),
                                 browserPatience);
        // Images have no Origin, whosever they are.
        QVERIFY(waitForLog(host, "its Sec-Fetch-Site header is \"cross-site\""));
        QCOMPARE(host.readLog().count("Request refused with"), 1);
    }

    void aListedPageShowsTheTokenAndReadsWhyItMust()
    {
        const QTemporaryDir directory;
        const QString file = directory.filePath(QStringLiteral("token"));
        PageServer server;
        const QByteArray origin = server.origin("page.test");
        HostProcess host(plugin(),
                         "http.allowedOrigins=" + origin + "\nhttp.tokenFile=" + QFile::encodeName(file));
        QVERIFY2(host.start(), host.readLog().constData());
        QFile token(file);
        QVERIFY(token.open(QIODevice::ReadOnly));
        QJsonArray requests = everyRoute(host, "Bearer " + token.readAll().trimmed());
        requests.append(request(host, "GET", "/context/page"));
        Browser browser;
        browser.open(page(origin, requests, {}, urlOf(host, "/context/form/file")));
        QTRY_VERIFY2_WITH_TIMEOUT(server.wasTold(), browser.readLog().constData(), browserPatience);
        QCOMPARE(statuses(server.told()), (QVector<int>{201, 200, 200, 204, 204, 401}));
        const QJsonObject refused = server.told().last().toObject();
        QCOMPARE(refused.value(QStringLiteral("challenge")).toString(),
                 QStringLiteral("Bearer realm=\"vexo-service\""));
        QVERIFY(refused.value(QStringLiteral("body")).toString().contains(QStringLiteral("http.tokenFile")));
    }

    void anUnlistedPageDoesNothing_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("site");
        QTest::newRow("of another site") << QByteArray("page.test") << QByteArray("cross-site");
        QTest::newRow("of another port") << QByteArray("127.0.0.1") << QByteArray("same-site");
    }
    void anUnlistedPageDoesNothing()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, site);
        PageServer server;
        const QByteArray origin = server.origin(name);
        // Both listed ones are how it begins.
        HostProcess host(plugin(), "http.allowedOrigins=" + origin.chopped(1) + ", http://" + name);
        QVERIFY2(host.start(), host.readLog().constData());
        Browser browser;
        browser.open(page(origin, everyRoute(host), {urlOf(host, "/context/page")},
                          urlOf(host, "/context/form/file")));
        QTRY_VERIFY2_WITH_TIMEOUT(server.wasTold(), browser.readLog().constData(), browserPatience);
        QCOMPARE(statuses(server.told()), (QVector<int>{0, 0, 0, 0, 0}));
        // The form comes last: the five requests, or what the browser asked for beforehand, and it.
        QVERIFY(waitForLog(host, "its Origin header is \"" + origin + '"', 6));
        QCOMPARE(host.readLog().count("its Sec-Fetch-Site header is \"" + site + '"'), 1);
        for (const char *path : {"/context/page", "/context/form", "/context/form/file/0"})
            QVERIFY(ask(host, path).startsWith("HTTP/1.1 404 "));
    }

    void aNameThatLeadsHereIsNotServed()
    {
        HostProcess host(plugin());
        QVERIFY2(host.start(), host.readLog().constData());
        Browser browser;
        browser.open(QUrl(urlOf(host, "/context/page", "rebound.test")));
        QVERIFY2(waitForLog(host, "Request refused with 421: its Host header is \"rebound.test:"),
                 browser.readLog().constData());
    }
};

QTEST_GUILESS_MAIN(BrowserPagesTest)
#include "tst_browserpages.moc"
