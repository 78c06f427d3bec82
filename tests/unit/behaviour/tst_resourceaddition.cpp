#include "resourceaddition.h"

#include "addactionrequestsbehaviour.h"
#include "addmatchingitemsbehaviour.h"
#include "contextserviceprobe.h"
#include "rpcfixture.h"

#include <QLoggingCategory>

#include <memory>
#include <utility>

namespace {

const char matchingItemsCategory[] = "ch.tessel.vexo-service.context.addmatchingitemsbehaviour";
const char actionRequestsCategory[] = "ch.tessel.vexo-service.context.addactionrequestsbehaviour";

using Lines = QVector<LogCapture::Line>;

LogCapture::Line debug(const QString &text)
{
    return {QtDebugMsg, text};
}

LogCapture::Line warning(const QString &text)
{
    return {QtWarningMsg, text};
}

// One of the two behaviours with its words. KEY in a text stands for its key.
class Kind final
{
public:
    explicit Kind(bool matchingItems)
        : m_matchingItems(matchingItems)
    {
    }

    [[nodiscard]] QString key() const
    {
        return m_matchingItems ? QStringLiteral("matchingItems") : QStringLiteral("actionRequests");
    }
    [[nodiscard]] const char *category() const
    {
        return m_matchingItems ? matchingItemsCategory : actionRequestsCategory;
    }
    [[nodiscard]] bool isMatchingItems() const { return m_matchingItems; }

    [[nodiscard]] QString spelled(const char *text) const
    {
        return QString::fromUtf8(text).replace(QLatin1String("KEY"), key());
    }

    /// Delivers a chunk of this kind with `body`.
    void deliver(ContextStore &store, const char *body) const
    {
        deliverChunk(store, QJsonObject{{QStringLiteral("exchange"), exchange()},
                                        {QStringLiteral("source"), QStringLiteral("sender")},
                                        {QStringLiteral("body"), json(spelled(body))}});
    }
    void deliverChunk(ContextStore &store, const QJsonValue &chunk) const
    {
        std::unique_ptr<ChunkBehaviour> behaviour;
        if (m_matchingItems)
            behaviour = std::make_unique<AddMatchingItemsBehaviour>(store.contexts);
        else
            behaviour = std::make_unique<AddActionRequestsBehaviour>(store.contexts);
        behaviour->onChunk(chunk);
    }
    [[nodiscard]] QString exchange() const
    {
        return m_matchingItems ? QStringLiteral("vexo-context-add-matching-items")
                               : QStringLiteral("vexo-context-add-action-requests");
    }

    /// Stores the contexts of a JSON object; what that sends is forgotten.
    void fill(ContextStore &store, const char *contexts) const
    {
        const QJsonObject object = json(spelled(contexts)).toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            store.contexts.setContext(it.key(), it.value());
        store.events.clear();
        store.bus.chunks.clear();
    }

private:
    bool m_matchingItems;
};

void kinds()
{
    QTest::addColumn<bool>("matchingItems");
    QTest::newRow("matching items") << true;
    QTest::newRow("action requests") << false;
}

const char emptyAddition[] = R"({"filter":{},"KEY":{"entry":[]}})";

} // namespace

class ResourceAdditionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void resourcesGoIntoTheContext_data()
    {
        QTest::addColumn<bool>("matchingItems");
        QTest::addColumn<QString>("contexts");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("stored");
        const auto row = [](const char *name, const char *contexts, const char *body, const char *stored) {
            for (const bool matchingItems : {true, false}) {
                const Kind kind(matchingItems);
                QTest::addRow("%s, %s", name, matchingItems ? "matching items" : "action requests")
                    << matchingItems << kind.spelled(contexts) << kind.spelled(body) << kind.spelled(stored);
            }
        };
        row("into a context without any", R"({"a":{"x":1}})",
            R"({"filter":{"x":1},"KEY":{"entry":[{"fullUrl":"u","resource":{"id":"r"}}]}})",
            R"({"a":{"KEY":[{"id":"r"}],"x":1}})");
        row("merged with what is there", R"({"a":{"KEY":[{"id":"a"},{"id":"b"}],"x":1}})",
            R"({"filter":{"x":1},"KEY":{"entry":[{"resource":{"id":"c"}},{"resource":{"id":"a","n":1}}]}})",
            R"({"a":{"KEY":[{"id":"c"},{"id":"a","n":1},{"id":"b"}],"x":1}})");
        row("something else is there", R"({"a":{"KEY":{"id":"a"}}})",
            R"({"filter":{},"KEY":{"entry":[{"resource":{"id":"c"}}]}})", R"({"a":{"KEY":[{"id":"c"}]}})");
        row("every context merges with its own",
            R"({"a":{"KEY":[{"id":"a"}],"x":1},"b":{"KEY":[{"id":"b"}],"x":1},"c":{"x":1}})",
            R"({"filter":{"x":1},"KEY":{"entry":[{"resource":{"id":"r"}}]}})",
            R"({"a":{"KEY":[{"id":"r"},{"id":"a"}],"x":1},"b":{"KEY":[{"id":"r"},{"id":"b"}],"x":1},"c":{"KEY":[{"id":"r"}],"x":1}})");
        row("contexts apart from the filter stay", R"({"a":{"x":2},"b":{"x":1},"c":{}})",
            R"({"filter":{"x":1},"KEY":{"entry":[{"resource":{"id":"r"}}]}})",
            R"({"a":{"x":2},"b":{"KEY":[{"id":"r"}],"x":1},"c":{}})");
        row("empty filter", R"({"a":{"x":2},"b":{}})",
            R"({"filter":{},"KEY":{"entry":[{"resource":{"id":"r"}}]}})",
            R"({"a":{"KEY":[{"id":"r"}],"x":2},"b":{"KEY":[{"id":"r"}]}})");
        row("text as filter", R"({"a":{"x":2}})",
            R"({"filter":"x","KEY":{"entry":[{"resource":{"id":"r"}}]}})",
            R"({"a":{"KEY":[{"id":"r"}],"x":2}})");
        row("number as filter", R"({"a":{"x":2}})",
            R"({"filter":7,"KEY":{"entry":[{"resource":{"id":"r"}}]}})",
            R"({"a":{"KEY":[{"id":"r"}],"x":2}})");
        row("null as filter", R"({"a":{"x":2}})",
            R"({"filter":null,"KEY":{"entry":[{"resource":{"id":"r"}}]}})",
            R"({"a":{"KEY":[{"id":"r"}],"x":2}})");
        row("array as filter", R"({"a":{"x":2}})",
            R"({"filter":["x"],"KEY":{"entry":[{"resource":{"id":"r"}}]}})",
            R"({"a":{"KEY":[{"id":"r"}],"x":2}})");
        row("no usable entry into nothing", R"({"a":{"x":2}})",
            R"({"filter":{},"KEY":{"entry":[5,{"id":"r"},{"resource":{}}]}})", R"({"a":{"KEY":[],"x":2}})");
        row("no usable entry thins out what is there",
            R"({"a":{"KEY":[{"id":"a","n":1},{"id":"a","n":2},{"n":3},{"n":4}]}})",
            R"({"filter":{},"KEY":{"entry":[]}})", R"({"a":{"KEY":[{"id":"a","n":1},{"n":3}]}})");
        row("no resources at all", R"({"a":{}})", R"({"filter":{}})", R"({"a":{"KEY":[]}})");
        row("resources of a wrong type", R"({"a":{}})", R"({"filter":{},"KEY":[{"resource":{"id":"r"}}]})",
            R"({"a":{"KEY":[]}})");
        row("resource without an id is kept", R"({"a":{"KEY":[{"n":1},{"id":"b"}]}})",
            R"({"filter":{},"KEY":{"entry":[{"resource":{"n":2}}]}})",
            R"({"a":{"KEY":[{"n":2},{"id":"b"}]}})");
        row("context that is no object", R"({"a":[1]})",
            R"({"filter":{},"KEY":{"entry":[{"resource":{"id":"r"}}]}})", R"({"a":[1]})");
        row("a filter may name the array", R"({"a":{"KEY":[{"id":"a"}]},"b":{"KEY":[{"id":"b"}]}})",
            R"({"filter":{"KEY":[{"id":"b"}]},"KEY":{"entry":[{"resource":{"id":"r"}}]}})",
            R"({"a":{"KEY":[{"id":"a"}]},"b":{"KEY":[{"id":"r"},{"id":"b"}]}})");
    }
    void resourcesGoIntoTheContext()
    {
        QFETCH(bool, matchingItems);
        QFETCH(QString, contexts);
        QFETCH(QString, body);
        QFETCH(QString, stored);
        const Kind kind(matchingItems);
        ContextStore store;
        kind.fill(store, contexts.toUtf8().constData());
        const LogCapture log(kind.category());
        kind.deliver(store, body.toUtf8().constData());
        QCOMPARE(contents(store), stored);
        QVERIFY(store.bus.chunks.isEmpty());
    }

    void otherKeysOfTheContextStay_data() { kinds(); }
    void otherKeysOfTheContextStay()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        ContextStore store;
        const QString context =
            QStringLiteral(R"({"actionRequests":%1,"attachments":[1],"inbox":2,"matchingItems":%2,"x":1})");
        const QString items = QStringLiteral(R"([{"id":"m"}])");
        const QString more = QStringLiteral(R"([{"id":"r"},{"id":"m"}])");
        kind.fill(store, QStringLiteral(R"({"a":%1})").arg(context.arg(items, items)).toUtf8().constData());
        kind.deliver(store, R"({"filter":{},"KEY":{"entry":[{"resource":{"id":"r"}}]}})");
        QCOMPARE(jsonText(store.contexts.getContext(QStringLiteral("a"))),
                 matchingItems ? context.arg(items, more) : context.arg(more, items));
    }

    void onlyTheSignalTellsOfIt_data() { kinds(); }
    void onlyTheSignalTellsOfIt()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        ContextStore store;
        kind.fill(store, R"({"a":{"x":1},"b":{"x":2}})");
        kind.deliver(store, R"({"filter":{"x":1},"KEY":{"entry":[{"resource":{"id":"r"}}]}})");
        QCOMPARE(store.events, QStringList(kind.spelled(R"(signal a {"KEY":[{"id":"r"}],"x":1})")));
        kind.deliver(store, R"({"filter":{"x":1},"KEY":{"entry":[{"resource":{"id":"r"}}]}})");
        QCOMPARE(store.events.size(), 1);
    }

    void readsTheKeyOfItsOwnKind_data() { kinds(); }
    void readsTheKeyOfItsOwnKind()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        const Kind other(!matchingItems);
        ContextStore store;
        kind.fill(store, R"({"a":{}})");
        const QString body = other.spelled(R"({"filter":{},"KEY":{"entry":[{"resource":{"id":"r"}}]}})");
        kind.deliver(store, body.toUtf8().constData());
        QCOMPARE(contents(store), kind.spelled(R"({"a":{"KEY":[]}})"));
    }

    void everyContextCountsAsUsed_data() { kinds(); }
    void everyContextCountsAsUsed()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        ContextStore store;
        kind.fill(store, R"({"a":{"x":1},"b":{"x":2}})");
        const QDateTime longAgo = QDateTime::currentDateTime().addDays(-1);
        auto &lastUse = ContextServiceProbe::lastUse(store.contexts);
        for (const bool hasFilter : {false, true}) {
            lastUse[QStringLiteral("a")] = longAgo;
            lastUse[QStringLiteral("b")] = longAgo;
            const LogCapture log(kind.category());
            kind.deliver(store, hasFilter ? R"({"filter":{"x":1}})" : "{}");
            QCOMPARE(lastUse[QStringLiteral("a")] > longAgo, hasFilter);
            QCOMPARE(lastUse[QStringLiteral("b")] > longAgo, hasFilter);
        }
    }

    void contextsAreThoseOfTheMoment_data() { kinds(); }
    void contextsAreThoseOfTheMoment()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        ContextStore store;
        kind.fill(store, R"({"a":{},"b":{}})");
        bool first = true;
        QObject::connect(&store.contexts, &ContextService::contextChanged, &store.contexts,
                         [&](const QString & /*id*/, const QJsonValue & /*value*/) {
                             if (std::exchange(first, false)) {
                                 store.contexts.setContext(QStringLiteral("c"), QJsonObject());
                                 store.contexts.deleteContext(QStringLiteral("b"));
                             }
                         });
        kind.deliver(store, emptyAddition);
        // An id that has gone since is a context again, since an empty filter fits it.
        QCOMPARE(contents(store), kind.spelled(R"({"a":{"KEY":[]},"b":{"KEY":[]},"c":{}})"));
    }

    void idThatWasOnlyReadBecomesAContext_data() { kinds(); }
    void idThatWasOnlyReadBecomesAContext()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        ContextStore store;
        QVERIFY(store.contexts.getContext(QStringLiteral("a")).isNull());
        kind.deliver(store, R"({"filter":{"x":1}})");
        QCOMPARE(store.events, QStringList());
        QCOMPARE(contents(store), QStringLiteral(R"({"a":null})"));
        kind.deliver(store, emptyAddition);
        const QString stored = kind.spelled(R"({"KEY":[]})");
        QCOMPARE(store.events, QStringList({QStringLiteral("chunk %1 %1").arg(stored),
                                            QStringLiteral("signal a %1").arg(stored)}));
    }

    void worksWithoutABus_data() { kinds(); }
    void worksWithoutABus()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        ContextStore store;
        kind.fill(store, R"({"a":{}})");
        store.proxy.setChunkService(nullptr);
        kind.deliver(store, emptyAddition);
        QCOMPARE(contents(store), kind.spelled(R"({"a":{"KEY":[]}})"));
    }

    void chunkWithoutAFilterIsRefused_data()
    {
        QTest::addColumn<bool>("matchingItems");
        QTest::addColumn<QString>("contexts");
        QTest::addColumn<QString>("body");
        for (const bool matchingItems : {true, false}) {
            const QString name =
                matchingItems ? QStringLiteral("matching items") : QStringLiteral("action requests");
            const auto row = [&](const char *what, const char *contexts, const char *body) {
                QTest::addRow("%s, %s", what, qPrintable(name))
                    << matchingItems << QString::fromLatin1(contexts) << QString::fromLatin1(body);
            };
            row("no filter", R"({"a":{"x":1}})", R"({"KEY":{"entry":[{"resource":{"id":"r"}}]}})");
            row("empty store", "{}", R"({"KEY":{"entry":[{"resource":{"id":"r"}}]}})");
            row("key in another case", R"({"a":{}})", R"({"Filter":{}})");
            row("array as body", R"({"a":{}})", R"(["filter"])");
            row("text as body", R"({"a":{}})", R"("filter")");
            row("null as body", R"({"a":{}})", "null");
        }
    }
    void chunkWithoutAFilterIsRefused()
    {
        QFETCH(bool, matchingItems);
        QFETCH(QString, contexts);
        QFETCH(QString, body);
        const Kind kind(matchingItems);
        ContextStore store;
        kind.fill(store, contexts.toUtf8().constData());
        const LogCapture log(kind.category());
        kind.deliver(store, body.toUtf8().constData());
        QCOMPARE(log.lines(),
                 Lines({debug(QStringLiteral("Chunk received:  QJsonValue(string, \"sender\")")),
                        warning(QStringLiteral("Invalid chunk received, chunk has no filter."))}));
        QCOMPARE(contents(store), contexts);
        QCOMPARE(store.events, QStringList());
    }

    void chunkWithoutABodyIsRefused_data() { kinds(); }
    void chunkWithoutABodyIsRefused()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        ContextStore store;
        const LogCapture log(kind.category());
        kind.deliverChunk(store, QJsonObject{{QStringLiteral("exchange"), kind.exchange()},
                                             {QStringLiteral("filter"), QJsonObject()}});
        QCOMPARE(log.lines(),
                 Lines({debug(QStringLiteral("Chunk received:  QJsonValue(undefined)")),
                        warning(QStringLiteral("Invalid chunk received, chunk has no filter."))}));
    }

    void filterWithoutContextsChangesNothing_data() { kinds(); }
    void filterWithoutContextsChangesNothing()
    {
        QFETCH(bool, matchingItems);
        const Kind kind(matchingItems);
        ContextStore store;
        const LogCapture log(kind.category());
        kind.deliver(store, R"({"filter":{"x":1},"KEY":{"entry":[{"resource":{"n":1}}]}})");
        QCOMPARE(log.lines(),
                 Lines({debug(QStringLiteral("Chunk received:  QJsonValue(string, \"sender\")"))}));
        QCOMPARE(contents(store), QStringLiteral("{}"));
        QCOMPARE(store.events, QStringList());
    }

    void logLinesOfMatchingItems()
    {
        const Kind kind(true);
        ContextStore store;
        kind.fill(store, R"({"a":{"patient":{"id":"p"},"x":1},"b":{"x":"1"}})");
        const LogCapture log(kind.category());
        kind.deliver(store, R"({"filter":{"x":1},"matchingItems":{"entry":[
            {"resource":{"id":"r"}},{"resource":{"n":1}},5,{"resource":7}]}})");
        const QString unidentified = QStringLiteral(
            "Chunk sent by  QJsonValue(undefined)  contained an entry for matchingItem with an undefined "
            "\"id\" entry. Proceeding anyways:  QJsonObject(%1)");
        const Lines expected{
            debug(QStringLiteral("Chunk received:  QJsonValue(string, \"sender\")")),
            debug(QStringLiteral("Filter keys: (\"x\") , context keys: (\"patient\", \"x\")")),
            debug(QStringLiteral("Filter patient: QJsonValue(undefined) Context patient: "
                                 "QJsonValue(object, QJsonObject({\"id\":\"p\"}))")),
            debug(QStringLiteral("Accepted update for matchingItems with 4 entries.")),
            debug(QStringLiteral("Existing matchingItems has 0 entries.")),
            warning(unidentified.arg(QStringLiteral("{\"n\":1}"))),
            warning(unidentified.arg(QString())),
            debug(QStringLiteral("Filter keys: (\"x\") , context keys: (\"x\")")),
            debug(QStringLiteral("Filter patient: QJsonValue(undefined) Context patient: QJsonValue(null)")),
            warning(QStringLiteral("Value type comparison not defined.")),
            debug(QStringLiteral("QJsonValue(double, 1)")),
            debug(QStringLiteral("QJsonValue(string, \"1\")")),
            debug(QStringLiteral("No overlap found. Reject update.")),
        };
        for (int i = 0; i < qMin(expected.size(), log.lines().size()); ++i)
            QCOMPARE(log.lines().at(i).text, expected.at(i).text);
        QCOMPARE(log.lines(), expected);
    }

    void logLinesOfActionRequests()
    {
        const Kind kind(false);
        ContextStore store;
        kind.fill(store, R"({"a":{"patient":{"id":"p"},"x":1},"b":{"x":2}})");
        const LogCapture log(kind.category());
        kind.deliver(store, R"({"filter":{"x":1},"actionRequests":{"entry":[
            {"resource":{"id":"r"}},{"resource":{"n":1}},5,{"resource":7}]}})");
        const Lines expected{
            debug(QStringLiteral("Chunk received:  QJsonValue(string, \"sender\")")),
            debug(QStringLiteral("Filter keys: (\"x\") , context keys: (\"patient\", \"x\")")),
            debug(QStringLiteral("Accepted update for actionRequests with 4 entries.")),
            debug(QStringLiteral("Existing actionRequests has 0 entries.")),
            debug(QStringLiteral("Filter keys: (\"x\") , context keys: (\"x\")")),
            debug(QStringLiteral("No overlap found. Reject update.")),
        };
        for (int i = 0; i < qMin(expected.size(), log.lines().size()); ++i)
            QCOMPARE(log.lines().at(i).text, expected.at(i).text);
        QCOMPARE(log.lines(), expected);
    }

    void emptyFilterIsRemarked_data()
    {
        QTest::addColumn<bool>("matchingItems");
        QTest::addColumn<QString>("filter");
        for (const char *filter : {"{}", "\"x\"", "5", "null", "[1]"}) {
            QTest::addRow("%s, matching items", filter) << true << QString::fromLatin1(filter);
            QTest::addRow("%s, action requests", filter) << false << QString::fromLatin1(filter);
        }
    }
    void emptyFilterIsRemarked()
    {
        QFETCH(bool, matchingItems);
        QFETCH(QString, filter);
        const Kind kind(matchingItems);
        ContextStore store;
        const LogCapture log(kind.category());
        kind.deliver(store, QStringLiteral(R"({"filter":%1})").arg(filter).toUtf8().constData());
        QCOMPARE(log.lines(), Lines({debug(QStringLiteral("Chunk received:  QJsonValue(string, \"sender\")")),
                                     debug(QStringLiteral("Empty filter. Add to all contexts."))}));
    }

    void everyAcceptingContextWarnsOfMissingIds()
    {
        const Kind kind(true);
        ContextStore store;
        kind.fill(store, R"({"a":{"x":1},"b":{"x":1},"c":{}})");
        const LogCapture log(kind.category());
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
        kind.deliver(store, R"({"filter":{"x":1},"source":"of the body",
            "matchingItems":{"entry":[{"resource":{"n":1}}]}})");
        const LogCapture::Line line = warning(QStringLiteral(
            "Chunk sent by  QJsonValue(string, \"of the body\")  contained an entry for matchingItem with an "
            "undefined \"id\" entry. Proceeding anyways:  QJsonObject({\"n\":1})"));
        QCOMPARE(log.lines(), Lines({line, line}));
        const QString accepted = QStringLiteral(R"({"matchingItems":[{"n":1}],"x":1})");
        QCOMPARE(contents(store), QStringLiteral(R"({"a":%1,"b":%1,"c":{}})").arg(accepted));
    }

    // The log line of "patient" enters a null into the copy that the filter is then held against.
    void nullPatientFitsWhileItIsLogged_data()
    {
        QTest::addColumn<bool>("matchingItems");
        QTest::addColumn<bool>("logged");
        QTest::addColumn<bool>("fits");
        QTest::newRow("matching items, logged") << true << true << true;
        QTest::newRow("matching items, not logged") << true << false << false;
        QTest::newRow("action requests, logged") << false << true << false;
        QTest::newRow("action requests, not logged") << false << false << false;
    }
    void nullPatientFitsWhileItIsLogged()
    {
        QFETCH(bool, matchingItems);
        QFETCH(bool, logged);
        QFETCH(bool, fits);
        const Kind kind(matchingItems);
        ContextStore store;
        kind.fill(store, R"({"a":{"x":1}})");
        const LogCapture log(kind.category());
        if (!logged)
            QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
        kind.deliver(store, R"({"filter":{"patient":null},"KEY":{"entry":[{"resource":{"id":"r"}}]}})");
        QCOMPARE(log.lines().isEmpty(), !logged);
        QCOMPARE(contents(store), fits ? kind.spelled(R"({"a":{"KEY":[{"id":"r"}],"x":1}})")
                                       : QStringLiteral(R"({"a":{"x":1}})"));
    }

    void otherChunksAreIgnored_data()
    {
        QTest::addColumn<bool>("matchingItems");
        QTest::addColumn<QString>("chunk");
        for (const bool matchingItems : {true, false}) {
            const QString exchange = Kind(matchingItems).exchange();
            for (const char *text :
                 {R"({"exchange":5,"body":BODY})", R"({"exchange":null,"body":BODY})",
                  R"({"exchange":["EXCHANGE"],"body":BODY})", R"({"exchange":"EXCHANGE ","body":BODY})",
                  R"({"exchange":"OTHER","body":BODY})", R"({"exchange":"VEXO","body":BODY})",
                  R"({"Exchange":"EXCHANGE","body":BODY})", R"([{"exchange":"EXCHANGE","body":BODY}])",
                  R"("EXCHANGE")", "5", "null", "{}"}) {
                QString chunk = QString::fromLatin1(text);
                chunk.replace(QLatin1String("OTHER"), Kind(!matchingItems).exchange());
                chunk.replace(QLatin1String("VEXO"), QLatin1Char('V') + exchange.mid(1));
                chunk.replace(QLatin1String("EXCHANGE"), exchange);
                chunk.replace(QLatin1String("BODY"), Kind(matchingItems).spelled(emptyAddition));
                QTest::addRow("%s, %s", text, matchingItems ? "matching items" : "action requests")
                    << matchingItems << chunk;
            }
        }
    }
    void otherChunksAreIgnored()
    {
        QFETCH(bool, matchingItems);
        QFETCH(QString, chunk);
        const Kind kind(matchingItems);
        ContextStore store;
        kind.fill(store, R"({"a":{}})");
        const LogCapture log(kind.category());
        kind.deliverChunk(store, json(chunk));
        QVERIFY(log.lines().isEmpty());
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{}})"));
    }

    void categoriesAreNamed()
    {
        QCOMPARE(addMatchingItemsBehavourLogging().categoryName(), matchingItemsCategory);
        QCOMPARE(addActionRequestsBehavourLogging().categoryName(), actionRequestsCategory);
    }
};

QTEST_GUILESS_MAIN(ResourceAdditionTest)
#include "tst_resourceaddition.moc"
