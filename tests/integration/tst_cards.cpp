#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"
#include "unixclient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <optional>

/// Cards and files that a sibling plug-in announces, played from outside over the wire to the bus.
class CardsTest final : public QObject
{
    Q_OBJECT

    // What the real host reads as its system's settings, and what it writes, is in here.
    std::optional<QTemporaryDir> dir;
    std::optional<HostProcess> host;
    std::optional<UnixClient> client;

    [[nodiscard]] QString xmlPath() const { return dir->filePath(QStringLiteral("xml")); }
    [[nodiscard]] QString settingsPath() const
    {
        return dir->filePath(QStringLiteral("xdg/tessel/vexo-service.ini"));
    }

    [[nodiscard]] static bool writeFile(const QString &path, const QByteArray &text)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    }
    [[nodiscard]] QByteArray read(const QString &name) const
    {
        QFile file(QDir(xmlPath()).filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("no such file");
    }
    [[nodiscard]] QStringList files() const
    {
        return QDir(xmlPath()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    void startHost()
    {
        const QString wirePath = dir->filePath(QStringLiteral("buswire.sock"));
        host.emplace(QStringList{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN),
                                 QStringLiteral("--plugin"), QStringLiteral(BUSWIRE_PLUGIN)},
                     "[ch.tessel.vexo-service.buswire]\nsocket=" + QFile::encodeName(wirePath) + '\n');
        QProcessEnvironment environment = host->process.processEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), dir->filePath(QStringLiteral("xdg")));
        host->process.setProcessEnvironment(environment);
        QVERIFY2(host->start(), host->readLog().constData());
        client.emplace(wirePath);
        QVERIFY(client->isConnected());
    }

    [[nodiscard]] static QByteArray line(const QJsonObject &chunk)
    {
        return QJsonDocument(chunk).toJson(QJsonDocument::Compact) + '\n';
    }
    [[nodiscard]] static QByteArray card(const QString &source, const QByteArray &xml)
    {
        return line({{QStringLiteral("source"), source}, {QStringLiteral("data"), QString::fromUtf8(xml)}});
    }
    [[nodiscard]] static QByteArray command(const QString &name, const QJsonObject &body)
    {
        return line({{QStringLiteral("exchange"), QLatin1String("vexo-context-") + name},
                     {QStringLiteral("body"), body}});
    }
    [[nodiscard]] QJsonObject nextChunk() { return QJsonDocument::fromJson(client->readLine()).object(); }

    // The bus keeps the order: once this is answered, all that was sent before has been seen by all.
    [[nodiscard]] bool awaitDelivery()
    {
        const QJsonObject properties{{QStringLiteral("reply-to"), QStringLiteral("exchange:done")}};
        if (!client->send(line({{QStringLiteral("exchange"), QStringLiteral("vexo-context-rpc-delete")},
                                {QStringLiteral("properties"), properties}})))
            return false;
        QJsonObject chunk;
        do {
            chunk = nextChunk();
        } while (!chunk.isEmpty() && chunk.value(QStringLiteral("exchange")) != QLatin1String("done"));
        return !chunk.isEmpty();
    }

    [[nodiscard]] QByteArray ask(const QByteArray &requestLine) const
    {
        RawClient asking(host->port());
        asking.send(requestLine + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        return asking.readAnswer();
    }
    [[nodiscard]] static QByteArray bodyOf(const QByteArray &answer)
    {
        return answer.mid(answer.indexOf("\r\n\r\n") + 4);
    }
    [[nodiscard]] QStringList attachmentUrls() const
    {
        QStringList urls;
        const QJsonArray entries = QJsonDocument::fromJson(bodyOf(ask("GET /context/a")))
                                       .object()
                                       .value(QStringLiteral("attachments"))
                                       .toArray();
        for (const QJsonValue &entry : entries)
            urls.append(entry[QLatin1String("content")][QLatin1String("attachment")][QLatin1String("url")]
                            .toString());
        return urls;
    }
    [[nodiscard]] static QByteArray file(const QString &name, const QByteArray &bytes)
    {
        return command(
            QStringLiteral("add-file"),
            {{QStringLiteral("context"), QStringLiteral("a")},
             {QStringLiteral("filename"), name},
             {QStringLiteral("content"), QString::fromLatin1(bytes.toBase64())},
             {QStringLiteral("type"), QJsonObject{{QStringLiteral("code"), QStringLiteral("k")}}}});
    }

private Q_SLOTS:
    void init()
    {
        dir.emplace();
        QVERIFY(dir->isValid() && QDir(dir->path()).mkpath(QStringLiteral("xdg/tessel"))
                && QDir().mkdir(xmlPath()));
    }
    void cleanup()
    {
        client.reset();
        QVERIFY2(stopHost(*host), host->readLog().constData());
        host.reset();
        dir.reset();
    }

    void cardAndItsVekaDataBecomeTwoFilesOfOneNumber()
    {
        QVERIFY(writeFile(settingsPath(), "[ch.tessel.vexo-service.context]\nxml.directory="
                                              + QFile::encodeName(xmlPath()) + '\n'));
        startHost();
        const QByteArray cardXml =
            "<?xml version=\"1.0\"?>\r\n<card><name>M\xc3\xbcster</name>"
            "<vk-adm:cardholderIdentifier>80756001</vk-adm:cardholderIdentifier>"
            "<vk-adm:insuredPersonNumber>7560000</vk-adm:insuredPersonNumber></card>\r\n";
        const QByteArray vekaXml = "<veka><unique_id>80756001</unique_id></veka>\n";
        QVERIFY(client->send(card(QStringLiteral("Vexo"), cardXml)));
        QVERIFY(client->send(card(QStringLiteral("veka"), vekaXml)));
        QVERIFY(awaitDelivery());
        QCOMPARE(files(),
                 QStringList({QStringLiteral("adm_7560000.xml"), QStringLiteral("vkc_7560000.xml")}));
        QCOMPARE(read(QStringLiteral("adm_7560000.xml")), cardXml);
        QCOMPARE(read(QStringLiteral("vkc_7560000.xml")), vekaXml);

        // A cardholder that is not known, and a site that switches the export off.
        QVERIFY(client->send(card(QStringLiteral("veka"), "<unique_id>1</unique_id>")));
        QVERIFY(awaitDelivery());
        QCOMPARE(read(QStringLiteral("vkc_.xml")), QByteArray("<unique_id>1</unique_id>"));
        QVERIFY(writeFile(settingsPath(), "[ch.tessel.vexo-service.context]\n"));
        QVERIFY(client->send(card(QStringLiteral("veka"), "<unique_id>22</unique_id>")));
        QVERIFY(awaitDelivery());
        QCOMPARE(read(QStringLiteral("vkc_.xml")), QByteArray("<unique_id>1</unique_id>"));
        QCOMPARE(files().size(), 3);
    }

    void withoutTheSettingNothingIsWritten()
    {
        startHost();
        QVERIFY(writeFile(settingsPath(), "[ch.tessel.vexo-service.context]\nxml.directory="
                                              + QFile::encodeName(xmlPath()) + '\n'));
        QVERIFY(client->send(
            card(QStringLiteral("Vexo"), "<vk-adm:insuredPersonNumber>7</vk-adm:insuredPersonNumber>")));
        QVERIFY(awaitDelivery());
        QCOMPARE(files(), QStringList());
    }

    void filesComeAndGoOverTheBus()
    {
        startHost();
        const QByteArray bytes("%PDF-1.4\0\xff\r\n", 12);
        QVERIFY(client->send(file(QStringLiteral("a.pdf"), bytes)));
        QVERIFY(client->send(file(QStringLiteral("b.pdf"), "b")));
        QVERIFY(awaitDelivery());
        QCOMPARE(attachmentUrls(), QStringList({QStringLiteral("/context/a/file/a.pdf"),
                                                QStringLiteral("/context/a/file/b.pdf")}));
        QCOMPARE(bodyOf(ask("GET /context/a/file/a.pdf")), bytes);

        // Parked, since the context has been delivered once.
        QVERIFY(ask("GET /context/a/event").startsWith("HTTP/1.1 200 "));
        RawClient poll(host->port());
        poll.send("GET /context/a/event HTTP/1.1\r\nHost: localhost\r\n\r\n");
        // A connection made after that of the poll is served after it.
        QCOMPARE(attachmentUrls().size(), 2);
        QVERIFY(!poll.isReadable(0));

        QVERIFY(
            client->send(command(QStringLiteral("attachments-remove"),
                                 {{QStringLiteral("context"), QStringLiteral("a")},
                                  {QStringLiteral("attachments"), QJsonArray{QStringLiteral("a.pdf")}}})));
        QVERIFY(poll.readAnswer().startsWith("HTTP/1.1 200 "));
        QVERIFY(awaitDelivery());
        QCOMPARE(attachmentUrls(), QStringList(QStringLiteral("/context/a/file/b.pdf")));
        QVERIFY(ask("GET /context/a/file/a.pdf").startsWith("HTTP/1.1 404 "));
        QCOMPARE(bodyOf(ask("GET /context/a/file/b.pdf")), QByteArray("b"));
    }
};

QTEST_GUILESS_MAIN(CardsTest)
#include "tst_cards.moc"
