#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"
#include "unixclient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <optional>

/// What a sibling plug-in sees of the contexts, played from outside over the wire to the bus.
class ContextsOverBusTest : public QObject
{
    Q_OBJECT

    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("buswire.sock"));
    std::optional<HostProcess> host;
    std::optional<UnixClient> client;

    // JSON in C++: with single quotes.
    [[nodiscard]] static QByteArray q(QByteArray text) { return text.replace('\'', '"'); }

    [[nodiscard]] static QJsonObject parse(const QByteArray &json)
    {
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(json, &error);
        if (!document.isObject())
            qFatal("No JSON object: %s", json.constData());
        return document.object();
    }

    [[nodiscard]] static QByteArray request(const QByteArray &line, const QByteArray &body = {})
    {
        return line + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + QByteArray::number(body.size())
               + "\r\n\r\n" + body;
    }
    [[nodiscard]] QByteArray ask(const QByteArray &line, const QByteArray &body = {}) const
    {
        RawClient asking(host->port());
        asking.send(request(line, body));
        return asking.readAnswer();
    }
    [[nodiscard]] static QJsonObject bodyOf(const QByteArray &answer)
    {
        return parse(answer.mid(answer.indexOf("\r\n\r\n") + 4));
    }
    [[nodiscard]] QJsonObject context(const QByteArray &id) const
    {
        return bodyOf(ask("GET /context/" + id));
    }

    // Makes a context and takes the chunk that tells of it off the wire.
    void create(const QByteArray &id, const QByteArray &body)
    {
        QVERIFY(ask("PUT /context/" + id, body).startsWith("HTTP/1.1 201 "));
        QCOMPARE(changedId(parse(client->readLine())), QString::fromLatin1(id));
    }
    [[nodiscard]] static QString changedId(const QJsonObject &chunk)
    {
        const QJsonObject data = chunk.value(QStringLiteral("data")).toObject();
        return data.value(QStringLiteral("event")) == QLatin1String("context-changed")
                   ? data.value(QStringLiteral("id")).toString()
                   : QString();
    }

    [[nodiscard]] static QByteArray rpc(const QByteArray &name, const QByteArray &body)
    {
        return q("{'exchange':'vexo-context-rpc-") + name + q("','body':") + body
               + q(",'properties':{'reply-to':'exchange:answers','correlation-id':7}}") + '\n';
    }
    [[nodiscard]] static QJsonObject reply(const QByteArray &body)
    {
        return parse(q("{'exchange':'answers','properties':{'correlation-id':7},'body':") + body + '}');
    }

