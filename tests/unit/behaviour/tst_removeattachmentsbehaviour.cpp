#include "contextstore.h"
#include "fhir/stu3/coding.h"
#include "logcapture.h"
#include "removeattachmentsbehaviour.h"

#include <QtTest>

namespace {

const char *const category = "ch.tessel.vexo-service.context.removeattachmentsbehaviour";
const QString id = QStringLiteral("c");

QJsonValue removal(const QString &body)
{
    return QJsonObject{{QStringLiteral("exchange"), QStringLiteral("vexo-context-attachments-remove")},
                       {QStringLiteral("body"), json(body)}};
}

// The context "c" with files of these names.
struct Files : ContextStore
{
    explicit Files(const QStringList &names)
    {
        contexts.setContext(id, QJsonObject{{QStringLiteral("_id"), id}});
        for (const QString &name : names)
            contexts.addFile(id, name, name.toUtf8(), domain::Coding());
        bus.chunks.clear();
        events.clear();
    }

    // The names in the entries of "attachments".
    [[nodiscard]] QStringList names()
    {
        QStringList texts;
        const QJsonArray entries =
            contexts.getContext(id).toObject().value(QLatin1String("attachments")).toArray();
        for (const QJsonValue &entry : entries)
            texts.append(entry[QLatin1String("content")][QLatin1String("attachment")][QLatin1String("url")]
                             .toString()
                             .mid(16));
        return texts;
    }
};

} // namespace

class RemoveAttachmentsBehaviourTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void namedFilesAreRemoved_data()
    {
        QTest::addColumn<QString>("attachments");
        QTest::addColumn<QStringList>("kept");
        QTest::addColumn<int>("changes");
        const auto row = [](const char *name, const char *attachments, const QStringList &kept, int changes) {
            QTest::newRow(name) << QString::fromLatin1(attachments) << kept << changes;
        };
        const QString a = QStringLiteral("a");
        const QString b = QStringLiteral("b");
        const QString c = QStringLiteral("c");
        const QString none;
        row("one", R"(["b"])", {a, c, none}, 1);
        row("two", R"(["c","a"])", {b, none}, 2);
        row("all", R"(["a","b","c",""])", {}, 4);
        row("the same twice", R"(["b","b"])", {a, c, none}, 1);
        row("one that is not there", R"(["x"])", {a, b, c, none}, 0);
        row("one of two is there", R"(["x","a"])", {b, c, none}, 1);
        row("no name", R"([])", {a, b, c, none}, 0);
        row("empty name", R"([""])", {a, b, c}, 1);
        row("a text and the number 7", R"(["a",7])", {b, c}, 2);
        row("null for a name", R"([null])", {a, b, c}, 1);
        row("an array for a name", R"([["a"]])", {a, b, c}, 1);
        row("no array", R"("a")", {a, b, c, none}, 0);
        row("an object", R"({"a":"a"})", {a, b, c, none}, 0);
        row("null", "null", {a, b, c, none}, 0);
    }
    void namedFilesAreRemoved()
    {
        QFETCH(QString, attachments);
        QFETCH(QStringList, kept);
        QFETCH(int, changes);
        const LogCapture log(category);
        Files store({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QString()});
        RemoveAttachmentsBehaviour behaviour(store.contexts);
        behaviour.onChunk(removal(QStringLiteral(R"({"context":"c","attachments":%1})").arg(attachments)));
        QCOMPARE(store.names(), kept);
        for (const char *name : {"a", "b", "c", ""}) {
            const QString text = QString::fromLatin1(name);
            QCOMPARE(store.files.hasFile(QStringLiteral("c_") + text), kept.contains(text));
        }
        QCOMPARE(store.events.size(), changes);
        QCOMPARE(store.events.filter(QRegularExpression(QStringLiteral("^signal c "))).size(), changes);
        QVERIFY(store.bus.chunks.isEmpty());
        QVERIFY(log.lines().isEmpty());
    }

    // One update for each name, in the order of the names.
    void eachNameIsAnUpdateOfItsOwn()
    {
        Files store({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("x")});
        QStringList steps;
        connect(&store.contexts, &ContextService::contextChanged, this,
                [&] { steps.append(store.names().join(QLatin1Char('+'))); });
        RemoveAttachmentsBehaviour behaviour(store.contexts);
        behaviour.onChunk(removal(QStringLiteral(R"({"context":"c","attachments":["b","x","a"]})")));
        QCOMPARE(steps, QStringList({QStringLiteral("a+x"), QStringLiteral("a"), QString()}));
    }

    // Neither the context nor the file need be there, and each removal leaves its trace in the store.
    void contextMayBeMissing_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QStringList>("contexts");
        QTest::newRow("unknown") << QStringLiteral(R"({"context":"u","attachments":["a"]})")
                                 << QStringList({id, QStringLiteral("u")});
        QTest::newRow("empty") << QStringLiteral(R"({"context":"","attachments":["a"]})")
                               << QStringList({QString(), id});
        QTest::newRow("none") << QStringLiteral(R"({"attachments":["a"]})") << QStringList({QString(), id});
        QTest::newRow("number") << QStringLiteral(R"({"context":7,"attachments":["a"]})")
                                << QStringList({QString(), id});
        QTest::newRow("unknown, and no name")
            << QStringLiteral(R"({"context":"u","attachments":[]})") << QStringList(id);
        QTest::newRow("empty body") << QStringLiteral("{}") << QStringList(id);
        QTest::newRow("array as body")
            << QStringLiteral(R"([{"context":"u","attachments":["a"]}])") << QStringList(id);
        QTest::newRow("text as body") << QStringLiteral(R"("u")") << QStringList(id);
    }
    void contextMayBeMissing()
    {
        QFETCH(QString, body);
        QFETCH(QStringList, contexts);
        Files store({QStringLiteral("a")});
        RemoveAttachmentsBehaviour behaviour(store.contexts);
        behaviour.onChunk(removal(body));
        QCOMPARE(store.contexts.getContextKeys(), contexts);
        QCOMPARE(store.names(), QStringList(QStringLiteral("a")));
        contexts.removeOne(id);
        for (const QString &made : qAsConst(contexts))
            QCOMPARE(jsonText(store.contexts.getContext(made)), QStringLiteral(R"({"attachments":[]})"));
    }

    void otherChunksAreIgnored_data()
    {
        QTest::addColumn<QString>("chunk");
        const QString body = QStringLiteral(R"("body":{"context":"c","attachments":["a"]})");
        for (const char *chunk :
             {R"({"exchange":"Vexo-context-attachments-remove",%1})",
              R"({"exchange":"vexo-context-attachments-remove ",%1})",
              R"({"exchange":"vexo-context-remove-attachments",%1})", R"({"exchange":5,%1})",
              R"({"exchange":null,%1})", R"({"exchange":["vexo-context-attachments-remove"],%1})",
              R"({"Exchange":"vexo-context-attachments-remove",%1})",
              R"([{"exchange":"vexo-context-attachments-remove",%1}])", R"({%1})",
              R"("vexo-context-attachments-remove")", "7", "true", "null", "[]"})
            QTest::newRow(chunk) << QString::fromLatin1(chunk).replace(QLatin1String("%1"), body);
    }
    void otherChunksAreIgnored()
    {
        QFETCH(QString, chunk);
        Files store({QStringLiteral("a")});
        RemoveAttachmentsBehaviour behaviour(store.contexts);
        behaviour.onChunk(json(chunk));
        QCOMPARE(store.names(), QStringList(QStringLiteral("a")));
        QVERIFY(store.events.isEmpty());
    }

    void categoryIsNamed() { QCOMPARE(removeAttachmentsBehaviourLogging().categoryName(), category); }
};

QTEST_GUILESS_MAIN(RemoveAttachmentsBehaviourTest)
#include "tst_removeattachmentsbehaviour.moc"
