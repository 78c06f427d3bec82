#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"
#include "unixclient.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <optional>

/// What a client and a sibling plug-in see of the routes for credentials and forms.
class CredentialsTest final : public QObject
{
    Q_OBJECT

    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("buswire.sock"));
    const QStringList plugins{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN),
                              QStringLiteral("--plugin"), QStringLiteral(BUSWIRE_PLUGIN)};
    std::optional<HostProcess> host;
    std::optional<UnixClient> wire;

    [[nodiscard]] static QByteArray socketSetting(const QString &socketPath)
    {
        return "[ch.tessel.vexo-service.buswire]\nsocket=" + QFile::encodeName(socketPath) + '\n';
    }

    // JSON in C++: with single quotes.
    [[nodiscard]] static QByteArray q(QByteArray text) { return text.replace('\'', '"'); }

    [[nodiscard]] static QByteArray request(const QByteArray &line, const QByteArray &body,
                                            const QByteArray &contentType = "application/json")
    {
        return line + " HTTP/1.1\r\nHost: localhost\r\nContent-Type: " + contentType
               + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }
    [[nodiscard]] QByteArray ask(const QByteArray &bytes) const
    {
        RawClient client(host->port());
        client.send(bytes);
        return client.readAnswer();
    }
    // The next chunk of the bus without its envelope, "VERSION SOURCE DATA".
    [[nodiscard]] QByteArray nextChunk()
    {
        const QJsonObject chunk = QJsonDocument::fromJson(wire->readLine()).object();
        return chunk.value(QStringLiteral("version")).toString().toUtf8() + ' '
               + chunk.value(QStringLiteral("source")).toString().toUtf8() + ' '
               + QJsonDocument(chunk.value(QStringLiteral("data")).toObject()).toJson(QJsonDocument::Compact);
    }
    [[nodiscard]] static QByteArray reset(const QByteArray &id)
    {
        return "1.0.0 k7-plugin-context " + q("{'event':'credentialreset-published','id':'") + id + q("'}");
    }
    [[nodiscard]] static QByteArray credential(const QByteArray &id, const QByteArray &entry)
    {
        return "1.0.0 k7-plugin-context " + q("{'data':") + entry
               + q(",'event':'credential-published','id':'") + id + q("'}");
    }

