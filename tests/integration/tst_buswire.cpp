#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"
#include "unixclient.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <sys/stat.h>

/// The bus of the real host, with the real plug-in on it, as a shell sees it.
class BuswireTest : public QObject
{
    Q_OBJECT

    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("buswire.sock"));

    static QStringList contextAndWire()
    {
        return {QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN), QStringLiteral("--plugin"),
                QStringLiteral(BUSWIRE_PLUGIN)};
    }
    static QStringList withTestPlugin()
    {
        return contextAndWire() << QStringLiteral("--plugin")
                                << QStringLiteral(TEST_PLUGIN_DIR "/libfirst.so");
    }
    [[nodiscard]] QByteArray socketSetting() const
    {
        return "[ch.tessel.vexo-service.buswire]\nsocket=" + QFile::encodeName(path) + '\n';
    }

    static QByteArray ask(const HostProcess &host, const QByteArray &line, const QByteArray &body = {})
    {
        RawClient client(host.port());
        client.send(line + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
                    + QByteArray::number(body.size()) + "\r\n\r\n" + body);
        return client.readAnswer();
    }
    static QJsonObject readChunk(UnixClient &client)
    {
        return QJsonDocument::fromJson(client.readLine()).object();
    }
    static QString eventOf(const QJsonObject &chunk)
    {
        return chunk.value(QStringLiteral("data")).toObject().value(QStringLiteral("event")).toString();
    }

    // What the client gets next is what a write of the context brings, and nothing from before.
    static bool nextIsTheChangeOf(UnixClient &client, const HostProcess &host, const QByteArray &id)
    {
        if (!ask(host, "PUT /context/" + id, R"({"x":1})").startsWith("HTTP/1.1 201 "))
            return false;
        const QJsonObject data = readChunk(client).value(QStringLiteral("data")).toObject();
        return data.value(QStringLiteral("event")) == QLatin1String("context-changed")
               && data.value(QStringLiteral("id")) == QString::fromLatin1(id);
    }

    // The host has accepted the client once it answers it.
    static bool isServed(UnixClient &client)
    {
        return client.send("?\n") && readChunk(client).contains(QStringLiteral("error"));
    }

