#include "contextserviceprobe.h"
#include "contextstore.h"
#include "logcapture.h"

#include <QtTest>

namespace {

const QString id = QStringLiteral("c");

QString latin1(const char *text)
{
    return QString::fromLatin1(text);
}

// As QDebug prints a text.
QString quoted(const char *text)
{
    return QLatin1Char('"') + latin1(text).replace(QLatin1Char('"'), QStringLiteral("\\\""))
           + QLatin1Char('"');
}

} // namespace

class ContextChangeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void situations_data()
    {
        QTest::addColumn<QString>("old");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("update");
        QTest::addColumn<bool>("wakes");
        const auto row = [](const char *name, const char *old, const char *value, const char *stored,
                            const char *update, bool wakes) {
            QTest::newRow(name) << latin1(old) << latin1(value) << latin1(stored) << latin1(update) << wakes;
        };
        const char *none = "";
        row("first store of a non-empty object", none, R"({"a":1})", R"({"a":1})", R"({"a":1})", true);
        row("first store leaves matching items", none, R"({"matchingItems":[1]})", R"({"matchingItems":[1]})",
            R"({"matchingItems":[1]})", true);
        row("first store over a null entry", "null", R"({"a":1})", R"({"a":1})", R"({"a":1})", true);
        row("first store of an empty object", none, "{}", "{}", none, true);
        row("first store of an array", none, "[1]", "[1]", none, true);
        row("first store of a string", none, R"("t")", R"("t")", none, true);
        row("first store of a number", none, "5", "5", none, true);
        row("first store of a boolean", none, "false", "false", none, true);
        row("data key differs", R"({"a":1,"b":2})", R"({"a":1,"b":3})", R"({"a":1,"b":3,"matchingItems":[]})",
            R"({"b":3})", true);
        row("data key differs in depth", R"({"a":{"b":[1,{"c":1}]},"z":0})",
            R"({"a":{"b":[1,{"c":2}]},"z":0})", R"({"a":{"b":[1,{"c":2}]},"matchingItems":[],"z":0})",
            R"({"a":{"b":[1,{"c":2}]}})", true);
        row("data key differs in type", R"({"a":1})", R"({"a":"1"})", R"({"a":"1","matchingItems":[]})",
            R"({"a":"1"})", true);
        row("data key becomes null", R"({"a":1})", R"({"a":null})", R"({"a":null,"matchingItems":[]})",
            R"({"a":null})", true);
        row("data key is new", R"({"a":1})", R"({"a":1,"b":""})", R"({"a":1,"b":"","matchingItems":[]})",
            R"({"b":""})", true);
        row("several data keys in key order", R"({"b":1})", R"({"c":1,"a":1,"b":2})",
            R"({"a":1,"b":2,"c":1,"matchingItems":[]})", R"({"a":1,"b":2,"c":1})", true);
        row("data key with matching items of its own", R"({"a":1,"matchingItems":[1]})",
            R"({"a":2,"matchingItems":[2,3]})", R"({"a":2,"matchingItems":[]})", R"({"a":2})", true);
        row("data key leaves other derived keys",
            R"({"a":1,"actionRequests":[1],"attachments":[1],"inbox":1,"matchingItems":[1]})",
            R"({"a":2,"actionRequests":[2],"attachments":[2],"inbox":2,"matchingItems":[1]})",
            R"({"a":2,"actionRequests":[2],"attachments":[2],"inbox":2,"matchingItems":[]})", R"({"a":2})",
            true);
        row("keys compare with case", R"({"a":1,"matchingItems":[1]})",
            R"({"Inbox":1,"a":1,"matchingItems":[1]})", R"({"Inbox":1,"a":1,"matchingItems":[]})",
            R"({"Inbox":1})", true);
        row("the own id is data", R"({"_id":"a"})", R"({"_id":"b"})", R"({"_id":"b","matchingItems":[]})",
            R"({"_id":"b"})", true);
        row("only matching items differ", R"({"a":1,"matchingItems":[1]})", R"({"a":1,"matchingItems":[2]})",
            R"({"a":1,"matchingItems":[2]})", none, true);
        row("only attachments differ", R"({"attachments":[1],"matchingItems":[1]})",
            R"({"attachments":[2],"matchingItems":[1]})", R"({"attachments":[2],"matchingItems":[1]})", none,
            true);
        row("only inbox differs", R"({"inbox":1,"matchingItems":[1]})", R"({"inbox":2,"matchingItems":[1]})",
            R"({"inbox":2,"matchingItems":[1]})", none, true);
        row("only action requests differ", R"({"actionRequests":[1],"matchingItems":[1]})",
            R"({"actionRequests":[2],"matchingItems":[1]})", R"({"actionRequests":[2],"matchingItems":[1]})",
            none, true);
        row("only keys removed", R"({"a":1,"attachments":[1],"b":2,"matchingItems":[1]})",
            R"({"a":1,"matchingItems":[1]})", R"({"a":1,"matchingItems":[1]})", none, true);
        row("matching items removed", R"({"a":1,"matchingItems":[1]})", R"({"a":1})", R"({"a":1})", none,
            true);
        row("key added with null", R"({"a":1,"matchingItems":[1]})",
            R"({"a":1,"b":null,"matchingItems":[1]})", R"({"a":1,"b":null,"matchingItems":[1]})", none, true);
        row("identical object", R"({"a":{"b":[1]},"matchingItems":[1]})",
            R"({"matchingItems":[1],"a":{"b":[1]}})", R"({"a":{"b":[1]},"matchingItems":[1]})", none, false);
        row("identical empty object", "{}", "{}", "{}", none, false);
        row("same number written otherwise", R"({"a":1})", R"({"a":1.0})", R"({"a":1})", none, false);
        row("array over object", R"({"a":1})", "[1]", "{}", none, true);
        row("string over object", R"({"a":1})", R"("t")", "{}", none, true);
        row("number over object", R"({"a":1})", "5", "{}", none, true);
        row("boolean over object", R"({"a":1})", "true", "{}", none, true);
        row("array over empty object", "{}", "[1]", "{}", none, false);
        row("object over array", "[1]", R"({"a":1,"matchingItems":[1]})", R"({"a":1,"matchingItems":[1]})",
            R"({"a":1,"matchingItems":[1]})", true);
        row("empty object over array", "[1]", "{}", "{}", none, true);
        row("object over string", R"("t")", R"({"a":1})", R"({"a":1})", R"({"a":1})", true);
        row("string over array", "[1]", R"("t")", R"("t")", none, true);
        row("identical array", "[1,{}]", "[1,{}]", "[1,{}]", none, false);
    }
    void situations()
    {
        QFETCH(QString, old);
        QFETCH(QString, value);
        QFETCH(QString, stored);
        QFETCH(QString, update);
        QFETCH(bool, wakes);
        ContextStore store;
        if (old == QLatin1String("null"))
            QVERIFY(store.contexts.getContext(id).isNull());
        else if (!old.isEmpty())
            store.contexts.setContext(id, json(old));
        store.events.clear();

        store.contexts.setContext(id, json(value));
        QStringList expected;
        if (!update.isEmpty())
            expected.append(QStringLiteral("chunk %1 %2").arg(update, stored));
        if (wakes)
            expected.append(QStringLiteral("signal %1 %2").arg(id, stored));
        QCOMPARE(store.events, expected);
        QCOMPARE(jsonText(store.contexts.getContext(id)), stored);
        QCOMPARE(store.contexts.getContextKeys(), QStringList(id));
    }

    void nullRemoves_data()
    {
        QTest::addColumn<QString>("old");
        QTest::newRow("object") << latin1("{\"a\":1}");
        QTest::newRow("array") << latin1("[1]");
        QTest::newRow("unknown id") << QString();
    }
    void nullRemoves()
    {
        QFETCH(QString, old);
        ContextStore store;
        if (!old.isEmpty())
            store.contexts.setContext(id, json(old));
        store.events.clear();
        store.contexts.setContext(id, QJsonValue::Null);
        QCOMPARE(store.events, QStringList(QStringLiteral("removed c")));
        QCOMPARE(store.contexts.getContextKeys(), QStringList());
        QVERIFY(ContextServiceProbe::lastUse(store.contexts).isEmpty());
    }

    void changeChunkIsExact()
    {
        ContextStore store;
        store.contexts.setContext(id, json(latin1(R"({"a":1,"attachments":[1],"matchingItems":[1]})")));
        store.contexts.setContext(id, json(latin1(R"({"a":2,"attachments":[1],"matchingItems":[1]})")));
        QCOMPARE(store.bus.chunks.size(), 2);
        QCOMPARE(jsonText(store.bus.chunks.at(1)),
                 latin1(R"({"data":{"context":{"a":2,"attachments":[1],"matchingItems":[]},)"
                        R"("data":{"a":2},"event":"context-changed","id":"c"},)"
                        R"("source":"k7-plugin-context","version":"1.1.2"})"));
    }

    void callersValueStaysAsItWas()
    {
        ContextStore store;
        store.contexts.setContext(id, json(latin1(R"({"a":1})")));
        const QJsonValue value = json(latin1(R"({"a":2,"matchingItems":[1]})"));
        store.contexts.setContext(id, value);
        QCOMPARE(jsonText(value), latin1(R"({"a":2,"matchingItems":[1]})"));
    }

    void contextsDoNotTouchEachOther()
    {
        ContextStore store;
        store.contexts.setContext(id, json(latin1(R"({"a":1})")));
        store.contexts.setContext(QStringLiteral("C"), json(latin1(R"({"a":2})")));
        QCOMPARE(jsonText(store.contexts.getContext(id)), latin1(R"({"a":1})"));
        QCOMPARE(store.events.mid(2),
                 QStringList({latin1(R"(chunk {"a":2} {"a":2})"), latin1(R"(signal C {"a":2})")}));
    }

    void withoutABusTheSignalStillFires()
    {
        ContextStore store;
        store.proxy.setChunkService(nullptr);
        store.contexts.setContext(id, json(latin1(R"({"a":1,"matchingItems":[1]})")));
        store.contexts.setContext(id, json(latin1(R"({"a":2,"matchingItems":[1]})")));
        QCOMPARE(store.events, QStringList({latin1(R"(signal c {"a":1,"matchingItems":[1]})"),
                                            latin1(R"(signal c {"a":2,"matchingItems":[]})")}));
    }

    void storedBeforeChunkBeforeSignal()
    {
        ContextStore store;
        QStringList seen;
        store.onPublish = [&] {
            seen.append(QStringLiteral("chunk sees ") + jsonText(store.contexts.getContext(id)));
        };
        QObject::connect(&store.contexts, &ContextService::contextChanged, &store.contexts, [&] {
            seen.append(QStringLiteral("slot after %1 sees ").arg(store.bus.chunks.size())
                        + jsonText(store.contexts.getContext(id)));
        });
        store.contexts.setContext(id, json(latin1(R"({"a":1})")));
        store.contexts.setContext(id, json(latin1(R"({"a":2})")));
        QCOMPARE(seen, QStringList({latin1(R"(chunk sees {"a":1})"), latin1(R"(slot after 1 sees {"a":1})"),
                                    latin1(R"(chunk sees {"a":2,"matchingItems":[]})"),
                                    latin1(R"(slot after 2 sees {"a":2,"matchingItems":[]})")}));
    }

    void useIsSetBeforeTheChunk()
    {
        ContextStore store;
        bool published = false;
        store.onPublish = [&] {
            published = true;
            QVERIFY(ContextServiceProbe::lastUse(store.contexts).contains(id));
            ContextServiceProbe::lastUse(store.contexts).clear();
        };
        store.contexts.setContext(id, json(latin1(R"({"a":1})")));
        QVERIFY(published);
        QVERIFY(ContextServiceProbe::lastUse(store.contexts).isEmpty());
    }

    void busMayStoreFromInside()
    {
        ContextStore store;
        store.contexts.setContext(id, json(latin1(R"({"a":1})")));
        store.events.clear();
        store.onPublish = [&] {
            store.onPublish = nullptr;
            store.contexts.setContext(id, json(latin1(R"({"a":3})")));
        };
        store.contexts.setContext(id, json(latin1(R"({"a":2})")));
        QCOMPARE(store.events, QStringList({latin1(R"(chunk {"a":2} {"a":2,"matchingItems":[]})"),
                                            latin1(R"(chunk {"a":3} {"a":3,"matchingItems":[]})"),
                                            latin1(R"(signal c {"a":3,"matchingItems":[]})"),
                                            latin1(R"(signal c {"a":3,"matchingItems":[]})")}));
        QCOMPARE(jsonText(store.contexts.getContext(id)), latin1(R"({"a":3,"matchingItems":[]})"));
    }

    void busThatPutsTheOldValueBackLeavesNothingToSignal()
    {
        ContextStore store;
        const QJsonValue old = json(latin1(R"({"a":1,"matchingItems":[]})"));
        store.contexts.setContext(id, old);
        store.events.clear();
        store.onPublish = [&] {
            store.onPublish = nullptr;
            store.contexts.setContext(id, old);
        };
        store.contexts.setContext(id, json(latin1(R"({"a":2})")));
        QCOMPARE(store.events, QStringList({latin1(R"(chunk {"a":2} {"a":2,"matchingItems":[]})"),
                                            latin1(R"(chunk {"a":1} {"a":1,"matchingItems":[]})"),
                                            latin1(R"(signal c {"a":1,"matchingItems":[]})")}));
    }

    void busMayRemoveFromInside_data()
    {
        QTest::addColumn<QString>("old");
        QTest::addColumn<QStringList>("signalled");
        QTest::newRow("first store") << QString() << QStringList();
        QTest::newRow("object over object")
            << latin1(R"({"a":1})") << QStringList(QStringLiteral("signal c null"));
    }
    void busMayRemoveFromInside()
    {
        QFETCH(QString, old);
        QFETCH(QStringList, signalled);
        ContextStore store;
        if (!old.isEmpty())
            store.contexts.setContext(id, json(old));
        store.events.clear();
        store.onPublish = [&] {
            store.onPublish = nullptr;
            store.contexts.deleteContext(id);
        };
        store.contexts.setContext(id, json(latin1(R"({"a":2})")));
        QCOMPARE(store.events.at(1), QStringLiteral("removed c"));
        QCOMPARE(store.events.mid(2), signalled);
        QCOMPARE(store.contexts.getContextKeys(), QStringList());
    }

    void slotMayStoreFromInside()
    {
        ContextStore store;
        QStringList later;
        bool again = true;
        QObject::connect(&store.contexts, &ContextService::contextChanged, &store.contexts, [&] {
            if (std::exchange(again, false))
                store.contexts.setContext(id, json(latin1(R"({"a":2})")));
        });
        QObject::connect(&store.contexts, &ContextService::contextChanged, &store.contexts,
                         [&](const QString &, const QJsonValue &value) { later.append(jsonText(value)); });
        store.contexts.setContext(id, json(latin1(R"({"a":1})")));
        QCOMPARE(store.events, QStringList({latin1(R"(chunk {"a":1} {"a":1})"), latin1(R"(signal c {"a":1})"),
                                            latin1(R"(chunk {"a":2} {"a":2,"matchingItems":[]})"),
                                            latin1(R"(signal c {"a":2,"matchingItems":[]})")}));
        QCOMPARE(later, QStringList({latin1(R"({"a":2,"matchingItems":[]})"), latin1(R"({"a":1})")}));
        QCOMPARE(jsonText(store.contexts.getContext(id)), latin1(R"({"a":2,"matchingItems":[]})"));
    }

    void slotMayRemoveFromInside()
    {
        ContextStore store;
        QStringList later;
        QObject::connect(&store.contexts, &ContextService::contextChanged, &store.contexts,
                         [&] { store.contexts.deleteContext(id); });
        QObject::connect(&store.contexts, &ContextService::contextChanged, &store.contexts,
                         [&](const QString &, const QJsonValue &value) { later.append(jsonText(value)); });
        store.contexts.setContext(id, json(latin1(R"({"a":1})")));
        QCOMPARE(later, QStringList(latin1(R"({"a":1})")));
        QCOMPARE(store.contexts.getContextKeys(), QStringList());
    }

    void updates_data()
    {
        QTest::addColumn<QString>("old");
        QTest::addColumn<QString>("update");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("changed");
        QTest::addColumn<bool>("wakes");
        const auto row = [](const char *name, const char *old, const char *update, const char *result,
                            const char *stored, const char *changed, bool wakes) {
            QTest::newRow(name) << latin1(old) << latin1(update) << latin1(result) << latin1(stored)
                                << latin1(changed) << wakes;
        };
        const char *none = "";
        row("unknown id, object", none, R"({"a":1})", R"({"a":1})", R"({"a":1})", R"({"a":1})", true);
        row("unknown id, empty object", none, "{}", "{}", "{}", none, true);
        row("unknown id, array", none, "[1]", "[1]", "[1]", none, true);
        row("null entry, object", "null", R"({"a":1})", R"({"a":1})", R"({"a":1})", R"({"a":1})", true);
        row("merge keeps other keys", R"({"a":1,"attachments":[1]})", R"({"b":2})",
            R"({"a":1,"attachments":[1],"b":2})", R"({"a":1,"attachments":[1],"b":2,"matchingItems":[]})",
            R"({"b":2})", true);
        row("merge is one level deep", R"({"a":{"x":1},"b":[1,2]})", R"({"a":{"y":2},"b":[3]})",
            R"({"a":{"y":2},"b":[3]})", R"({"a":{"y":2},"b":[3],"matchingItems":[]})",
            R"({"a":{"y":2},"b":[3]})", true);
        row("null is stored", R"({"a":1})", R"({"a":null})", R"({"a":null})",
            R"({"a":null,"matchingItems":[]})", R"({"a":null})", true);
        row("result shows matching items uncleared", R"({"a":1,"matchingItems":[1]})", R"({"a":2})",
            R"({"a":2,"matchingItems":[1]})", R"({"a":2,"matchingItems":[]})", R"({"a":2})", true);
        row("attachments only", R"({"a":1,"matchingItems":[1]})", R"({"attachments":[1]})",
            R"({"a":1,"attachments":[1],"matchingItems":[1]})",
            R"({"a":1,"attachments":[1],"matchingItems":[1]})", none, true);
        row("empty object changes nothing", R"({"a":1})", "{}", R"({"a":1})", R"({"a":1})", none, false);
        row("same values change nothing", R"({"a":1,"b":[2]})", R"({"b":[2]})", R"({"a":1,"b":[2]})",
            R"({"a":1,"b":[2]})", none, false);
        row("array on object is refused", R"({"a":1})", "[1]", "null", R"({"a":1})", none, false);
        row("string on object is refused", R"({"a":1})", R"("t")", "null", R"({"a":1})", none, false);
        row("null on object is refused", R"({"a":1})", "null", "null", R"({"a":1})", none, false);
        row("object on array is refused", "[1]", R"({"a":1})", "null", "[1]", none, false);
        row("array on array is refused", "[1]", "[2]", "null", "[1]", none, false);
        row("object on string is refused", R"("t")", R"({"a":1})", "null", R"("t")", none, false);
    }
    void updates()
    {
        QFETCH(QString, old);
        QFETCH(QString, update);
        QFETCH(QString, result);
        QFETCH(QString, stored);
        QFETCH(QString, changed);
        QFETCH(bool, wakes);
        ContextStore store;
        if (old == QLatin1String("null"))
            QVERIFY(store.contexts.getContext(id).isNull());
        else if (!old.isEmpty())
            store.contexts.setContext(id, json(old));
        store.events.clear();

        QCOMPARE(jsonText(store.contexts.updateContext(id, json(update))), result);
        QStringList expected;
        if (!changed.isEmpty())
            expected.append(QStringLiteral("chunk %1 %2").arg(changed, stored));
        if (wakes)
            expected.append(QStringLiteral("signal %1 %2").arg(id, stored));
        QCOMPARE(store.events, expected);
        QCOMPARE(jsonText(store.contexts.getContext(id)), stored);
    }

    void updateOfAnUnknownIdWithNullRemoves()
    {
        ContextStore store;
        QVERIFY(store.contexts.updateContext(id, QJsonValue::Null).isNull());
        QCOMPARE(store.events, QStringList(QStringLiteral("removed c")));
        QCOMPARE(store.contexts.getContextKeys(), QStringList());
    }

    void resourceArrays_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<QString>("result");
        const auto row = [](const char *name, const char *first, const char *second, const char *result) {
            QTest::newRow(name) << latin1(first) << latin1(second) << latin1(result);
        };
        row("both empty", "[]", "[]", "[]");
        row("first empty", "[]", R"([{"id":"a"},1])", R"([{"id":"a"},1])");
        row("second empty", R"([{"id":"a"},1])", "[]", R"([{"id":"a"},1])");
        row("equal ids take the second", R"([{"id":"a","n":1}])", R"([{"id":"a","n":2}])",
            R"([{"id":"a","n":2}])");
        row("different ids take the first", R"([{"id":"a","n":1}])", R"([{"id":"A","n":2}])",
            R"([{"id":"a","n":1}])");
        row("one element for each pair", R"([{"id":"a"},{"id":"b"}])",
            R"([{"id":"b","n":2},{"id":"c"},{"id":"a","n":3}])",
            R"([{"id":"a"},{"id":"a"},{"id":"a","n":3},{"id":"b","n":2},{"id":"b"},{"id":"b"}])");
        row("ids that are no text read as empty", R"([{"id":1},{},5,[{"id":"a"}]])", R"([{"id":"","n":1}])",
            R"([{"id":"","n":1},{"id":"","n":1},{"id":"","n":1},{"id":"","n":1}])");
    }
    void resourceArrays()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(QString, result);
        ContextStore store;
        QCOMPARE(jsonText(store.contexts.updateResourceArrays(json(first).toArray(), json(second).toArray())),
                 result);
        QCOMPARE(store.events, QStringList());
    }

    void logLines_data()
    {
        QTest::addColumn<QString>("old");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("first store")
            << QString() << latin1(R"({"a": 1})")
            << QStringList({latin1(R"(Setting context "c" to object )") + quoted(R"({"a":1})"),
                            latin1(R"(Notifying context "c" changed. Update: )") + quoted(R"({"a":1})")});
        QTest::newRow("first store of nothing")
            << QString() << latin1("{}") << QStringList(latin1(R"(Setting context "c" to object "{}")"));
        QTest::newRow("data differ")
            << latin1(R"({"a":1,"b":1})") << latin1(R"({"a":2,"b":2,"inbox":1})")
            << QStringList(
                   {latin1(R"(Setting context "c" to object )") + quoted(R"({"a":2,"b":2,"inbox":1})"),
                    latin1(R"(("a", "b") keys changed. Delete matching items.)"),
                    latin1(R"(Context changed. Current keys: ("a", "b", "inbox", "matchingItems"))"),
                    latin1(R"(Notifying context "c" changed. Update: )") + quoted(R"({"a":2,"b":2})")});
        QTest::newRow("nothing differs")
            << latin1(R"({"a":1})") << latin1(R"({"a":1})")
            << QStringList({latin1(R"(Setting context "c" to object )") + quoted(R"({"a":1})"),
                            latin1(R"(Context changed. Current keys: ("a"))")});
        QTest::newRow("array over object")
            << latin1(R"({"a":1})") << latin1(R"([1, "x"])")
            << QStringList({latin1(R"(Setting context "c" to array )") + quoted(R"([1,"x"])"),
                            latin1(R"(Context changed. Current keys: ())")});
        QTest::newRow("text") << QString() << latin1(R"("t")")
                              << QStringList(
                                     latin1(R"(Setting context "c" to unknown QJsonValue(string, "t"))"));
        QTest::newRow("number") << QString() << latin1("5")
                                << QStringList(
                                       latin1(R"(Setting context "c" to unknown QJsonValue(double, 5))"));
        QTest::newRow("boolean") << QString() << latin1("true")
                                 << QStringList(
                                        latin1(R"(Setting context "c" to unknown QJsonValue(bool, true))"));
        QTest::newRow("null") << latin1(R"({"a":1})") << latin1("null")
                              << QStringList(latin1(R"(Setting context "c" to unknown QJsonValue(null))"));
    }
    void logLines()
    {
        QFETCH(QString, old);
        QFETCH(QString, value);
        QFETCH(QStringList, lines);
        ContextStore store;
        if (!old.isEmpty())
            store.contexts.setContext(id, json(old));
        const LogCapture log("ch.tessel.vexo-service.context.contextservice");
        store.contexts.setContext(id, json(value));
        QStringList texts;
        for (const LogCapture::Line &line : log.lines()) {
            QCOMPARE(line.type, QtDebugMsg);
            texts.append(line.text);
        }
        QCOMPARE(texts, lines);
    }

    void withoutABusNoNotificationIsLogged()
    {
        ContextStore store;
        store.proxy.setChunkService(nullptr);
        const LogCapture log("ch.tessel.vexo-service.context.contextservice");
        store.contexts.setContext(id, json(latin1(R"({"a":1})")));
        QCOMPARE(log.lines().size(), 1);
    }

    void storeWithoutWritesLogsNothing()
    {
        ContextStore store;
        const LogCapture log("ch.tessel.vexo-service.context.contextservice");
        Q_UNUSED(store.contexts.createContext());
        Q_UNUSED(store.contexts.getContext(id));
        store.contexts.deleteContext(id);
        store.contexts.pushChunk(QJsonObject());
        QCOMPARE(log.lines().size(), 0);
    }
};

QTEST_GUILESS_MAIN(ContextChangeTest)
#include "tst_contextchange.moc"
