#include "hostlog.h"
#include "hostprocess.h"
#include "rawclient.h"
#include "unixclient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <optional>
#include <vector>

/// Messages for the user and announced contexts, from a sibling plug-in on the bus to the clients of the real
/// host.
class MessagesTest final : public QObject
{
    Q_OBJECT

    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("buswire.sock"));
    std::optional<HostProcess> host;
    std::optional<UnixClient> bus;

    // JSON in C++: with single quotes.
    [[nodiscard]] static QByteArray q(QByteArray text) { return text.replace('\'', '"'); }

    [[nodiscard]] static QByteArray request(const QByteArray &line, const QByteArray &body = {},
                                            const QByteArray &headers = {})
    {
        return line + " HTTP/1.1\r\nHost: localhost\r\n" + headers
               + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }
    [[nodiscard]] QByteArray ask(const QByteArray &line, const QByteArray &body = {},
                                 const QByteArray &headers = {}) const
    {
        RawClient asking(host->port());
        asking.send(request(line, body, headers));
        return asking.readAnswer();
    }
    [[nodiscard]] static QByteArray bodyOf(const QByteArray &answer)
    {
        return answer.mid(answer.indexOf("\r\n\r\n") + 4);
    }
    [[nodiscard]] static QJsonObject objectIn(const QByteArray &json)
    {
        return QJsonDocument::fromJson(json).object();
    }

    // The identifiers in an answer of 200, sorted, since their order has no meaning.
    [[nodiscard]] static QStringList messagesIn(const QByteArray &answer)
    {
        const QJsonDocument document = QJsonDocument::fromJson(bodyOf(answer));
        if (!answer.startsWith("HTTP/1.1 200 ") || !document.isArray())
            return {QStringLiteral("no update: ") + QString::fromUtf8(answer)};
        QStringList identifiers;
        const QJsonArray messages = document.array();
        for (const QJsonValue &message : messages)
            identifiers.append(message[QLatin1String("id")].toString());
        identifiers.sort();
        return identifiers;
    }
    [[nodiscard]] static QStringList list(const char *identifiers)
    {
        return QString::fromLatin1(identifiers).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }

    [[nodiscard]] static QByteArray message(const QByteArray &identifier)
    {
        return q("{'id':'") + identifier + q("','title':'t','text':'x'}");
    }
    [[nodiscard]] static QByteArray chunk(const QByteArray &messages)
    {
        return q("{'source':'k7-plugin-adswiss','exchange':'vexo-context-add-messages','messages':[")
               + messages + "]}\n";
    }

    // A poll that waits. It has been served once a connection that is made later has been.
    [[nodiscard]] RawClient park(const QByteArray &method = "GET") const
    {
        RawClient poll(host->port());
        poll.send(request(method + " /message/event"));
        if (!poll.awaitReceipt() || messagesIn(ask("POST /message")) != QStringList() || poll.isReadable(0))
            qFatal("The poll does not wait.");
        return poll;
    }

    [[nodiscard]] bool isRunning() const { return host->process.state() == QProcess::Running; }

    [[nodiscard]] int openFiles() const
    {
        const QDir files(QStringLiteral("/proc/%1/fd").arg(host->process.processId()));
        return files.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
    }

