#include "rpcgetfilebehaviour.h"

#include "contextserviceprobe.h"
#include "fhir/stu3/coding.h"
#include "fhir/stu3/serialization/documentreferencefromjson.h"
#include "rpcfixture.h"

#include <QLoggingCategory>

using domain::DocumentReference;

static_assert(std::is_same_v<decltype(&RpcGetFileBehaviour::fitsReference),
                             bool (*)(const DocumentReference &, const DocumentReference &)>);

namespace {

const char categoryName[] = "ch.tessel.vexo-service.context.rpcgetfilebehaviour";
const QString exchange = QStringLiteral("vexo-context-rpc-get-files");

// The answer's "body", as JSON text, for the request's "body".
QString answered(ContextStore &store, const QString &body)
{
    store.bus.chunks.clear();
    RpcGetFileBehaviour(store.proxy, store.contexts).onChunk(request(exchange, body));
    return store.bus.chunks.size() == 1 ? jsonText(store.bus.chunks.first()[QLatin1String("body")])
                                        : QStringLiteral("no answer");
}

// A context "a" whose "attachments" are this JSON text, with the files "b.txt" and "".
struct StoreWithEntries : ContextStore
{
    explicit StoreWithEntries(const QString &attachments)
    {
        files.setFile(QStringLiteral("a_b.txt"), "bytes");
        files.setFile(QStringLiteral("a_"), "none");
        contexts.setContext(QStringLiteral("a"),
                            QJsonObject{{QStringLiteral("attachments"), json(attachments)}});
        bus.chunks.clear();
    }
};

DocumentReference reference(const QString &text)
{
    const QJsonObject object = json(text).toObject();
    DocumentReference reference;
    domain::DocumentReferenceFromJson(reference, object).parse();
    return reference;
}

} // namespace

class RpcGetFileBehaviourTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void allFilesAreAnsweredInTheirOrder()
    {
        ContextStore store;
        domain::Coding coding;
        coding.setCode(QStringLiteral("c"));
        const QString id = QStringLiteral("a");
        store.contexts.addFile(id, QStringLiteral("z.pdf"), QByteArray("\0\xff\n\xfb\xff\xfe", 6), coding);
        store.contexts.addFile(id, QStringLiteral("b c%.txt"), "text", domain::Coding());
        store.contexts.addFile(QStringLiteral("other"), QStringLiteral("x"), "x", domain::Coding());
        const QString before = contents(store);
        store.bus.chunks.clear();
        RpcGetFileBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"context":"a"})")));
        const QString first =
            QStringLiteral(R"({"content":{"attachment":{"data":"AP8K+//+","url":"/context/a/file/z.pdf"}},)"
                           R"("resourceType":"DocumentReference","status":"superseded",)"
                           R"("type":{"coding":[{"code":"c"}]}})");
        const QString second = QStringLiteral(
            R"({"content":{"attachment":{"data":"dGV4dA==","url":"/context/a/file/b c%.txt"}},)"
            R"("resourceType":"DocumentReference","status":"superseded",)"
            R"("type":{"coding":[{}]}})");
        QCOMPARE(published(store), QStringList(answer(QLatin1Char('[') + first + QLatin1Char(',') + second
                                                      + QLatin1Char(']'))));
        QCOMPARE(contents(store), before);
    }

    void answerIsAnArrayInAnyCase_data()
    {
        QTest::addColumn<QString>("attachments");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("found");
        const auto row = [](const char *name, const char *attachments, const char *body, const char *found) {
            QTest::newRow(name) << QString::fromLatin1(attachments) << QString::fromLatin1(body)
                                << QString::fromLatin1(found);
        };
        const char one[] = R"([{"content":{"attachment":{"url":"/context/a/file/b.txt"}}}])";
        const char found[] =
            R"([{"content":{"attachment":{"data":"Ynl0ZXM=","url":"/context/a/file/b.txt"}}}])";
        row("one entry", one, R"({"context":"a"})", found);
        row("no entries", "[]", R"({"context":"a"})", "[]");
        row("entries that are no array", R"({"content":{}})", R"({"context":"a"})", "[]");
        row("unknown context", one, R"({"context":"z"})", "[]");
        row("id that is no text", one, R"({"context":["a"]})", "[]");
        row("id under another key", one, R"({"_id":"a"})", "[]");
        row("star is no wildcard", one, R"({"context":"*"})", "[]");
        row("no body", one, "", "[]");
        row("body of a wrong type", one, R"(["a"])", "[]");
        row("pattern that nothing fits", one, R"({"context":"a","reference":{"status":"x"}})", "[]");
    }
    void answerIsAnArrayInAnyCase()
    {
        QFETCH(QString, attachments);
        QFETCH(QString, body);
        QFETCH(QString, found);
        StoreWithEntries store(attachments);
        RpcGetFileBehaviour(store.proxy, store.contexts).onChunk(request(exchange, body));
        QCOMPARE(published(store), QStringList(answer(found)));
    }

    void contextThatIsNoObjectHasNoFiles()
    {
        ContextStore store;
        store.contexts.setContext(QStringLiteral("a"), json(QStringLiteral(R"([{"attachments":[{}]}])")));
        QCOMPARE(answered(store, QStringLiteral(R"({"context":"a"})")), QStringLiteral("[]"));
    }

    void entryIsAnsweredWithItsBytes_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("found");
        const auto row = [](const char *name, const char *entry, const char *found) {
            QTest::newRow(name) << QString::fromLatin1(entry) << QString::fromLatin1(found);
        };
        row("all else stays",
            R"({"content":{"attachment":{"contentType":"t","url":"x/b.txt"},"format":{"code":"f"}},"id":"i"})",
            R"({"content":{"attachment":{"contentType":"t","data":"Ynl0ZXM=","url":"x/b.txt"},)"
            R"("format":{"code":"f"}},"id":"i"})");
        row("data is replaced", R"({"content":{"attachment":{"data":[1],"url":"/b.txt"}}})",
            R"({"content":{"attachment":{"data":"Ynl0ZXM=","url":"/b.txt"}}})");
        row("whole URL",
            R"({"content":{"attachment":{"url":"http:/)"
            R"(/x/y/b.txt?q=z/w"}}})",
            R"({"content":{"attachment":{"data":"Ynl0ZXM=","url":"http:/)"
            R"(/x/y/b.txt?q=z/w"}}})");
        row("name in a whole URL is decoded",
            R"({"content":{"attachment":{"url":"http:/)"
            R"(/x/%62%2Etxt"}}})",
            R"({"content":{"attachment":{"data":"Ynl0ZXM=","url":"http:/)"
            R"(/x/%62%2Etxt"}}})");
        row("name in a path is as it stands",
            R"({"content":{"attachment":{"url":"/context/a/file/%62%2Etxt"}}})",
            R"({"content":{"attachment":{"data":"","url":"/context/a/file/%62%2Etxt"}}})");
        row("file that does not exist", R"({"content":{"attachment":{"url":"/context/a/file/z.txt"}}})",
            R"({"content":{"attachment":{"data":"","url":"/context/a/file/z.txt"}}})");
        row("context of the URL is not looked at",
            R"({"content":{"attachment":{"url":"/context/z/file/b.txt"}}})",
            R"({"content":{"attachment":{"data":"Ynl0ZXM=","url":"/context/z/file/b.txt"}}})");
        row("URL without a name", R"({"content":{"attachment":{"url":"/context/a/file/"}}})",
            R"({"content":{"attachment":{"data":"bm9uZQ==","url":"/context/a/file/"}}})");
        row("no URL", R"({"content":{"attachment":{"title":"t"}}})",
            R"({"content":{"attachment":{"data":"bm9uZQ==","title":"t"}}})");
        row("URL that is no text", R"({"content":{"attachment":{"url":["/b.txt"]}}})",
            R"({"content":{"attachment":{"data":"bm9uZQ==","url":["/b.txt"]}}})");
        row("attachment that is no object", R"({"content":{"attachment":"/b.txt","format":{}}})",
            R"({"content":{"attachment":{"data":"bm9uZQ=="},"format":{}}})");
        row("no attachment", R"({"content":{}})", R"({"content":{"attachment":{"data":"bm9uZQ=="}}})");
        row("content that is an array", R"({"content":[{"attachment":{"url":"/b.txt"}}],"id":"i"})",
            R"({"content":{"attachment":{"data":"bm9uZQ=="}},"id":"i"})");
        row("no content", R"({"id":"i"})", R"({"content":{"attachment":{"data":"bm9uZQ=="}},"id":"i"})");
        row("entry that is no object", "5", R"({"content":{"attachment":{"data":"bm9uZQ=="}}})");
        row("entry that is an array", R"([{"content":{"attachment":{"url":"/b.txt"}}}])",
            R"({"content":{"attachment":{"data":"bm9uZQ=="}}})");
        row("null as entry", "null", R"({"content":{"attachment":{"data":"bm9uZQ=="}}})");
    }
    void entryIsAnsweredWithItsBytes()
    {
        QFETCH(QString, entry);
        QFETCH(QString, found);
        const QString attachments = QLatin1Char('[') + entry + QLatin1Char(']');
        StoreWithEntries store(attachments);
        QCOMPARE(answered(store, QStringLiteral(R"({"context":"a"})")),
                 QString(QLatin1Char('[') + found + QLatin1Char(']')));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{"attachments":%1}})").arg(attachments));
    }

    void entriesThatFitAreAnswered_data()
    {
        QTest::addColumn<QString>("reference");
        QTest::addColumn<QString>("ids");
        const auto row = [](const char *name, const char *reference, const char *ids) {
            QTest::newRow(name) << QString::fromLatin1(reference) << QString::fromLatin1(ids);
        };
        row("empty pattern", "{}", "1 2 3 4");
        row("text as pattern", R"("/b.txt")", "1 2 3 4");
        row("array as pattern", R"([{"status":"x"}])", "1 2 3 4");
        row("null as pattern", "null", "1 2 3 4");
        row("status", R"({"status":"superseded"})", "1 3");
        row("URL in an object", R"({"content":{"attachment":{"url":"/b.txt"}}})", "1 2");
        row("URL in an array", R"({"content":[{"attachment":{"url":"/b.txt"}}]})", "1 2");
        row("coding", R"({"type":{"coding":{"code":"c"}}})", "2");
        row("list of codings", R"({"type":{"coding":[{"code":"c"}]}})", "1 2 3 4");
        row("status and URL", R"({"status":"superseded","content":{"attachment":{"url":"/b.txt"}}})", "1");
    }
    void entriesThatFitAreAnswered()
    {
        QFETCH(QString, reference);
        QFETCH(QString, ids);
        StoreWithEntries store(QStringLiteral(
            R"([{"id":"1","status":"superseded","content":{"attachment":{"url":"/b.txt"}}},)"
            R"({"id":"2","status":"current","content":[{"attachment":{"url":"/b.txt"}}],)"
            R"("type":{"coding":{"code":"c"}}},)"
            R"({"id":"3","status":"superseded","type":{"coding":[{"code":"c"}]}},{"id":"4"}])"));
        const QString body =
            answered(store, QStringLiteral(R"({"context":"a","reference":%1})").arg(reference));
        QStringList found;
        const QJsonArray entries = json(body).toArray();
        for (const QJsonValue &entry : entries) {
            found.append(entry[QLatin1String("id")].toString());
            QVERIFY(entry[QLatin1String("content")][QLatin1String("attachment")][QLatin1String("data")]
                        .isString());
        }
        QCOMPARE(found.join(QLatin1Char(' ')), ids);
    }

    void storedFilesAreSuperseded_data()
    {
        QTest::addColumn<QString>("status");
        QTest::addColumn<int>("count");
        QTest::newRow("superseded") << QStringLiteral("superseded") << 1;
        QTest::newRow("current") << QStringLiteral("current") << 0;
        QTest::newRow("entered in error") << QStringLiteral("entered-in-error") << 0;
        QTest::newRow("capital letter") << QStringLiteral("Superseded") << 0;
    }
    void storedFilesAreSuperseded()
    {
        QFETCH(QString, status);
        QFETCH(int, count);
        ContextStore store;
        store.contexts.addFile(QStringLiteral("a"), QStringLiteral("b"), "x", domain::Coding());
        const QString body = QStringLiteral(R"({"context":"a","reference":{"status":"%1"}})").arg(status);
        QCOMPARE(json(answered(store, body)).toArray().size(), count);
    }

    void patternFits_data()
    {
        QTest::addColumn<QString>("candidate");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<bool>("fits");
        const auto row = [](const char *name, const char *candidate, const char *pattern, bool fits) {
            QTest::newRow(name) << QString::fromLatin1(candidate) << QString::fromLatin1(pattern) << fits;
        };
        row("empty pattern, empty candidate", "{}", "{}", true);
        row("empty pattern", R"({"status":"x","content":{},"type":{"coding":{"code":"c"}}})", "{}", true);

        row("same status", R"({"status":"current"})", R"({"status":"current"})", true);
        row("other status", R"({"status":"superseded"})", R"({"status":"current"})", false);
        row("status in other letters", R"({"status":"Current"})", R"({"status":"current"})", false);
        row("status of no table", R"({"status":"x"})", R"({"status":"x"})", true);
        row("status of no table against another", R"({"status":"y"})", R"({"status":"x"})", false);
        row("candidate without status", "{}", R"({"status":"current"})", false);

        const char two[] = R"({"content":[{"attachment":{"url":"u"}},{"attachment":{"url":"v"}}]})";
        const char onlyFirst[] = R"({"content":[{"attachment":{"url":"u"}}]})";
        const char onlySecond[] = R"({"content":[{},{"attachment":{"url":"v"}}]})";
        row("same contents", two, two, true);
        row("pattern with fewer contents", two, onlyFirst, true);
        row("pattern with more contents", onlyFirst, two, false);
        row("empty content holds its position", two, onlySecond, true);
        row("second of one content", onlyFirst, onlySecond, false);
        row("empty content asks for one", "{}", R"({"content":{}})", false);
        row("empty content and a content without URL", R"({"content":{}})", R"({"content":{}})", true);
        row("position counts", R"({"content":[{"attachment":{"url":"v"}},{"attachment":{"url":"u"}}]})", two,
            false);
        row("second URL differs", R"({"content":[{"attachment":{"url":"u"}},{"attachment":{"url":"w"}}]})",
            onlySecond, false);
        row("URL in other letters", R"({"content":{"attachment":{"url":"U"}}})", onlyFirst, false);
        row("URL with more behind", R"({"content":{"attachment":{"url":"u/"}}})", onlyFirst, false);
        row("candidate without URL", R"({"content":{}})", onlyFirst, false);

        const char typed[] = R"({"type":{"coding":{"system":"s","code":"c"}}})";
        row("same type", typed, typed, true);
        row("system alone", typed, R"({"type":{"coding":{"system":"s"}}})", true);
        row("other system", typed, R"({"type":{"coding":{"system":"x"}}})", false);
        row("code alone", typed, R"({"type":{"coding":{"code":"c"}}})", true);
        row("other code", typed, R"({"type":{"coding":{"system":"s","code":"x"}}})", false);
        row("code in other letters", typed, R"({"type":{"coding":{"code":"C"}}})", false);
        row("candidate without type", "{}", R"({"type":{"coding":{"system":"s"}}})", false);

        row("all else is ignored", "{}",
            R"({"id":"i","language":"l","implicitRules":"r","meta":{"tag":[{"code":"t"}]},)"
            R"("identifier":[{"value":"v"}],"type":{"text":"t","coding":{"version":"v","display":"d",)"
            R"("userSelected":true}}})",
            true);
        row("all else of a content is ignored", R"({"content":{"attachment":{"url":"u"}}})",
            R"({"content":{"attachment":{"contentType":"t","language":"l","data":"d","size":1,"hash":"h",)"
            R"("title":"x","creation":"2020-01-01"},"format":{"system":"s","code":"c"}}})",
            true);
    }
    void patternFits()
    {
        QFETCH(QString, candidate);
        QFETCH(QString, pattern);
        QFETCH(bool, fits);
        QCOMPARE(RpcGetFileBehaviour::fitsReference(reference(candidate), reference(pattern)), fits);
    }

    void readingCountsAsUse()
    {
        StoreWithEntries store(QStringLiteral("[]"));
        QMap<QString, QDateTime> &lastUse = ContextServiceProbe::lastUse(store.contexts);
        lastUse.clear();
        QCOMPARE(answered(store, QStringLiteral(R"({"context":"a"})")), QStringLiteral("[]"));
        QCOMPARE(lastUse.keys(), QStringList(QStringLiteral("a")));
    }

    void withoutABusNothingIsRead()
    {
        StoreWithEntries store(QStringLiteral("[]"));
        store.proxy.setChunkService(nullptr);
        QMap<QString, QDateTime> &lastUse = ContextServiceProbe::lastUse(store.contexts);
        lastUse.clear();
        RpcGetFileBehaviour behaviour(store.proxy, store.contexts);
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"context":"a"})")));
        behaviour.onChunk(request(exchange, QStringLiteral(R"({"context":"unknown"})")));
        QVERIFY(lastUse.isEmpty());
        QCOMPARE(store.contexts.getContextKeys(), QStringList(QStringLiteral("a")));
        QVERIFY(store.bus.chunks.isEmpty());
    }

    void unknownContextIsEnteredByReading()
    {
        ContextStore store;
        QCOMPARE(answered(store, QStringLiteral(R"({"context":"z"})")), QStringLiteral("[]"));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(QStringLiteral("z")));
    }

    void otherChunksAreIgnored()
    {
        checkIgnoresOtherChunks<RpcGetFileBehaviour>(exchange, QStringLiteral(R"({"context":"a"})"),
                                                     categoryName);
    }

    void categoryIsNamedAndSilent()
    {
        QCOMPARE(rpcGetFileContextBehaviourLogging().categoryName(), categoryName);
        const LogCapture log(categoryName);
        StoreWithEntries store(QStringLiteral("[5]"));
        QVERIFY(!answered(store, QStringLiteral(R"({"context":"a","reference":5})")).isEmpty());
        QVERIFY(log.lines().isEmpty());
    }
};

QTEST_GUILESS_MAIN(RpcGetFileBehaviourTest)
#include "tst_rpcgetfilebehaviour.moc"