private Q_SLOTS:
    void initTestCase()
    {
        host.emplace(plugins, socketSetting(path));
        QVERIFY2(host->start(), host->readLog().constData());
        wire.emplace(path);
        QVERIFY(wire->isConnected());
    }
    void cleanupTestCase()
    {
        wire.reset();
        QVERIFY2(stopHost(*host), host->readLog().constData());
    }

    void credentialsGoOutUpToTheFirstIncompleteOne()
    {
        const QByteArray first = q("{'id':'i','keystore_ref':'r','service':'s'}");
        const QByteArray second = q("{'cert':'c','key':'k','keyPass':'p','more':[1],'service':'t'}");
        const QByteArray answer = ask(
            request("POST /context/desk1/credentials",
                    '[' + first + ',' + second + q(",{'keystore_ref':'r','service':'u'},{'service':'v'}]")));
        QVERIFY(answer.startsWith("HTTP/1.1 200 "));
        QVERIFY(answer.contains("\r\nContent-Type: application/json\r\n"));
        QVERIFY(answer.contains("\r\nContent-Length: 0\r\n"));
        QVERIFY(answer.endsWith("\r\n\r\n"));
        QCOMPARE(nextChunk(), reset("desk1"));
        QCOMPARE(nextChunk(), credential("desk1", first));
        QCOMPARE(nextChunk(), credential("desk1", second));
        // Nothing of the others: what comes next is of another request.
        QVERIFY(ask(request("POST /context/desk2/credentials/", "[]")).startsWith("HTTP/1.1 200 "));
        QCOMPARE(nextChunk(), reset("desk2"));
        QVERIFY(ask("GET /context/desk1 HTTP/1.1\r\nHost: localhost\r\n\r\n").startsWith("HTTP/1.1 404 "));
    }

    void senselessBodiesAreTaken_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray("[{");
        QTest::newRow("object") << q("{'service':'s'}");
        QTest::newRow("array of numbers") << QByteArray("[1,2]");
        QTest::newRow("100000 brackets") << QByteArray(100000, '[');
    }
    void senselessBodiesAreTaken()
    {
        QFETCH(QByteArray, body);
        QVERIFY(ask(request("POST /context/desk3/credentials", body)).startsWith("HTTP/1.1 200 "));
        QCOMPARE(nextChunk(), reset("desk3"));
    }

    // The log is whole only once the host has ended, so that each row has a host of its own.
    void secretsAreLoggedAtDebugLevelAlone_data()
    {
        QTest::addColumn<QString>("rules");
        QTest::addColumn<bool>("areLogged");
        QTest::newRow("as the host is started") << QString() << false;
        QTest::newRow("everything that can be logged") << QStringLiteral("*=true") << true;
    }
    void secretsAreLoggedAtDebugLevelAlone()
    {
        QFETCH(QString, rules);
        QFETCH(bool, areLogged);
        const QString ownPath = dir.filePath(QStringLiteral("own.sock"));
        HostProcess own(plugins, socketSetting(ownPath));
        QProcessEnvironment environment = own.process.processEnvironment();
        environment.insert(QStringLiteral("QT_LOGGING_RULES"), rules);
        own.process.setProcessEnvironment(environment);
        QVERIFY2(own.start(), own.readLog().constData());
        UnixClient ownWire(ownPath);
        QVERIFY(ownWire.isConnected());
        RawClient client(own.port());
        for (const char *body :
             {"[{'service':'s','cert':'secret','key':'secret','keyPass':'secret'},{'keyPass':'secret'}]",
              "[{'service':'s','id':'i','keystore_ref':'secret'},{'keystore_ref':'secret'}]",
              "{'service':'secret'}", "[{'keyPass':'secret'"}) {
            client.send(request("POST /context/desk4/credentials", q(body)));
            QVERIFY(client.readAnswer().startsWith("HTTP/1.1 200 "));
        }
        // A reset for each, and the two that are complete: all went out.
        for (int i = 0; i < 6; ++i)
            QVERIFY(!ownWire.readLine().isEmpty());
        QVERIFY2(stopHost(own), own.readLog().constData());

        int count = 0;
        const QList<QByteArray> lines = own.readLog().split('\n');
        for (const QByteArray &line : lines) {
            if (line.contains("secret")) {
                QVERIFY2(line.contains(" debug ch.tessel.vexo-service."), line.constData());
                ++count;
            }
        }
        QCOMPARE(count > 0, areLogged);
    }

    void formStaysOpenUntilItsClientLeaves_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::newRow("behind the id") << QByteArray("/context/desk1$form");
        QTest::newRow("behind a slash") << QByteArray("/context/desk1/$form");
    }
    void formStaysOpenUntilItsClientLeaves()
    {
        QFETCH(QByteArray, target);
        RawClient form(host->port());
        form.send(request("POST " + target, "{}"));
        // Connections made after that of the form are served after it.
        QVERIFY(ask(request("POST /context/desk5/credentials", "[]")).startsWith("HTTP/1.1 200 "));
        QCOMPARE(nextChunk(), reset("desk5"));
        QVERIFY(!form.isReadable(0));
        form.halfClose();
        // The host notices and closes: an end without an answer.
        QVERIFY(form.isReadable(30000));
        QCOMPARE(form.readAnswer(), QByteArray());
    }

    void otherContentTypesAndMethodsAreNobodys_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QByteArray>("contentType");
        for (const char *target : {"/context/a$form", "/context/a/credentials"}) {
            QTest::addRow("form data at %s", target)
                << QByteArray("POST ") + target << QByteArray("application/x-www-form-urlencoded");
            QTest::addRow("charset at %s", target)
                << QByteArray("POST ") + target << QByteArray("application/json; charset=utf-8");
            QTest::addRow("GET at %s", target)
                << QByteArray("GET ") + target << QByteArray("application/json");
            QTest::addRow("PUT at %s", target)
                << QByteArray("PUT ") + target << QByteArray("application/json");
            QTest::addRow("query at %s", target)
                << QByteArray("POST ") + target + "?x=1" << QByteArray("application/json");
        }
    }
    void otherContentTypesAndMethodsAreNobodys()
    {
        QFETCH(QByteArray, line);
        QFETCH(QByteArray, contentType);
        const QByteArray answer = ask(request(line, "[]", contentType));
        QVERIFY2(answer.startsWith("HTTP/1.1 404 "), answer.constData());
        QVERIFY(answer.contains("\r\nContent-Type: application/problem+json\r\n"));
    }
};

QTEST_GUILESS_MAIN(CredentialsTest)
#include "tst_credentials.moc"