private Q_SLOTS:
    void init()
    {
        host.emplace(QStringList{QStringLiteral("--plugin"), QStringLiteral(CONTEXT_PLUGIN),
                                 QStringLiteral("--plugin"), QStringLiteral(BUSWIRE_PLUGIN)},
                     "[ch.tessel.vexo-service.buswire]\nsocket=" + QFile::encodeName(path) + '\n');
        QProcessEnvironment environment = host->process.processEnvironment();
        environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                           QStringLiteral("ch.tessel.vexo-service.context.eventcontroller.debug=true"));
        host->process.setProcessEnvironment(environment);
        QVERIFY2(host->start(), host->readLog().constData());
        bus.emplace(path);
        QVERIFY(bus->isConnected());
    }
    void cleanup()
    {
        bus.reset();
        QVERIFY2(!isRunning() || stopHost(*host), host->readLog().constData());
        host.reset();
    }

    void messageGoesFromTheBusToItsConsumption_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::newRow("GET") << QByteArray("GET");
        QTest::newRow("DELETE") << QByteArray("DELETE");
    }
    void messageGoesFromTheBusToItsConsumption()
    {
        QFETCH(QByteArray, method);
        RawClient poll = park(method);
        QVERIFY(
            bus->send(chunk(q("{'id':'a','title':'t','text':'f\xc3\xbcr','timestamp':'2026-01-31T12:00:00',"
                              "'type':'customlifetime','lifetime':'1'}"))));
        const QByteArray answer = poll.readAnswer();
        QVERIFY2(answer.startsWith("HTTP/1.1 200 "), answer.constData());
        QVERIFY(answer.contains("\r\nContent-Type: application/json\r\n"));
        QVERIFY(!answer.contains("Cache-Control"));
        QCOMPARE(bodyOf(answer), q("[\n"
                                   "    {\n"
                                   "        'id': 'a',\n"
                                   "        'lifetime': '1',\n"
                                   "        'subtitle': '',\n"
                                   "        'text': 'f\xc3\xbcr',\n"
                                   "        'timestamp': '2026-01-31T12:00:00',\n"
                                   "        'title': 't',\n"
                                   "        'type': 'customlifetime'\n"
                                   "    }\n"
                                   "]\n"));

        // It stays, however often it is told, and on the same connection too.
        poll.send(request(method + " /message/event"));
        QCOMPARE(bodyOf(poll.readAnswer()), bodyOf(answer));
        QCOMPARE(messagesIn(ask("POST /message", q("['b']"))), list("a"));
        QCOMPARE(messagesIn(ask(method + " /message/event")), list("a"));

        const QByteArray rest = ask("POST /message", q("['a']"), "Content-Type: application/json\r\n");
        QVERIFY(rest.contains("\r\nContent-Type: application/json\r\n"));
        QCOMPARE(bodyOf(rest), QByteArray("[\n]\n"));
        RawClient next = park(method);
        QVERIFY(bus->send(chunk(message("b"))));
        QCOMPARE(messagesIn(next.readAnswer()), list("b"));
    }

    void oneMessageWakesAllPolls()
    {
        std::vector<RawClient> polls;
        for (int i = 0; i < 50; ++i) {
            polls.emplace_back(host->port());
            polls.back().send(request("GET /message/event"));
            QVERIFY(polls.back().awaitReceipt());
        }
        QVERIFY2(waitForLog(*host, "Wait for messages becoming available...", 50),
                 host->readLog().constData());
        QVERIFY(bus->send(chunk(message("a"))));
        const QByteArray first = bodyOf(polls.front().readAnswer());
        QCOMPARE(QJsonDocument::fromJson(first).array().size(), 1);
        for (std::size_t i = 1; i < polls.size(); ++i)
            QCOMPARE(bodyOf(polls.at(i).readAnswer()), first);
        QCOMPARE(messagesIn(ask("POST /message", q("['a']"))), QStringList());
    }

    // A poll is woken by the first message of a chunk, before the second is there.
    void chunkOfSeveralMessages()
    {
        RawClient poll = park();
        QVERIFY(bus->send(chunk(q("7,{'id':'x'},") + message("b") + ',' + message("a"))));
        QCOMPARE(messagesIn(poll.readAnswer()), list("b"));
        QCOMPARE(messagesIn(ask("GET /message/event")), list("a b"));
        QCOMPARE(messagesIn(ask("POST /message", q("['b',1]"))), list("a"));
        QVERIFY(bus->send(chunk(q("{'id':'a','title':'t','text':'later'},") + message("c"))));
        QTRY_COMPARE_WITH_TIMEOUT(messagesIn(ask("GET /message/event")), list("a c"), 30000);
        QVERIFY(ask("POST /message").contains("later"));
    }

    void clientThatLeavesIsNotWaitedFor()
    {
        // The host answers a line that is no chunk: it has this connection then.
        QVERIFY(bus->send("7\n"));
        QVERIFY(bus->readLine().startsWith("{\"error\""));
        std::vector<RawClient> polls;
        int filesWithOne = 0;
        for (int i = 1; i <= 3; ++i) {
            polls.emplace_back(host->port());
            polls.back().send(request("GET /message/event"));
            QVERIFY(waitForLog(*host, "Wait for messages becoming available...", i));
            if (i == 1)
                filesWithOne = openFiles();
        }
        QCOMPARE(openFiles(), filesWithOne + 2);
        polls.at(1).close();
        polls.at(2).reset();
        QTRY_COMPARE_WITH_TIMEOUT(openFiles(), filesWithOne, 30000);
        QCOMPARE(messagesIn(ask("POST /message")), QStringList());

        QVERIFY(bus->send(chunk(message("a"))));
        QCOMPARE(messagesIn(polls.front().readAnswer()), list("a"));
        QCOMPARE(messagesIn(ask("POST /message")), list("a"));
        QVERIFY2(stopHost(*host), host->readLog().constData());
        QCOMPARE(host->readLog().count("Messages have become available. Returning long-polling."), 1);
    }

    void hostStopsWhilePollsWait()
    {
        const RawClient one = park();
        const RawClient other = park();
        QVERIFY2(stopHost(*host), host->readLog().constData());
        QVERIFY(!isRunning());
    }

    void chunksOfOtherFormsWakeNobody_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("nothing valid")
            << chunk(q("7,'x',{'id':1,'title':'t','text':'x'},[") + message("a") + ']');
        QTest::newRow("no message") << chunk("");
        QTest::newRow("no array") << q("{'exchange':'vexo-context-add-messages','messages':") + message("a")
                                         + "}\n";
        QTest::newRow("in the body") << q("{'exchange':'vexo-context-add-messages','body':{'messages':[")
                                            + message("a") + "]}}\n";
        QTest::newRow("another exchange")
            << q("{'exchange':'vexo-context-add-message','messages':[") + message("a") + "]}\n";
    }
    void chunksOfOtherFormsWakeNobody()
    {
        QFETCH(QByteArray, line);
        RawClient poll = park();
        QVERIFY(bus->send(line + chunk(message("last"))));
        QCOMPARE(messagesIn(poll.readAnswer()), list("last"));
    }

    void otherRequestsAreNotServed_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QByteArray>("headers");
        QTest::newRow("report as text")
            << QByteArray("POST /message") << QByteArray("Content-Type: text/plain\r\n");
        QTest::newRow("report with a query") << QByteArray("POST /message?x=1") << QByteArray();
        QTest::newRow("report with a slash") << QByteArray("POST /message/") << QByteArray();
        QTest::newRow("queue by GET") << QByteArray("GET /message") << QByteArray();
        QTest::newRow("poll with a slash") << QByteArray("GET /message/event/") << QByteArray();
        QTest::newRow("poll by POST") << QByteArray("POST /message/event") << QByteArray();
    }
    void otherRequestsAreNotServed()
    {
        QFETCH(QByteArray, line);
        QFETCH(QByteArray, headers);
        const QByteArray answer = ask(line, q("['a']"), headers);
        QVERIFY2(answer.startsWith("HTTP/1.1 404 "), answer.constData());
    }

    void announcedContextShowsUp()
    {
        const QByteArray announcement = q("{'source':'k7-plugin-mediwin-cb','data':{'event':'new-context',"
                                          "'data':{'_id':'abc','patient':{'id':'p'}}}}\n");
        QStringList ids;
        for (int i = 0; i < 2; ++i) {
            QVERIFY(bus->send(announcement));
            const QJsonObject created = objectIn(bus->readLine());
            QCOMPARE(created.value(QLatin1String("exchange")).toString(), QStringLiteral("context-created"));
            const QString id =
                created.value(QLatin1String("data")).toObject().value(QLatin1String("contextId")).toString();
            QCOMPARE(id.size(), 16);
            const QJsonObject stored = objectIn(q("{'patient':{'id':'p'},'_id':'") + id.toLatin1() + q("'}"));
            const QJsonObject changed = objectIn(bus->readLine()).value(QLatin1String("data")).toObject();
            QCOMPARE(changed.value(QLatin1String("event")).toString(), QStringLiteral("context-changed"));
            QCOMPARE(changed.value(QLatin1String("id")).toString(), id);
            QCOMPARE(changed.value(QLatin1String("context")).toObject(), stored);
            QCOMPARE(objectIn(bodyOf(ask("GET /context/" + id.toLatin1()))), stored);
            ids.append(id);
        }
        // The same announcement makes another one, and none under the id that it brought.
        QVERIFY(ids.at(0) != ids.at(1));
        QVERIFY(ask("GET /context/abc").startsWith("HTTP/1.1 404 "));
    }
};

QTEST_GUILESS_MAIN(MessagesTest)
#include "tst_messages.moc"
