#include "carddirectory.h"
#include "chunkbehaviourfactory.h"
#include "chunklistener.h"
#include "messages.h"
#include "messageservice.h"
#include "rpcfixture.h"

#include <QLoggingCategory>

#include <memory>

namespace {

const char *const exchanges[] = {
    "vexo-context-rpc-create",          "vexo-context-rpc-delete",
    "vexo-context-rpc-get-files",       "vexo-context-rpc-set",
    "vexo-context-rpc-update",          "vexo-context-add-matching-items",
    "vexo-context-add-action-requests", "vexo-context-add-file",
    "vexo-context-attachments-remove",
};

// Counts what is logged by the behaviours, at any level.
class BehaviourLines final
{
public:
    BehaviourLines()
        : m_previous(qInstallMessageHandler(&BehaviourLines::handle))
    {
        count() = 0;
        QLoggingCategory::setFilterRules(QStringLiteral("*=false\n*behaviour=true"));
    }
    ~BehaviourLines()
    {
        qInstallMessageHandler(m_previous);
        QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    }
    Q_DISABLE_COPY_MOVE(BehaviourLines)

    [[nodiscard]] static int &count()
    {
        static int lines = 0;
        return lines;
    }

private:
    static void handle(QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString & /*text*/)
    {
        ++count();
    }

    QtMessageHandler m_previous;
};

// The whole set behind its door, over one context that whatever arrives must leave as it is.
struct Plugin : ContextStore
{
    Plugin()
    {
        contexts.setBehaviours(ChunkBehaviourFactory(cards, proxy, contexts, messages).createBehaviours());
        contexts.setContext(keptId, kept);
        bus.chunks.clear();
        events.clear();
    }

    void deliver(const QJsonValue &chunk) { listener.onChunkUpdated(chunk); }

    [[nodiscard]] bool isIntact() { return contexts.getContext(keptId) == kept; }

    const QString keptId = QStringLiteral("kept");
    const QJsonValue kept = json(QStringLiteral(R"({"x":{"y":[1,"a"]}})"));
    ChunkListener listener{cards, contexts};
};

QString vekaXml(const QString &cardholder)
{
    return QStringLiteral("<unique_id>%1</unique_id>").arg(cardholder);
}

struct Value
{
    const char *name;
    QJsonValue value;
};

QJsonValue nestedObjects(int levels)
{
    QJsonValue value = 1;
    for (int level = 0; level < levels; ++level)
        value = QJsonObject{{QStringLiteral("x"), value}};
    return value;
}

QJsonValue nestedArrays(int levels)
{
    QJsonValue value = 1;
    for (int level = 0; level < levels; ++level)
        value = QJsonArray{value};
    return value;
}

// Values that no chunk of the set is made of.
const QVector<Value> &strangeValues()
{
    static const QVector<Value> values{
        {"undefined", QJsonValue(QJsonValue::Undefined)},
        {"null", QJsonValue()},
        {"true", true},
        {"zero", 0},
        {"fraction", -0.5},
        {"huge number", 1.7976931348623157e308},
        {"integer beyond doubles", 9007199254740993LL},
        {"empty text", QString()},
        {"text with NUL", QString(3, QChar())},
        {"lone surrogate", QString(QChar(0xd800))},
        {"text of 10 MB", QString(10 * 1000 * 1000, QLatin1Char('x'))},
        {"empty array", QJsonArray()},
        {"array", QJsonArray{1, QStringLiteral("a"), QJsonValue(), QJsonObject()}},
        {"1000 arrays deep", nestedArrays(1000)},
        {"empty object", QJsonObject()},
        {"1000 objects deep", nestedObjects(1000)},
    };
    return values;
}

} // namespace

class BehaviourSetTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
        m_directory = std::make_unique<CardDirectory>();
        QVERIFY(m_directory->isReady());
    }
    void cleanup() { m_directory.reset(); }

    void chunkOfNobodyVanishes_data()
    {
        QTest::addColumn<QJsonValue>("chunk");
        for (const Value &strange : strangeValues()) {
            QTest::newRow(strange.name) << strange.value;
            QTest::addRow("exchange: %s", strange.name) << QJsonValue(QJsonObject{
                {QStringLiteral("exchange"), strange.value}, {QStringLiteral("body"), QJsonObject()}});
        }
        for (const char *exchange : exchanges) {
            const QString text = QLatin1String(exchange);
            QTest::addRow("%s in capitals", exchange)
                << QJsonValue(QJsonObject{{QStringLiteral("exchange"), text.toUpper()}});
            QTest::addRow("%s, first letter in capitals", exchange)
                << QJsonValue(QJsonObject{{QStringLiteral("exchange"), QLatin1Char('V') + text.mid(1)}});
        }
        QTest::newRow("messages in capitals")
            << json(QStringLiteral(R"({"exchange":"VEXO-CONTEXT-ADD-MESSAGES","messages":[]})"));
        QTest::newRow("messages that are none")
            << json(QStringLiteral(R"({"exchange":"vexo-context-add-messages","messages":{}})"));
        QTest::newRow("new context in capitals")
            << json(QStringLiteral(R"({"data":{"event":"New-context","data":{}}})"));
        QTest::newRow("new context that is none")
            << json(QStringLiteral(R"({"data":{"event":"new-context","data":[]}})"));
    }
    void chunkOfNobodyVanishes()
    {
        QFETCH(QJsonValue, chunk);
        Plugin plugin;
        {
            const BehaviourLines lines;
            plugin.deliver(chunk);
            QCOMPARE(lines.count(), 0);
        }
        QCOMPARE(plugin.contexts.getContextKeys(), QStringList(plugin.keptId));
        QVERIFY(plugin.isIntact());
        QVERIFY(plugin.bus.chunks.isEmpty());
        QCOMPARE(m_directory->files(), QStringList());
        QVERIFY(!plugin.messages.hasMessages());
    }

    void linesOfAllBehavioursAreCounted_data()
    {
        QTest::addColumn<QString>("exchange");
        for (const char *exchange : exchanges) {
            const QLatin1String name(exchange);
            const bool isSilent =
                name.endsWith(QLatin1String("create")) || name.endsWith(QLatin1String("delete"))
                || name.endsWith(QLatin1String("get-files")) || name.endsWith(QLatin1String("add-file"))
                || name.endsWith(QLatin1String("remove"));
            if (!isSilent)
                QTest::newRow(exchange) << QString::fromLatin1(exchange);
        }
    }
    void linesOfAllBehavioursAreCounted()
    {
        QFETCH(QString, exchange);
        Plugin plugin;
        const BehaviourLines lines;
        plugin.deliver(QJsonObject{{QStringLiteral("exchange"), exchange}});
        QCOMPARE(lines.count(), 2);
    }

    // What stands in "body" decides what the set does; all else is only copied or read as empty.
    void strangeBodies_data() { places(); }
    void strangeBodies()
    {
        QFETCH(QString, exchange);
        QFETCH(QJsonValue, value);
        Plugin plugin;
        plugin.deliver(QJsonObject{{QStringLiteral("exchange"), exchange}, {QStringLiteral("body"), value}});
        QVERIFY(plugin.isIntact());
        const bool creates = exchange.endsWith(QLatin1String("create"));
        const bool deletes = exchange.endsWith(QLatin1String("delete"));
        const bool addsFile = exchange.endsWith(QLatin1String("file"));
        const bool reads = exchange.endsWith(QLatin1String("get-files"));
        QCOMPARE(plugin.contexts.getContextKeys().size(), creates || addsFile || reads ? 2 : 1);
        QCOMPARE(plugin.contexts.getContextKeys().contains(QString()), addsFile || reads);
        QCOMPARE(plugin.bus.chunks.size(), creates ? 3 : deletes ? 2 : addsFile || reads ? 1 : 0);
        QVERIFY(!deletes
                || jsonText(plugin.bus.chunks.at(1)[QLatin1String("body")])
                       == QLatin1String(R"({"context":""})"));
    }

    void strangeIds_data() { places(); }
    void strangeIds()
    {
        QFETCH(QString, exchange);
        QFETCH(QJsonValue, value);
        Plugin plugin;
        const QJsonObject body{
            {QStringLiteral("_id"), value}, {QStringLiteral("context"), value}, {QStringLiteral("x"), 1}};
        plugin.deliver(QJsonObject{{QStringLiteral("exchange"), exchange}, {QStringLiteral("body"), body}});
        QVERIFY(plugin.isIntact());
        const QString id = value.toString();
        const bool writes =
            exchange.endsWith(QLatin1String("set")) || exchange.endsWith(QLatin1String("update"));
        if (writes) {
            QCOMPARE(plugin.contexts.getContextKeys().contains(id), !id.isEmpty());
            QCOMPARE(plugin.bus.chunks.size(), id.isEmpty() ? 0 : 2);
        } else if (exchange.endsWith(QLatin1String("file"))) {
            QVERIFY(plugin.contexts.getContextKeys().contains(id));
            QVERIFY(plugin.files.hasFile(id + QLatin1Char('_')));
        } else if (exchange.endsWith(QLatin1String("delete"))) {
            QVERIFY(plugin.bus.chunks.at(1)[QLatin1String("body")][QLatin1String("context")]
                    == QJsonValue(id));
        } else if (exchange.endsWith(QLatin1String("get-files"))) {
            QVERIFY(plugin.contexts.getContextKeys().contains(id));
            QCOMPARE(plugin.bus.chunks.size(), 1);
            QVERIFY(plugin.bus.chunks.first()[QLatin1String("body")] == QJsonValue(QJsonArray()));
        }
    }

    // Entries of a context's files, and patterns for them, may be anything, too.
    void strangeEntriesAndPatterns_data() { values(); }
    void strangeEntriesAndPatterns()
    {
        QFETCH(QJsonValue, value);
        const QJsonObject attachment{{QStringLiteral("url"), value}, {QStringLiteral("data"), value}};
        const QJsonObject coding{{QStringLiteral("system"), value}, {QStringLiteral("code"), value}};
        const QJsonObject entry{
            {QStringLiteral("status"), value},
            {QStringLiteral("meta"), QJsonObject{{QStringLiteral("tag"), QJsonArray{value}}}},
            {QStringLiteral("identifier"), QJsonArray{value}},
            {QStringLiteral("type"), QJsonObject{{QStringLiteral("coding"), coding}}},
            {QStringLiteral("content"), QJsonObject{{QStringLiteral("attachment"), attachment}}}};
        const QString id = QStringLiteral("a");
        for (const QJsonValue &pattern : {value, QJsonValue(entry)}) {
            Plugin plugin;
            plugin.contexts.setContext(
                id, QJsonObject{{QStringLiteral("attachments"), QJsonArray{value, entry}}});
            plugin.bus.chunks.clear();
            const QJsonObject body{{QStringLiteral("context"), id}, {QStringLiteral("reference"), pattern}};
            plugin.deliver(
                QJsonObject{{QStringLiteral("exchange"), QStringLiteral("vexo-context-rpc-get-files")},
                            {QStringLiteral("body"), body}});
            QVERIFY(plugin.isIntact());
            QCOMPARE(plugin.bus.chunks.size(), 1);
            // The entry fits itself.
            const QJsonArray found = plugin.bus.chunks.first()[QLatin1String("body")].toArray();
            const QJsonValue content = found.last()[QLatin1String("content")];
            QVERIFY(content[QLatin1String("attachment")][QLatin1String("data")] == QJsonValue(QString()));
            QVERIFY(found.last()[QLatin1String("identifier")] == QJsonValue(QJsonArray{value}));
        }
    }

    void strangeProperties_data() { places(); }
    void strangeProperties()
    {
        QFETCH(QString, exchange);
        QFETCH(QJsonValue, value);
        const QJsonObject properties{{QStringLiteral("reply-to"), value},
                                     {QStringLiteral("correlation-id"), value}};
        for (const QJsonValue &given : {QJsonValue(properties), value}) {
            Plugin plugin;
            plugin.deliver(QJsonObject{
                {QStringLiteral("exchange"), exchange},
                {QStringLiteral("properties"), given},
                {QStringLiteral("body"), QJsonObject{{QStringLiteral("_id"), QStringLiteral("a")}}}});
            QVERIFY(plugin.isIntact());
            if (!exchange.contains(QLatin1String("-rpc-"))) {
                const bool addsFile = exchange.endsWith(QLatin1String("file"));
                QCOMPARE(plugin.bus.chunks.size(), addsFile ? 1 : 0);
                continue;
            }
            const QJsonValue reply = plugin.bus.chunks.last();
            QVERIFY(reply[QLatin1String("exchange")]
                    == QJsonValue(given[QLatin1String("reply-to")].toString().mid(9)));
            QVERIFY(reply[QLatin1String("properties")][QLatin1String("correlation-id")]
                    == given[QLatin1String("correlation-id")]);
        }
    }

    void strangeFiles_data()
    {
        QTest::addColumn<QJsonValue>("value");
        for (const Value &strange : strangeValues())
            QTest::newRow(strange.name) << strange.value;
    }
    void strangeFiles()
    {
        QFETCH(QJsonValue, value);
        Plugin plugin;
        const QString target = QStringLiteral("target");
        const QJsonObject added{{QStringLiteral("context"), target},
                                {QStringLiteral("filename"), value},
                                {QStringLiteral("content"), value},
                                {QStringLiteral("type"), value}};
        plugin.deliver(QJsonObject{{QStringLiteral("exchange"), QStringLiteral("vexo-context-add-file")},
                                   {QStringLiteral("body"), added}});
        const QString key = target + QLatin1Char('_') + value.toString();
        QVERIFY(plugin.files.hasFile(key));
        QVERIFY(plugin.contexts.getContextKeys().contains(target));
        for (const QJsonValue &names : {value, QJsonValue(QJsonArray{value})}) {
            const QJsonObject removed{{QStringLiteral("context"), target},
                                      {QStringLiteral("attachments"), names}};
            plugin.deliver(
                QJsonObject{{QStringLiteral("exchange"), QStringLiteral("vexo-context-attachments-remove")},
                            {QStringLiteral("body"), removed}});
        }
        QVERIFY(plugin.isIntact());
        QVERIFY(!plugin.files.hasFile(key));
    }

    void strangeFiltersAndResources_data() { places(QStringLiteral("-add-"), QStringLiteral("file")); }
    void strangeFiltersAndResources()
    {
        QFETCH(QString, exchange);
        QFETCH(QJsonValue, value);
        const QString key = exchange.endsWith(QLatin1String("items")) ? QStringLiteral("matchingItems")
                                                                      : QStringLiteral("actionRequests");
        const QJsonArray entries{
            value, QJsonObject{{QStringLiteral("resource"), value}},
            QJsonObject{{QStringLiteral("resource"),
                         QJsonObject{{QStringLiteral("id"), value}, {QStringLiteral("n"), 1}}}}};
        const QJsonObject bundle{{QStringLiteral("entry"), entries}};
        Plugin plugin;
        const QString target = QStringLiteral("target");
        plugin.contexts.setContext(target,
                                   QJsonObject{{QStringLiteral("z"), value}, {key, QJsonArray{value}}});
        plugin.bus.chunks.clear();
        const QJsonObject body{{QStringLiteral("filter"), QJsonObject{{QStringLiteral("z"), value}}},
                               {QStringLiteral("properties"), value},
                               {key, bundle}};
        plugin.deliver(QJsonObject{{QStringLiteral("exchange"), exchange}, {QStringLiteral("body"), body}});
        // A filter without a value of its own is empty, and fits the kept context, too.
        QCOMPARE(plugin.isIntact(), !value.isUndefined());
        const QJsonArray stored = plugin.contexts.getContext(target)[key].toArray();
        QVERIFY(stored.contains(entries.at(2)[QLatin1String("resource")]));
    }

    void strangeCards_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QJsonValue>("value");
        for (const char *source : {"Vexo", "veka"}) {
            for (const Value &strange : strangeValues())
                QTest::addRow("%s, %s", source, strange.name) << QString::fromLatin1(source) << strange.value;
        }
    }
    void strangeCards()
    {
        QFETCH(QString, source);
        QFETCH(QJsonValue, value);
        Plugin plugin;
        {
            const BehaviourLines lines;
            plugin.deliver(QJsonObject{{QStringLiteral("source"), source}, {QStringLiteral("data"), value}});
            plugin.deliver(
                QJsonObject{{QStringLiteral("source"), value},
                            {QStringLiteral("data"), cardXml(QStringLiteral("1"), QStringLiteral("2"))
                                                         + vekaXml(QStringLiteral("1"))}});
            QCOMPARE(lines.count(), 0);
        }
        QVERIFY(plugin.isIntact());
        QVERIFY(plugin.bus.chunks.isEmpty());
        QCOMPARE(m_directory->files(), QStringList());
    }

    void chunkForTwoIsActedOnByBothInTheOrderOfTheSet()
    {
        Plugin plugin;
        QStringList filesAtTheChange;
        plugin.onPublish = [&] { filesAtTheChange = m_directory->files(); };
        QJsonObject chunk =
            request(QStringLiteral("vexo-context-rpc-set"), QStringLiteral(R"({"_id":"a","x":1})"))
                .toObject();
        chunk.insert(QStringLiteral("source"), QStringLiteral("Vexo"));
        chunk.insert(QStringLiteral("data"), cardXml(QStringLiteral("1"), QStringLiteral("10")));
        plugin.deliver(chunk);
        QCOMPARE(m_directory->files(), QStringList(QStringLiteral("adm_10.xml")));
        QCOMPARE(published(plugin).last(), answer(QStringLiteral(R"({"x":1})")));
        QCOMPARE(filesAtTheChange, QStringList(QStringLiteral("adm_10.xml")));

        chunk.insert(QStringLiteral("source"), QStringLiteral("veka"));
        chunk.insert(QStringLiteral("data"), vekaXml(QStringLiteral("1")));
        plugin.bus.chunks.clear();
        plugin.deliver(chunk);
        QCOMPARE(m_directory->files(),
                 QStringList({QStringLiteral("adm_10.xml"), QStringLiteral("vkc_10.xml")}));
        QCOMPARE(published(plugin), QStringList(answer(QStringLiteral(R"({"x":1})"))));
    }

    // The writers stay in the set, and a set that was made without them gets none.
    void settingThatIsRemovedOrAddedLater()
    {
        Plugin plugin;
        QVERIFY(m_directory->setLine(QStringLiteral("another=key")));
        Plugin withoutWriters;
        plugin.deliver(cardChunk(QStringLiteral("Vexo"), cardXml(QStringLiteral("1"), QStringLiteral("10"))));
        QCOMPARE(m_directory->files(), QStringList());
        QVERIFY(m_directory->set(m_directory->path()));
        withoutWriters.deliver(
            cardChunk(QStringLiteral("Vexo"), cardXml(QStringLiteral("1"), QStringLiteral("11"))));
        QCOMPARE(m_directory->files(), QStringList());
        plugin.deliver(cardChunk(QStringLiteral("veka"), vekaXml(QStringLiteral("1"))));
        QCOMPARE(m_directory->files(), QStringList(QStringLiteral("vkc_10.xml")));
    }

    void strangeMessages_data() { values(); }
    void strangeMessages()
    {
        QFETCH(QJsonValue, value);
        const QString valid = QStringLiteral(R"({"id":"a","title":"t","text":"x"})");
        QJsonObject odd = json(valid).toObject();
        odd.insert(QStringLiteral("id"), QStringLiteral("b"));
        for (const char *key : {"subtitle", "timestamp", "type", "lifetime"})
            odd.insert(QLatin1String(key), value);
        QJsonObject strange;
        for (const char *key : {"id", "title", "text"})
            strange.insert(QLatin1String(key), value);
        Plugin plugin;
        for (const QJsonValue &messages :
             {value, QJsonValue(QJsonArray{value, strange, json(valid), QJsonArray{value}, odd})})
            plugin.deliver(
                QJsonObject{{QStringLiteral("exchange"), QStringLiteral("vexo-context-add-messages")},
                            {QStringLiteral("messages"), messages}});
        const QStringList queue = textsOf(plugin.messages.createMessageUpdate()).keys();
        QCOMPARE(queue.size(), value.isString() ? 3 : 2);
        QVERIFY(queue.contains(QStringLiteral("a")) && queue.contains(QStringLiteral("b")));
        QVERIFY(plugin.isIntact());
        QVERIFY(plugin.bus.chunks.isEmpty());
    }

    void strangeAnnouncements_data() { values(); }
    void strangeAnnouncements()
    {
        QFETCH(QJsonValue, value);
        const QString data = QStringLiteral("data");
        const QString event = QStringLiteral("event");
        Plugin plugin;
        plugin.deliver(QJsonObject{{data, value}});
        plugin.deliver(QJsonObject{{data, QJsonObject{{event, value}, {data, QJsonObject()}}}});
        QVERIFY(plugin.bus.chunks.isEmpty());
        plugin.deliver(
            QJsonObject{{data, QJsonObject{{event, QStringLiteral("new-context")}, {data, value}}}});
        QVERIFY(plugin.isIntact());
        QCOMPARE(plugin.contexts.getContextKeys().size(), value.isObject() ? 2 : 1);
        QCOMPARE(plugin.bus.chunks.size(), value.isObject() ? 2 : 0);
    }

    // None can claim a chunk; they act in the order of the set.
    void chunkOfTwoIsActedOnByBoth()
    {
        const QString twice = QStringLiteral(R"("data":{"event":"new-context","data":{"y":1}})");
        Plugin plugin;
        plugin.deliver(json(
            QStringLiteral(R"({"exchange":"vexo-context-rpc-set","body":{"_id":"a","x":1},%1})").arg(twice)));
        QCOMPARE(plugin.contexts.getContextKeys().size(), 3);
        QCOMPARE(plugin.events.at(0), QStringLiteral(R"(chunk {"x":1} {"x":1})"));
        QVERIFY(plugin.events.at(3).startsWith(QLatin1String("created ")));

        plugin.events.clear();
        bool wasCreated = false;
        connect(&plugin.messages, &MessageService::messagesAvailable, this,
                [&] { wasCreated = !plugin.events.isEmpty(); });
        plugin.deliver(json(QStringLiteral(R"({"exchange":"vexo-context-add-messages",)"
                                           R"("messages":[{"id":"a","title":"t","text":"x"}],%1})")
                                .arg(twice)));
        QVERIFY(plugin.messages.hasMessages());
        QCOMPARE(plugin.contexts.getContextKeys().size(), 4);
        QVERIFY(!wasCreated);
    }

    // After anything at all the set still does its work.
    void setStillAnswersAfterEverything()
    {
        Plugin plugin;
        for (const Value &strange : strangeValues()) {
            plugin.deliver(strange.value);
            for (const char *exchange : exchanges) {
                if (QLatin1String(exchange).endsWith(QLatin1String("create")))
                    continue;
                plugin.deliver(QJsonObject{{QStringLiteral("exchange"), QLatin1String(exchange)},
                                           {QStringLiteral("body"), strange.value},
                                           {QStringLiteral("properties"), strange.value}});
            }
        }
        for (const Value &strange : strangeValues()) {
            if (strange.value.isObject())
                continue; // would make a context, for which the next one has to wait
            plugin.deliver(
                json(QStringLiteral(R"({"exchange":"vexo-context-add-messages","messages":[7]})")));
            plugin.deliver(QJsonObject{
                {QStringLiteral("data"), QJsonObject{{QStringLiteral("event"), QStringLiteral("new-context")},
                                                     {QStringLiteral("data"), strange.value}}}});
        }
        plugin.bus.chunks.clear();
        plugin.deliver(
            request(QStringLiteral("vexo-context-rpc-set"), QStringLiteral(R"({"_id":"a","x":1})")));
        QCOMPARE(published(plugin).last(), answer(QStringLiteral(R"({"x":1})")));
        QVERIFY(plugin.isIntact());
    }

private:
    static void values()
    {
        QTest::addColumn<QJsonValue>("value");
        for (const Value &strange : strangeValues())
            QTest::newRow(strange.name) << strange.value;
    }
    // Those with `part`, but for those with `other`.
    static void places(const QString &part = QString(), const QString &other = QStringLiteral("none"))
    {
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<QJsonValue>("value");
        for (const char *exchange : exchanges) {
            if (!QLatin1String(exchange).contains(part) || QLatin1String(exchange).contains(other))
                continue;
            for (const Value &strange : strangeValues())
                QTest::addRow("%s, %s", exchange, strange.name)
                    << QString::fromLatin1(exchange) << strange.value;
        }
    }

    std::unique_ptr<CardDirectory> m_directory;
};

QTEST_GUILESS_MAIN(BehaviourSetTest)
#include "tst_behaviourset.moc"
