#include "contextserviceprobe.h"
#include "contextstore.h"
#include "fhir/stu3/coding.h"
#include "logcapture.h"

#include <QtTest>

namespace {

const char *const category = "ch.tessel.vexo-service.context.contextservice";
const QString id = QStringLiteral("c");
const QString name = QStringLiteral("a.pdf");

QString utf8(const char *text)
{
    return QString::fromUtf8(text);
}

domain::Coding coding(const char *code = "1")
{
    domain::Coding made;
    made.setCode(utf8(code));
    return made;
}

// An entry as JSON, for the coding that has this code alone.
QString entry(const QString &fileName, const char *code = "1", const QString &contextId = id)
{
    QString text = jsonText(QStringLiteral("/context/") + contextId + QStringLiteral("/file/") + fileName);
    return QStringLiteral(R"({"content":{"attachment":{"url":)") + text
           + QStringLiteral(R"(}},"resourceType":"DocumentReference","status":"superseded",)")
           + QStringLiteral(R"("type":{"coding":[{"code":")") + utf8(code) + QStringLiteral(R"("}]}})");
}

QString entries(const QStringList &all)
{
    return QLatin1Char('[') + all.join(QLatin1Char(',')) + QLatin1Char(']');
}

QString stored(ContextStore &store, const QString &key)
{
    return jsonText(store.contexts.getContext(id).toObject().value(key));
}

QString attachments(ContextStore &store)
{
    return stored(store, QStringLiteral("attachments"));
}

// Gives the times of use a mark that any use replaces.
void forgetUse(ContextStore &store)
{
    ContextServiceProbe::lastUse(store.contexts).clear();
}

QStringList used(ContextStore &store)
{
    return ContextServiceProbe::lastUse(store.contexts).keys();
}

} // namespace

class ContextFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addAppendsAnEntryAndStoresTheBytes()
    {
        ContextStore store;
        store.contexts.setContext(id, json(utf8(R"({"_id":"c","a":1,"matchingItems":[1]})")));
        store.events.clear();
        forgetUse(store);
        store.contexts.addFile(id, name, "bytes", coding());
        const QString context =
            utf8(R"({"_id":"c","a":1,"attachments":%1,"matchingItems":[1]})").arg(entries({entry(name)}));
        QCOMPARE(store.events, QStringList(QStringLiteral("signal c ") + context));
        QCOMPARE(used(store), QStringList(id));
        QCOMPARE(jsonText(store.contexts.getContext(id)), context);
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("bytes"));
        QCOMPARE(store.files.getFile(QStringLiteral("c_a.pdf")), QByteArray("bytes"));
    }

    void addOfAnotherNameAppendsBehind()
    {
        ContextStore store;
        store.contexts.addFile(id, QStringLiteral("b"), "1", coding("x"));
        store.contexts.addFile(id, QStringLiteral("a"), "2", coding("y"));
        QCOMPARE(attachments(store),
                 entries({entry(QStringLiteral("b"), "x"), entry(QStringLiteral("a"), "y")}));
        QCOMPARE(store.contexts.getFile(id, QStringLiteral("b")), QByteArray("1"));
        QCOMPARE(store.contexts.getFile(id, QStringLiteral("a")), QByteArray("2"));
    }

    void addOfAKnownNameReplacesTheBytesAlone()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "first", coding("x"));
        const QJsonValue before = store.contexts.getContext(id);
        store.events.clear();
        forgetUse(store);
        {
            const LogCapture log(category);
            store.contexts.addFile(id, name, "second", coding("y"));
            QCOMPARE(log.lines(),
                     QVector<LogCapture::Line>(
                         {{QtDebugMsg, QStringLiteral("File already exists, overwrite content only.")}}));
        }
        QCOMPARE(used(store), QStringList());
        QCOMPARE(store.events, QStringList());
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("second"));
        QCOMPARE(store.contexts.getContext(id), before);
    }

    void addOfANewNameLogsOnlyTheUpdate()
    {
        ContextStore store;
        const LogCapture log(category);
        store.contexts.addFile(id, name, "bytes", coding());
        QVERIFY(!log.lines().isEmpty());
        for (const LogCapture::Line &line : log.lines())
            QVERIFY2(!line.text.contains(QLatin1String("already exists")), qPrintable(line.text));
    }

    void addOfAKnownNameTouchesNoContextThatIsGone()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "first", coding());
        store.contexts.deleteContext(id);
        store.events.clear();
        store.contexts.addFile(id, name, "second", coding());
        QCOMPARE(store.events, QStringList());
        QCOMPARE(store.contexts.getContextKeys(), QStringList());
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("second"));
    }

    // The file outlives its entry, and a context that comes back under the id gets none.
    void addOfAKnownNameGivesANewContextNoEntry()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "first", coding());
        store.contexts.deleteContext(id);
        const QJsonValue context = json(utf8(R"({"_id":"c","a":1})"));
        store.contexts.setContext(id, context);
        store.contexts.addFile(id, name, "second", coding());
        QCOMPARE(store.contexts.getContext(id), context);
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("second"));
    }

    void attachmentsThatAClientDropsLeaveTheFile()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "first", coding());
        store.contexts.setContext(id, json(utf8(R"({"_id":"c"})")));
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("first"));
        store.contexts.addFile(id, name, "second", coding());
        QCOMPARE(stored(store, QStringLiteral("attachments")), QStringLiteral("undefined"));
    }

    void addOnAnUnknownIdMakesAContext_data()
    {
        QTest::addColumn<bool>("hasNullEntry");
        QTest::newRow("unknown") << false;
        QTest::newRow("null entry") << true;
    }
    void addOnAnUnknownIdMakesAContext()
    {
        QFETCH(bool, hasNullEntry);
        ContextStore store;
        if (hasNullEntry)
            QVERIFY(store.contexts.getContext(id).isNull());
        store.contexts.addFile(id, name, "bytes", coding());
        const QString context = utf8(R"({"_id":"c","attachments":%1})").arg(entries({entry(name)}));
        QCOMPARE(store.events,
                 QStringList({utf8("chunk %1 %1").arg(context), utf8("signal c %1").arg(context)}));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(id));
        QCOMPARE(used(store), QStringList(id));
    }

    void addOnAContextWithoutItsIdIsAChangeOfData()
    {
        ContextStore store;
        store.contexts.setContext(id, json(utf8(R"({"a":1,"actionRequests":[2],"matchingItems":[1]})")));
        store.events.clear();
        store.contexts.addFile(id, name, "bytes", coding());
        const QString context =
            utf8(R"({"_id":"c","a":1,"actionRequests":[2],"attachments":%1,"matchingItems":[]})")
                .arg(entries({entry(name)}));
        QCOMPARE(store.events, QStringList({utf8(R"(chunk {"_id":"c"} %1)").arg(context),
                                            utf8("signal c %1").arg(context)}));
    }

    void addKeepsAnIdOfAnyValue_data()
    {
        QTest::addColumn<QString>("value");
        QTest::newRow("another id") << utf8(R"("other")");
        QTest::newRow("null") << utf8("null");
        QTest::newRow("number") << utf8("5");
    }
    void addKeepsAnIdOfAnyValue()
    {
        QFETCH(QString, value);
        ContextStore store;
        store.contexts.setContext(id, json(utf8(R"({"_id":%1,"matchingItems":[1]})").arg(value)));
        store.events.clear();
        store.contexts.addFile(id, name, "bytes", coding());
        QCOMPARE(store.events, QStringList(utf8(R"(signal c {"_id":%1,"attachments":%2,"matchingItems":[1]})")
                                               .arg(value, entries({entry(name)}))));
    }

    void addReplacesAttachmentsThatAreNoArray()
    {
        ContextStore store;
        store.contexts.setContext(id, json(utf8(R"({"_id":"c","attachments":{"a":1}})")));
        store.contexts.addFile(id, name, "bytes", coding());
        QCOMPARE(attachments(store), entries({entry(name)}));
    }

    void addKeepsEntriesOfAnyShape()
    {
        ContextStore store;
        store.contexts.setContext(id, json(utf8(R"({"_id":"c","attachments":[1,null,{"b":[2]}]})")));
        store.contexts.addFile(id, name, "bytes", coding());
        QCOMPARE(attachments(store), entries({utf8(R"(1,null,{"b":[2]})"), entry(name)}));
    }

    void contextThatIsNoObjectTakesNoEntry_data()
    {
        QTest::addColumn<QString>("value");
        QTest::newRow("array") << utf8("[1]");
        QTest::newRow("text") << utf8(R"("t")");
        QTest::newRow("false") << utf8("false");
    }
    void contextThatIsNoObjectTakesNoEntry()
    {
        QFETCH(QString, value);
        ContextStore store;
        store.contexts.setContext(id, json(value));
        store.events.clear();
        forgetUse(store);
        store.contexts.addFile(id, name, "bytes", coding());
        QCOMPARE(used(store), QStringList(id));
        store.contexts.removeFile(id, name);
        QCOMPARE(store.events, QStringList());
        QCOMPARE(jsonText(store.contexts.getContext(id)), value);
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("bytes"));
    }

    void bytesAreStoredBeforeTheChunkAndTheSignal()
    {
        ContextStore store;
        QStringList seen;
        const auto look = [&] { seen.append(QString::fromUtf8(store.contexts.getFile(id, name))); };
        store.onPublish = look;
        QObject::connect(&store.contexts, &ContextService::contextChanged, &store.contexts, look);
        store.contexts.addFile(id, name, "bytes", coding());
        QCOMPARE(seen, QStringList({QStringLiteral("bytes"), QStringLiteral("bytes")}));
    }

    void addWithoutABusStillSignals()
    {
        ContextStore store;
        store.proxy.setChunkService(nullptr);
        store.contexts.addFile(id, name, "bytes", coding());
        QCOMPARE(store.events.size(), 1);
        QVERIFY(store.events.at(0).startsWith(QLatin1String("signal c ")));
    }

    void bytesAreSharedAndNotCopied()
    {
        ContextStore store;
        const QByteArray bytes(1000, 'x');
        store.contexts.addFile(id, name, bytes, coding());
        QVERIFY(store.contexts.getFile(id, name).isSharedWith(bytes));
    }

    void emptyFilesAreFilesAndNullBytesAreNone()
    {
        ContextStore store;
        store.contexts.addFile(id, QStringLiteral("empty"), QByteArray(""), coding());
        QVERIFY(!store.contexts.getFile(id, QStringLiteral("empty")).isNull());
        QVERIFY(store.contexts.getFile(id, QStringLiteral("empty")).isEmpty());
        store.contexts.addFile(id, QStringLiteral("null"), QByteArray(), coding());
        QVERIFY(store.contexts.getFile(id, QStringLiteral("null")).isNull());
        QVERIFY(store.files.hasFile(QStringLiteral("c_null")));
        QCOMPARE(json(attachments(store)).toArray().size(), 2);
    }

    void getFileIsNoUseAndEntersNothing()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "bytes", coding());
        forgetUse(store);
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("bytes"));
        QVERIFY(store.contexts.getFile(id, QStringLiteral("A.pdf")).isNull());
        QVERIFY(store.contexts.getFile(QStringLiteral("C"), name).isNull());
        QVERIFY(!store.files.hasFile(QStringLiteral("c_A.pdf")));
        QVERIFY(!store.files.hasFile(QStringLiteral("C_a.pdf")));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(id));
        QCOMPARE(used(store), QStringList());
    }

    void filesOutliveTheirContext()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "bytes", coding());
        store.contexts.deleteContext(id);
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("bytes"));
    }

    // The key of a file joins id and name without escaping.
    void pairsOfOneTextShareOneFile()
    {
        ContextStore store;
        store.contexts.addFile(QStringLiteral("a_b"), QStringLiteral("c"), "first", coding());
        store.contexts.addFile(QStringLiteral("a"), QStringLiteral("b_c"), "second", coding());
        QCOMPARE(store.contexts.getFile(QStringLiteral("a_b"), QStringLiteral("c")), QByteArray("second"));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(QStringLiteral("a_b")));
        store.contexts.addFile(QString(), QString(), "nothing", coding());
        QCOMPARE(store.files.getFile(QStringLiteral("_")), QByteArray("nothing"));
    }

    void oddNamesAndIds_data()
    {
        QTest::addColumn<QString>("contextId");
        QTest::addColumn<QString>("fileName");
        QTest::newRow("blank within") << id << utf8("a b.pdf");
        QTest::newRow("blank in front") << id << utf8(" a");
        QTest::newRow("percent sequence") << id << utf8("a%20b");
        QTest::newRow("encoded slash") << id << utf8("a%2Fb");
        QTest::newRow("percent alone") << id << utf8("%");
        QTest::newRow("place of the template") << id << utf8("%2%1");
        QTest::newRow("hash") << id << utf8("a#b");
        QTest::newRow("question mark") << id << utf8("a?b");
        QTest::newRow("UTF-8") << id << utf8("\xc3\xa4\xf0\x9f\x98\x80");
        QTest::newRow("empty name") << id << QString();
        QTest::newRow("two dots") << id << utf8("..");
        QTest::newRow("id that is a place") << utf8("%2") << name;
        QTest::newRow("id with a slash") << utf8("c/d") << name;
        QTest::newRow("id with a blank and a hash") << utf8(" #") << name;
        QTest::newRow("empty id") << QString() << name;
        QTest::newRow("both empty") << QString() << QString();
    }
    void oddNamesAndIds()
    {
        QFETCH(QString, contextId);
        QFETCH(QString, fileName);
        ContextStore store;
        store.contexts.addFile(contextId, fileName, "bytes", coding());
        const auto attachmentsOf = [&] {
            return jsonText(
                store.contexts.getContext(contextId).toObject().value(QLatin1String("attachments")));
        };
        QCOMPARE(attachmentsOf(), entries({entry(fileName, "1", contextId)}));
        QCOMPARE(store.contexts.getFile(contextId, fileName), QByteArray("bytes"));
        store.contexts.removeFile(contextId, fileName);
        QCOMPARE(attachmentsOf(), QStringLiteral("[]"));
        QVERIFY(store.contexts.getFile(contextId, fileName).isNull());
    }

    // The URL loses what stands up to a slash and blanks at its end: deliberately, such a name is not found,
    // and what is left of it is.
    void namesThatAUrlLosesAreNotRemoved_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("remains");
        QTest::newRow("blank at the end") << utf8("a ") << utf8("a");
        QTest::newRow("nothing but a blank") << utf8(" ") << QString();
        QTest::newRow("slash within") << utf8("a/b") << utf8("b");
        QTest::newRow("slash at the end") << utf8("a/") << QString();
    }
    void namesThatAUrlLosesAreNotRemoved()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, remains);
        ContextStore store;
        store.contexts.addFile(id, fileName, "bytes", coding());
        store.files.setFile(QStringLiteral("c_") + remains, "other");
        store.events.clear();
        store.contexts.removeFile(id, fileName);
        QCOMPARE(store.events, QStringList());
        QCOMPARE(attachments(store), entries({entry(fileName)}));

        store.contexts.removeFile(id, remains);
        QCOMPARE(attachments(store), QStringLiteral("[]"));
        QVERIFY(store.contexts.getFile(id, remains).isNull());
        QCOMPARE(store.contexts.getFile(id, fileName), QByteArray("bytes"));
    }

    void removeOfTheOnlyFile()
    {
        ContextStore store;
        store.contexts.setContext(id, json(utf8(R"({"_id":"c","matchingItems":[1]})")));
        store.contexts.addFile(id, name, "bytes", coding());
        store.events.clear();
        forgetUse(store);
        store.contexts.removeFile(id, name);
        QCOMPARE(store.events,
                 QStringList(utf8(R"(signal c {"_id":"c","attachments":[],"matchingItems":[1]})")));
        QCOMPARE(used(store), QStringList(id));
        QVERIFY(store.contexts.getFile(id, name).isNull());
        QVERIFY(!store.files.hasFile(QStringLiteral("c_a.pdf")));
    }

    void bytesAreRemovedBeforeTheSignal()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "bytes", coding());
        QVector<bool> seen;
        QObject::connect(&store.contexts, &ContextService::contextChanged, &store.contexts,
                         [&] { seen.append(store.files.hasFile(QStringLiteral("c_a.pdf"))); });
        store.contexts.removeFile(id, name);
        QCOMPARE(seen, QVector<bool>{false});
    }

    void removeKeepsTheOthersInOrder()
    {
        ContextStore store;
        for (const char *each : {"c", "a", "b"})
            store.contexts.addFile(id, utf8(each), each, coding());
        store.contexts.removeFile(id, QStringLiteral("a"));
        QCOMPARE(attachments(store), entries({entry(QStringLiteral("c")), entry(QStringLiteral("b"))}));
        QCOMPARE(store.contexts.getFile(id, QStringLiteral("c")), QByteArray("c"));
        QCOMPARE(store.contexts.getFile(id, QStringLiteral("b")), QByteArray("b"));
        QVERIFY(store.contexts.getFile(id, QStringLiteral("a")).isNull());
    }

    void removeOfANameThatIsNotThere_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::newRow("other") << utf8("b.pdf");
        QTest::newRow("other case") << utf8("A.pdf");
        QTest::newRow("front of it") << utf8("a");
        QTest::newRow("encoded") << utf8("%61.pdf");
        QTest::newRow("path") << utf8("file/a.pdf");
        QTest::newRow("empty") << QString();
    }
    void removeOfANameThatIsNotThere()
    {
        QFETCH(QString, fileName);
        ContextStore store;
        store.contexts.addFile(id, name, "bytes", coding());
        store.files.setFile(QStringLiteral("c_") + fileName, "without an entry");
        store.events.clear();
        forgetUse(store);
        store.contexts.removeFile(id, fileName);
        QCOMPARE(store.events, QStringList());
        QCOMPARE(used(store), QStringList(id));
        QCOMPARE(attachments(store), entries({entry(name)}));
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("bytes"));
        QCOMPARE(store.contexts.getFile(id, fileName), QByteArray("without an entry"));
    }

    void removeTakesEveryEntryOfTheName()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "bytes", coding());
        const QString others =
            utf8(R"({"content":{"attachment":{"url":"elsewhere/x/a.pdf"}}},)"
                 R"({"content":{"attachment":{"url":"/context/other/file/a.pdf"}},"type":1})");
        const QString moved = utf8(R"({"content":{"attachment":{"url":"/context/c/file/a.pdf/2"}}})");
        store.contexts.updateContext(
            id, json(utf8(R"({"attachments":[%1,%2,%3]})").arg(others, moved, entry(name))));
        store.contexts.removeFile(id, name);
        QCOMPARE(attachments(store), entries({moved}));
        QVERIFY(store.contexts.getFile(id, name).isNull());
    }

    void entryWhoseUrlWasChangedIsNotFound()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "bytes", coding());
        const QString moved = utf8(R"([{"content":{"attachment":{"url":"/context/c/file/b.pdf"}}}])");
        store.contexts.updateContext(id, json(utf8(R"({"attachments":%1})").arg(moved)));
        store.contexts.removeFile(id, name);
        QCOMPARE(attachments(store), moved);
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("bytes"));
    }

    // An entry without a URL has the empty name.
    void entriesOfAnotherShapeHaveTheEmptyName()
    {
        const QString shapes = utf8(R"(1,"/context/c/file/a.pdf",null,{},)"
                                    R"({"content":[{"attachment":{"url":"/context/c/file/a.pdf"}}]})");
        ContextStore store;
        store.contexts.addFile(id, name, "bytes", coding());
        store.contexts.addFile(id, QString(), "nameless", coding());
        store.contexts.updateContext(id, json(utf8(R"({"attachments":[%1,%2]})").arg(shapes, entry(name))));
        store.contexts.removeFile(id, name);
        QCOMPARE(attachments(store), entries({shapes}));
        QVERIFY(store.contexts.getFile(id, name).isNull());
        QCOMPARE(store.contexts.getFile(id, QString()), QByteArray("nameless"));
        store.contexts.removeFile(id, QString());
        QCOMPARE(attachments(store), QStringLiteral("[]"));
        QVERIFY(store.contexts.getFile(id, QString()).isNull());
    }

    void removeOnAContextWithoutAttachmentsEntersAnEmptyArray_data()
    {
        QTest::addColumn<QString>("context");
        QTest::newRow("no attachments") << utf8(R"({"a":1,"matchingItems":[1]})");
        QTest::newRow("attachments that are no array")
            << utf8(R"({"a":1,"attachments":{"b":2},"matchingItems":[1]})");
    }
    void removeOnAContextWithoutAttachmentsEntersAnEmptyArray()
    {
        QFETCH(QString, context);
        ContextStore store;
        store.contexts.setContext(id, json(context));
        store.events.clear();
        store.contexts.removeFile(id, name);
        QCOMPARE(store.events, QStringList(utf8(R"(signal c {"a":1,"attachments":[],"matchingItems":[1]})")));
    }

    void removeOnAnUnknownIdMakesAContext()
    {
        ContextStore store;
        store.contexts.removeFile(id, name);
        QCOMPARE(store.events, QStringList({utf8(R"(chunk {"attachments":[]} {"attachments":[]})"),
                                            utf8(R"(signal c {"attachments":[]})")}));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(id));
    }

    void removedNameTakesAnEntryAgain()
    {
        ContextStore store;
        store.contexts.addFile(id, name, "first", coding("x"));
        store.contexts.removeFile(id, name);
        store.contexts.addFile(id, name, "second", coding("y"));
        QCOMPARE(attachments(store), entries({entry(name, "y")}));
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("second"));
    }

    void otherContextsKeepTheirFiles()
    {
        ContextStore store;
        const QString other = QStringLiteral("C");
        store.contexts.addFile(id, name, "1", coding());
        store.contexts.addFile(other, name, "2", coding());
        const QJsonValue before = store.contexts.getContext(other);
        store.contexts.removeFile(id, name);
        QCOMPARE(store.contexts.getContext(other), before);
        QCOMPARE(store.contexts.getFile(other, name), QByteArray("2"));
    }
};

QTEST_GUILESS_MAIN(ContextFilesTest)
#include "tst_contextfiles.moc"