private Q_SLOTS:
    // A host that is killed at the end of its test leaves its socket.
    void cleanup() { QFile::remove(path); }

    void everyChunkShowsAsOneLine()
    {
        HostProcess host(contextAndWire(), socketSetting());
        QVERIFY2(host.start(), host.readLog().constData());
        UnixClient first(path);
        UnixClient second(path);
        QVERIFY(isServed(first));
        QVERIFY(isServed(second));
        QVERIFY(ask(host, "POST /context", R"({"patient":"x"})").startsWith("HTTP/1.1 200 "));
        for (UnixClient *client : {&first, &second}) {
            QCOMPARE(readChunk(*client).value(QStringLiteral("exchange")), QStringLiteral("context-created"));
            QCOMPARE(eventOf(readChunk(*client)), QStringLiteral("context-changed"));
        }
    }

    void whatIsPublishedReachesOtherPluginsAndNoClient()
    {
        HostProcess host(withTestPlugin(), socketSetting());
        QVERIFY2(host.start(), host.readLog().constData());
        UnixClient sender(path);
        UnixClient other(path);
        QVERIFY(isServed(sender));
        QVERIFY(isServed(other));
        QVERIFY(sender.send("{\"n\":1}\n\n{ \"n\" : 2 }\r\n"));
        QVERIFY2(waitForLog(host, R"(first chunk {"n":1})"), host.readLog().constData());
        QVERIFY2(waitForLog(host, R"(first chunk {"n":2})"), host.readLog().constData());
        QVERIFY(nextIsTheChangeOf(sender, host, "a"));
        QCOMPARE(eventOf(readChunk(other)), QStringLiteral("context-changed"));
    }

    void lineThatIsNoChunkHarmsNothing_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("no JSON") << QByteArray("hello");
        QTest::newRow("number") << QByteArray("7");
        QTest::newRow("array") << QByteArray("[{}]");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("10 000 levels") << QByteArray(10000, '[') + QByteArray(10000, ']');
        QTest::newRow("binary") << QByteArray("\x00\xff\xfe{}", 5);
    }
    void lineThatIsNoChunkHarmsNothing()
    {
        QFETCH(QByteArray, line);
        HostProcess host(contextAndWire(), socketSetting());
        QVERIFY2(host.start(), host.readLog().constData());
        UnixClient client(path);
        QVERIFY(client.send(line + '\n'));
        const QJsonObject answer = readChunk(client);
        QCOMPARE(answer.keys(), QStringList{QStringLiteral("error")});
        QVERIFY(!answer.value(QStringLiteral("error")).toString().isEmpty());
        QVERIFY(nextIsTheChangeOf(client, host, "a"));
    }

    void largeChunkIsTakenAndGiven()
    {
        HostProcess host(contextAndWire(), socketSetting());
        QVERIFY2(host.start(), host.readLog().constData());
        UnixClient client(path);
        const QByteArray text(10000000, 'x');
        QVERIFY(client.send("{\"text\":\"" + text + "\"}\n"));
        QVERIFY(isServed(client));
        QVERIFY(ask(host, "PUT /context/a", "{\"text\":\"" + text + "\"}").startsWith("HTTP/1.1 201 "));
        const QByteArray line = client.readLine();
        QCOMPARE(QJsonDocument::fromJson(line)
                     .object()
                     .value(QStringLiteral("data"))
                     .toObject()
                     .value(QStringLiteral("context"))
                     .toObject()
                     .value(QStringLiteral("text"))
                     .toString()
                     .size(),
                 text.size());
    }

    void readerThatStallsIsDisconnected()
    {
        HostProcess host(contextAndWire(), socketSetting());
        QVERIFY2(host.start(), host.readLog().constData());
        UnixClient stalled(path);
        UnixClient reader(path);
        QVERIFY(isServed(stalled));
        QVERIFY(isServed(reader));
        const QByteArray text(50000, 'x');
        int written = 0;
        for (; written < 100 && !host.readLog().contains("does not read"); ++written) {
            const QByteArray body = "{\"n\":" + QByteArray::number(written) + ",\"text\":\"" + text + "\"}";
            QVERIFY(ask(host, "PUT /context/a", body).startsWith("HTTP/1.1 20"));
            QCOMPARE(eventOf(readChunk(reader)), QStringLiteral("context-changed"));
            // The log of this turn has been written before this is answered.
            QVERIFY(ask(host, "GET /context/none").startsWith("HTTP/1.1 404 "));
            host.process.waitForReadyRead(0);
        }
        QVERIFY2(written < 100, "The stalled reader is still there.");
        // Each chunk holds the text twice.
        QVERIFY2(written * 2 * text.size() > (1 << 20), qPrintable(QString::number(written)));
        QVERIFY(stalled.drainUntilClosed());
        QVERIFY(nextIsTheChangeOf(reader, host, "b"));
    }

    void lineThatIsTooLongDisconnectsWithAnError()
    {
        HostProcess host(contextAndWire(), socketSetting());
        QVERIFY2(host.start(), host.readLog().constData());
        UnixClient client(path);
        UnixClient bystander(path);
        QVERIFY(isServed(bystander));
        QVERIFY(client.send(QByteArray((16 << 20) + 1, ' ')));
        QCOMPARE(client.readLine(), QByteArray(R"({"error":"A line is longer than 16777216 bytes."})"));
        QVERIFY(client.drainUntilClosed());
        QVERIFY(nextIsTheChangeOf(bystander, host, "a"));
    }

    void socketIsTheOwnersAloneAndGoesWithTheHost()
    {
        HostProcess host(contextAndWire(), socketSetting());
        QVERIFY2(host.start(), host.readLog().constData());
        struct stat status
        {
        };
        QCOMPARE(lstat(QFile::encodeName(path).constData(), &status), 0);
        QCOMPARE(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0600));
        QCOMPARE(status.st_uid, getuid());
        UnixClient client(path);
        QVERIFY(isServed(client));
        QVERIFY2(stopHost(host), host.readLog().constData());
        QVERIFY(client.drainUntilClosed());
        QVERIFY(!QFile::exists(path));
    }

    void socketOfAKilledHostIsReplacedAndThatOfALivingOneIsNot()
    {
        {
            HostProcess killed(contextAndWire(), socketSetting());
            QVERIFY2(killed.start(), killed.readLog().constData());
            killed.process.kill();
            QVERIFY(killed.process.waitForFinished());
        }
        QVERIFY(QFile::exists(path));
        HostProcess host(contextAndWire(), socketSetting());
        QVERIFY2(host.start(), host.readLog().constData());
        UnixClient client(path);
        QVERIFY(isServed(client));

        HostProcess second(contextAndWire(), socketSetting());
        QVERIFY2(second.start(), second.readLog().constData());
        const QByteArray line = "Cannot listen at " + QFile::encodeName(path) + ": another process serves it";
        QVERIFY2(second.readLog().contains(line), second.readLog().constData());
        QVERIFY(ask(second, "PUT /context/a", "{}").startsWith("HTTP/1.1 201 "));
        QVERIFY2(stopHost(second), second.readLog().constData());
        QVERIFY(nextIsTheChangeOf(client, host, "a"));
    }

    void pluginIsLoadedFromADirectoryOnlyWithItsSetting_data()
    {
        QTest::addColumn<QByteArray>("setting");
        QTest::addColumn<QByteArray>("loaded");
        QTest::newRow("without") << QByteArray() << QByteArray(" with the plug-ins contextplugin\n");
        QTest::newRow("with a path") << socketSetting()
                                     << QByteArray(" with the plug-ins buswire, contextplugin\n");
        QTest::newRow("with an empty one") << QByteArray("[ch.tessel.vexo-service.buswire]\nsocket=\n")
                                           << QByteArray(" with the plug-ins buswire, contextplugin\n");
    }
    void pluginIsLoadedFromADirectoryOnlyWithItsSetting()
    {
        QFETCH(QByteArray, setting);
        QFETCH(QByteArray, loaded);
        HostProcess host({QStringLiteral("--plugin-dir"), QStringLiteral(PLUGIN_DIR)}, setting);
        QProcessEnvironment environment = host.process.processEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.path());
        host.process.setProcessEnvironment(environment);
        QVERIFY2(host.start(), host.readLog().constData());
        QVERIFY2(host.readLog().contains(loaded), host.readLog().constData());
        QCOMPARE(QFile::exists(path), !setting.isEmpty());
        QVERIFY(stopHost(host));
    }

    void pluginThatIsNamedNeedsNoSetting()
    {
        HostProcess host(contextAndWire());
        QProcessEnvironment environment = host.process.processEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.path());
        host.process.setProcessEnvironment(environment);
        QVERIFY2(host.start(), host.readLog().constData());
        UnixClient client(path);
        QVERIFY(nextIsTheChangeOf(client, host, "a"));
        QVERIFY(stopHost(host));
    }
};

QTEST_GUILESS_MAIN(BuswireTest)
#include "tst_buswire.moc"
