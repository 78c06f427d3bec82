#include "chunkbehaviourfactory.h"
#include "chunklistener.h"
#include "rpcfixture.h"

#include <QLoggingCategory>

namespace {

const char *const exchanges[] = {
    "vexo-context-rpc-create",          "vexo-context-rpc-delete",
    "vexo-context-rpc-get-files",       "vexo-context-rpc-set",
    "vexo-context-rpc-update",          "vexo-context-add-matching-items",
    "vexo-context-add-action-requests",
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
        contexts.setBehaviours(ChunkBehaviourFactory(proxy, contexts).createBehaviours());
        contexts.setContext(keptId, kept);
        bus.chunks.clear();
        events.clear();
    }

    void deliver(const QJsonValue &chunk) { listener.onChunkUpdated(chunk); }

    [[nodiscard]] bool isIntact() { return contexts.getContext(keptId) == kept; }

    const QString keptId = QStringLiteral("kept");
    const QJsonValue kept = json(QStringLiteral(R"({"x":{"y":[1,"a"]}})"));
    ChunkListener listener{contexts};
};

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
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*=false")); }

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
    }

    void linesOfAllBehavioursAreCounted_data()
    {
        QTest::addColumn<QString>("exchange");
        for (const char *exchange : exchanges) {
            if (!QLatin1String(exchange).endsWith(QLatin1String("create"))
                && !QLatin1String(exchange).endsWith(QLatin1String("delete"))
                && !QLatin1String(exchange).endsWith(QLatin1String("get-files")))
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
        const bool reads = exchange.endsWith(QLatin1String("get-files"));
        QCOMPARE(plugin.contexts.getContextKeys().size(), creates || reads ? 2 : 1);
        QCOMPARE(plugin.bus.chunks.size(), creates ? 3 : deletes ? 2 : reads ? 1 : 0);
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
    void strangeEntriesAndPatterns_data()
    {
        QTest::addColumn<QJsonValue>("value");
        for (const Value &strange : strangeValues())
            QTest::newRow(strange.name) << strange.value;
    }
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
                QVERIFY(plugin.bus.chunks.isEmpty());
                continue;
            }
            const QJsonValue reply = plugin.bus.chunks.last();
            QVERIFY(reply[QLatin1String("exchange")]
                    == QJsonValue(given[QLatin1String("reply-to")].toString().mid(9)));
            QVERIFY(reply[QLatin1String("properties")][QLatin1String("correlation-id")]
                    == given[QLatin1String("correlation-id")]);
        }
    }

    void strangeFiltersAndResources_data() { places(QStringLiteral("-add-")); }
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
        plugin.bus.chunks.clear();
        plugin.deliver(
            request(QStringLiteral("vexo-context-rpc-set"), QStringLiteral(R"({"_id":"a","x":1})")));
        QCOMPARE(published(plugin).last(), answer(QStringLiteral(R"({"x":1})")));
        QVERIFY(plugin.isIntact());
    }

private:
    static void places(const QString &part = QString())
    {
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<QJsonValue>("value");
        for (const char *exchange : exchanges) {
            if (!QLatin1String(exchange).contains(part))
                continue;
            for (const Value &strange : strangeValues())
                QTest::addRow("%s, %s", exchange, strange.name)
                    << QString::fromLatin1(exchange) << strange.value;
        }
    }
};

QTEST_GUILESS_MAIN(BehaviourSetTest)
#include "tst_behaviourset.moc"