private Q_SLOTS:
    void init()
    {
        host.emplace(QStringList{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN),
                                 QStringLiteral("--plugin"), QStringLiteral(BUSWIRE_PLUGIN)},
                     "[ch.tessel.vexo-service.buswire]\nsocket=" + QFile::encodeName(path) + '\n');
        QVERIFY2(host->start(), host->readLog().constData());
        client.emplace(path);
        QVERIFY(client->isConnected());
    }
    void cleanup()
    {
        client.reset();
        QVERIFY2(stopHost(*host), host->readLog().constData());
        host.reset();
    }

    void createIsAnsweredWithTheNewId()
    {
        QVERIFY(client->send(rpc("create", q("{'x':1,'_id':'mine'}"))));
        const QJsonObject created = parse(client->readLine());
        QCOMPARE(created.value(QStringLiteral("exchange")), QStringLiteral("context-created"));
        const QString id =
            created.value(QStringLiteral("data")).toObject().value(QStringLiteral("contextId")).toString();
        QCOMPARE(id.size(), 16);
        QCOMPARE(changedId(parse(client->readLine())), id);
        const QByteArray body = q("{'x':1,'_id':'") + id.toLatin1() + q("'}");
        QCOMPARE(parse(client->readLine()), reply(body));
        QCOMPARE(context(id.toLatin1()), parse(body));
    }

    void setReplacesAndIsAnsweredWithoutTheId()
    {
        create("a", q("{'x':1,'y':1}"));
        QVERIFY(client->send(rpc("set", q("{'_id':'a','x':2}"))));
        QCOMPARE(changedId(parse(client->readLine())), QStringLiteral("a"));
        QCOMPARE(parse(client->readLine()), reply(q("{'x':2}")));
        QCOMPARE(context("a"), parse(q("{'x':2,'matchingItems':[]}")));
    }

    void updateMergesAndIsAnsweredWithTheUpdate()
    {
        create("a", q("{'x':1,'y':1}"));
        QVERIFY(client->send(rpc("update", q("{'_id':'a','x':2}"))));
        QCOMPARE(changedId(parse(client->readLine())), QStringLiteral("a"));
        QCOMPARE(parse(client->readLine()), reply(q("{'x':2}")));
        QCOMPARE(context("a"), parse(q("{'x':2,'y':1,'matchingItems':[]}")));
    }

    void updateOfAllReachesEachContextAndIsAnsweredOnce()
    {
        for (const char *id : {"a", "b", "c"})
            create(id, "{\"y\":\"" + QByteArray(id) + "\"}");
        QVERIFY(client->send(rpc("update", q("{'_id':'*','x':2}"))));
        for (const char *id : {"a", "b", "c"})
            QCOMPARE(changedId(parse(client->readLine())), QString::fromLatin1(id));
        QCOMPARE(parse(client->readLine()), reply(q("{'x':2}")));
        for (const char *id : {"a", "b", "c"})
            QCOMPARE(context(id), parse(q("{'x':2,'matchingItems':[],'y':'") + QByteArray(id) + q("'}")));
        // No second reply: what comes next is something else.
        create("d", "{\"x\":1}");
    }

    void deleteRemovesAndIsAnsweredWithTheId()
    {
        create("a", q("{'x':1}"));
        QVERIFY(client->send(rpc("delete", q("{'context':'a'}"))));
        QCOMPARE(parse(client->readLine()),
                 parse(q("{'exchange':'context-removed','data':{'contextId':'a'}}")));
        QCOMPARE(parse(client->readLine()), reply(q("{'context':'a'}")));
        QVERIFY(ask("GET /context/a").startsWith("HTTP/1.1 404 "));
    }

    void filesAreAnsweredWithTheirBytes()
    {
        create("a", q("{'_id':'a'}"));
        QByteArray bytes;
        for (int byte = 0; byte < 256; ++byte)
            bytes.append(static_cast<char>(byte));
        const auto add = [](const QByteArray &name, const QByteArray &content) {
            return q("{'exchange':'vexo-context-add-file','body':{'context':'a','filename':'") + name
                   + q("','content':'") + content.toBase64() + q("','type':{'code':'c'}}}\n");
        };
        const auto entry = [](const QByteArray &name, const QByteArray &content) {
            return q("{'resourceType':'DocumentReference','status':'superseded','type':{'coding':[{'code':'c'"
                     "}]},"
                     "'content':{'attachment':{'url':'/context/a/file/")
                   + name + q("','data':'") + content.toBase64() + q("'}}}");
        };
        QVERIFY(client->send(add("notes.txt", "text")));
        QVERIFY(client->send(add("report.pdf", bytes)));

        QVERIFY(client->send(rpc("get-files", q("{'context':'a'}"))));
        QCOMPARE(parse(client->readLine()),
                 reply('[' + entry("notes.txt", "text") + ',' + entry("report.pdf", bytes) + ']'));
        QVERIFY(client->send(rpc("get-files", q("{'context':'a','reference':{'content':{'attachment':{'url':'"
                                                "/context/a/file/report.pdf'}}}}"))));
        QCOMPARE(parse(client->readLine()), reply('[' + entry("report.pdf", bytes) + ']'));
        QVERIFY(client->send(rpc("get-files", q("{'context':'a','reference':{'status':'current'}}"))));
        QCOMPARE(parse(client->readLine()), reply("[]"));
        QVERIFY(client->send(rpc("get-files", q("{'context':'unknown'}"))));
        QCOMPARE(parse(client->readLine()), reply("[]"));
    }

    void requestWithoutAnIdIsNotAnswered_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("log");
        QTest::newRow("set") << QByteArray("set") << QByteArray("Set context with empty _id ignored.");
        QTest::newRow("update") << QByteArray("update")
                                << QByteArray("Update context with empty _id ignored.");
    }
    void requestWithoutAnIdIsNotAnswered()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, log);
        QVERIFY(client->send(rpc(name, q("{'_id':12,'x':2}"))));
        QVERIFY2(waitForLog(*host, log), host->readLog().constData());
        create("a", q("{'x':1}"));
    }

    void matchingItemsWakeAPollAndPublishNothing()
    {
        create("a", q("{'patient':'p'}"));
        create("b", q("{'patient':'q'}"));
        QVERIFY(ask("GET /context/a/event").startsWith("HTTP/1.1 200 "));
        RawClient poll(host->port());
        poll.send(request("GET /context/a/event"));
        // A connection made after that of the poll is served after it.
        QCOMPARE(context("a").keys(), QStringList{QStringLiteral("patient")});
        QVERIFY(!poll.isReadable(0));

        QVERIFY(
            client->send(q("{'exchange':'vexo-context-add-matching-items','body':{'filter':{'patient':'p'},"
                           "'matchingItems':{'entry':[{'resource':{'id':'r'}}]}}}\n")));
        const QJsonObject matched = parse(q("{'patient':'p','matchingItems':[{'id':'r'}]}"));
        QCOMPARE(bodyOf(poll.readAnswer()), matched);
        QCOMPARE(context("a"), matched);
        QCOMPARE(context("b"), parse(q("{'patient':'q'}")));
        // No chunk has gone out: what comes next is something else.
        create("c", "{\"x\":1}");
    }

    void longTextGoesInAndComesOut()
    {
        const QByteArray text(10000000, 'y');
        QVERIFY(client->send(rpc("set", "{\"_id\":\"a\",\"text\":\"" + text + "\"}")));
        QCOMPARE(changedId(parse(client->readLine())), QStringLiteral("a"));
        const QByteArray stored = "{\"text\":\"" + text + "\"}";
        QCOMPARE(parse(client->readLine()), reply(stored));
        QCOMPARE(context("a"), parse(stored));
    }

    void chunksOfAnyShapeHarmNothing_data()
    {
        QTest::addColumn<QByteArray>("chunk");
        const QByteArray levels = QByteArray("[").repeated(1000) + QByteArray("]").repeated(1000);
        QTest::newRow("1 000 levels") << "{\"body\":" + levels + "}";
        QTest::newRow("1 000 levels to store")
            << rpc("set", "{\"_id\":\"x\",\"y\":" + levels + "}").trimmed();
        for (const char *value : {"7", "null", "[]", "[[]]", "true", "\"\""}) {
            QTest::addRow("body %s", value)
                << q("{'exchange':'vexo-context-rpc-update','body':") + value + '}';
            QTest::addRow("exchange %s", value) << q("{'exchange':") + value + '}';
            QTest::addRow("filter %s", value)
                << q("{'exchange':'vexo-context-add-matching-items','body':{'filter':") + value
                       + q(",'matchingItems':") + value + "}}";
        }
    }
    void chunksOfAnyShapeHarmNothing()
    {
        QFETCH(QByteArray, chunk);
        create("a", q("{'x':1}"));
        QVERIFY(client->send(chunk + '\n'));
        // The bus keeps the order: once this is answered, that has been seen by all.
        const QJsonObject last = reply(q("{'z':1}"));
        QVERIFY(client->send(rpc("update", q("{'_id':'a','z':1}"))));
        QByteArray line;
        do {
            line = client->readLine();
            QVERIFY2(!line.isNull(), host->readLog().constData());
        } while (QJsonDocument::fromJson(line).object() != last);
        QCOMPARE(context("a").value(QStringLiteral("x")).toInt(), 1);
    }
};

QTEST_GUILESS_MAIN(ContextsOverBusTest)
#include "tst_contextsoverbus.moc"
