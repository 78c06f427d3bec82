#include "contextservice.h"

#include "chunkbehaviour.h"
#include "contextserviceprobe.h"
#include "contextstore.h"

#include <QtTest>

#include <new>

using Operation = std::function<void(ContextStore &)>;
Q_DECLARE_METATYPE(Operation)

namespace {

uint clockSecond()
{
    return static_cast<uint>(QDateTime::currentSecsSinceEpoch());
}

QString idOfSecond(uint second)
{
    const QString alphabet = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789");
    QString id;
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qsrand(second);
    for (int i = 0; i < 16; ++i)
        id.append(alphabet.at(qrand() % 62));
    QT_WARNING_POP
    return id;
}

// The second between `first` and now whose id is `id`; 0 for none.
uint secondOf(const QString &id, uint first)
{
    const uint last = clockSecond();
    for (uint second = first; second <= last; ++second) {
        if (idOfSecond(second) == id)
            return second;
    }
    return 0;
}

class NamedBehaviour final : public ChunkBehaviour
{
public:
    NamedBehaviour(const QString &name, QStringList &journal)
        : m_name(name)
        , m_journal(journal)
    {
    }
    ~NamedBehaviour() override { m_journal.append(QStringLiteral("delete ") + m_name); }
    Q_DISABLE_COPY_MOVE(NamedBehaviour)

    void onChunk(const QJsonValue &chunk) override
    {
        m_journal.append(m_name + QLatin1Char(' ') + jsonText(chunk));
    }

private:
    QString m_name;
    QStringList &m_journal;
};

std::vector<ChunkBehaviour *> behaviours(const QStringList &names, QStringList &journal)
{
    std::vector<ChunkBehaviour *> made;
    for (const QString &name : names)
        made.push_back(new NamedBehaviour(name, journal));
    return made;
}

const QString id = QStringLiteral("AbC1");

} // namespace

class ContextServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void declaresOneSignalAndNoSlot()
    {
        const QMetaObject &meta = ContextService::staticMetaObject;
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
        const QMetaMethod signal = meta.method(meta.methodOffset());
        QCOMPARE(signal.methodType(), QMetaMethod::Signal);
        QCOMPARE(signal.methodSignature(), QByteArray("contextChanged(QString,QJsonValue)"));
    }

    void newIdComesFromTheSecondOfTheClock()
    {
        ContextStore store;
        const uint before = clockSecond();
        const QString made = store.contexts.createContext();
        QVERIFY(secondOf(made, before) != 0);
        QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9]{16}$")).match(made).hasMatch());
    }

    void createPublishesButStoresNothing()
    {
        ContextStore store;
        const QString made = store.contexts.createContext();
        QCOMPARE(store.bus.chunks.size(), 1);
        QCOMPARE(jsonText(store.bus.chunks.at(0)),
                 QStringLiteral(R"({"data":{"contextId":"%1"},"exchange":"context-created"})").arg(made));
        QCOMPARE(store.contexts.getContextKeys(), QStringList());
        QCOMPARE(ContextServiceProbe::lastUse(store.contexts).keys(), QStringList(made));
    }

    void createTwiceInOneSecondWithoutStoringGivesOneId()
    {
        bool sameSecond = false;
        for (int attempt = 0; attempt < 10 && !sameSecond; ++attempt) {
            ContextStore store;
            const uint second = clockSecond();
            const QString first = store.contexts.createContext();
            const QString again = store.contexts.createContext();
            sameSecond = clockSecond() == second;
            if (sameSecond) {
                QCOMPARE(again, first);
                QCOMPARE(store.events, QStringList({QStringLiteral("created ") + first,
                                                    QStringLiteral("created ") + first}));
            }
        }
        QVERIFY(sameSecond);
    }

    void createWaitsBusilyForTheNextSecond_data()
    {
        QTest::addColumn<bool>("stored");
        QTest::newRow("id is stored") << true;
        QTest::newRow("id has a null entry from a read") << false;
    }
    void createWaitsBusilyForTheNextSecond()
    {
        QFETCH(bool, stored);
        ContextStore store;
        const uint start = clockSecond();
        const QString first = store.contexts.createContext();
        if (stored)
            store.contexts.setContext(first, QJsonObject());
        else
            QVERIFY(store.contexts.getContext(first).isNull());
        const uint firstSecond = secondOf(first, start);
        QVERIFY(firstSecond != 0);
        store.events.clear();
        bool eventLoopRan = false;
        QTimer::singleShot(0, &store.contexts, [&] { eventLoopRan = true; });

        const QString second = store.contexts.createContext();
        QVERIFY(!eventLoopRan);
        QVERIFY(second != first);
        QVERIFY(secondOf(second, start) > firstSecond);
        QCOMPARE(store.events, QStringList(QStringLiteral("created ") + second));
        QTRY_VERIFY(eventLoopRan);
    }

    void createSetsTheUseAfterPublishing()
    {
        ContextStore store;
        store.onPublish = [&] {
            store.onPublish = nullptr;
            QVERIFY(ContextServiceProbe::lastUse(store.contexts).isEmpty());
        };
        const QString made = store.contexts.createContext();
        QVERIFY(!store.onPublish);
        QCOMPARE(ContextServiceProbe::lastUse(store.contexts).keys(), QStringList(made));
    }

    void readOfAnUnknownIdLeavesANullEntry()
    {
        ContextStore store;
        QVERIFY(store.contexts.getContext(id).isNull());
        QCOMPARE(store.contexts.getContextKeys(), QStringList(id));
        QCOMPARE(ContextServiceProbe::lastUse(store.contexts).keys(), QStringList(id));
        QCOMPARE(store.events, QStringList());
    }

    void readGivesWhatIsStored()
    {
        ContextStore store;
        store.contexts.setContext(id, json(QStringLiteral(R"({"a":[1,{"b":null}]})")));
        QCOMPARE(jsonText(store.contexts.getContext(id)), QStringLiteral(R"({"a":[1,{"b":null}]})"));
    }

    void keysAscendAndAnyTextIsAnId()
    {
        ContextStore store;
        const QStringList ids{QString(),           QStringLiteral(" /?%2"), QStringLiteral("B"),
                              QStringLiteral("a"), QStringLiteral("b"),     QStringLiteral("ä")};
        for (int i = ids.size() - 1; i >= 0; --i)
            store.contexts.setContext(ids.at(i), QJsonObject{{QStringLiteral("n"), i}});
        QCOMPARE(store.contexts.getContextKeys(), ids);
        for (int i = 0; i < ids.size(); ++i)
            QCOMPARE(store.contexts.getContext(ids.at(i))[QLatin1String("n")].toInt(-1), i);
        QCOMPARE(store.contexts.getContextKeys(), ids);
    }

    void deleteRemovesThenPublishesAndWakesNobody()
    {
        ContextStore store;
        store.contexts.setContext(id, QJsonObject());
        store.events.clear();
        bool published = false;
        store.onPublish = [&] {
            published = true;
            QCOMPARE(store.contexts.getContextKeys(), QStringList());
            QVERIFY(ContextServiceProbe::lastUse(store.contexts).isEmpty());
        };
        store.contexts.deleteContext(id);
        QVERIFY(published);
        QCOMPARE(store.events, QStringList(QStringLiteral("removed ") + id));
        QCOMPARE(jsonText(store.bus.chunks.last()),
                 QStringLiteral(R"({"data":{"contextId":"AbC1"},"exchange":"context-removed"})"));
    }

    void deleteOfAnUnknownIdStillPublishes()
    {
        ContextStore store;
        store.contexts.deleteContext(id);
        QCOMPARE(store.events, QStringList(QStringLiteral("removed ") + id));
    }

    void deleteForgetsAReservedId()
    {
        ContextStore store;
        const QString made = store.contexts.createContext();
        store.contexts.deleteContext(made);
        QVERIFY(ContextServiceProbe::lastUse(store.contexts).isEmpty());
    }

    void deleteLeavesTheFiles()
    {
        ContextStore store;
        const QString fileKey = QStringLiteral("/context/AbC1/file/a.txt");
        store.files.setFile(fileKey, QByteArray("bytes"));
        store.contexts.setContext(id, QJsonObject());
        store.contexts.deleteContext(id);
        QVERIFY(store.files.hasFile(fileKey));
        QCOMPARE(store.files.getFile(fileKey), QByteArray("bytes"));
    }

    void withoutABusEverythingElseGoesOn()
    {
        ContextStore store;
        store.proxy.setChunkService(nullptr);
        const QString made = store.contexts.createContext();
        QVERIFY(!made.isEmpty());
        store.contexts.setContext(made, json(QStringLiteral(R"({"a":1})")));
        QCOMPARE(jsonText(store.contexts.getContext(made)), QStringLiteral(R"({"a":1})"));
        store.contexts.deleteContext(made);
        QCOMPARE(store.contexts.getContextKeys(), QStringList());
        QCOMPARE(store.events, QStringList(QStringLiteral(R"(signal %1 {"a":1})").arg(made)));
        QVERIFY(store.bus.chunks.isEmpty());

        store.proxy.setChunkService(&store.bus);
        store.contexts.deleteContext(made);
        QCOMPARE(store.bus.chunks.size(), 1);
    }

    void whatCountsAsUse_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QString>("before");
        QTest::addColumn<bool>("counts");
        const auto row = [](const char *name, const char *before, bool counts, Operation operation) {
            QTest::newRow(name) << std::move(operation) << QString::fromLatin1(before) << counts;
        };
        row("getContext", R"({"a":1})", true, [](ContextStore &s) { Q_UNUSED(s.contexts.getContext(id)); });
        row("getContext, unknown", "null", true,
            [](ContextStore &s) { Q_UNUSED(s.contexts.getContext(id)); });
        row("setContext, first store", "null", true,
            [](ContextStore &s) { s.contexts.setContext(id, QJsonObject()); });
        row("setContext, identical object", R"({"a":1})", true,
            [](ContextStore &s) { s.contexts.setContext(id, json(QStringLiteral(R"({"a":1})"))); });
        row("setContext, no object", R"({"a":1})", true,
            [](ContextStore &s) { s.contexts.setContext(id, 5); });
        row("updateContext, empty object", R"({"a":1})", true,
            [](ContextStore &s) { s.contexts.updateContext(id, QJsonObject()); });
        row("updateContext, refused", R"({"a":1})", true,
            [](ContextStore &s) { s.contexts.updateContext(id, QJsonArray()); });
        row("updateContext, unknown", "null", true,
            [](ContextStore &s) { s.contexts.updateContext(id, QJsonObject()); });
        row("getContextKeys", R"({"a":1})", false,
            [](ContextStore &s) { Q_UNUSED(s.contexts.getContextKeys()); });
        row("pushChunk", R"({"a":1})", false, [](ContextStore &s) { s.contexts.pushChunk(QJsonObject()); });
        row("file operations", R"({"a":1})", false, [](ContextStore &s) {
            s.files.setFile(id, QByteArray("x"));
            Q_UNUSED(s.files.getFile(id));
            s.files.removeFile(id);
        });
    }
    void whatCountsAsUse()
    {
        QFETCH(Operation, operation);
        QFETCH(QString, before);
        QFETCH(bool, counts);
        ContextStore store;
        if (before != QLatin1String("null"))
            store.contexts.setContext(id, json(before));
        const QDateTime longAgo = QDateTime::fromMSecsSinceEpoch(1);
        ContextServiceProbe::lastUse(store.contexts)[id] = longAgo;
        const QDateTime start = QDateTime::currentDateTime();
        operation(store);
        const QDateTime used = ContextServiceProbe::lastUse(store.contexts).value(id);
        QCOMPARE(used.timeSpec(), Qt::LocalTime);
        if (counts)
            QVERIFY(used >= start && used <= QDateTime::currentDateTime());
        else
            QCOMPARE(used, longAgo);
    }

    void chunksReachAllBehavioursInOrder()
    {
        QStringList journal;
        ContextStore store;
        store.contexts.pushChunk(QJsonObject());
        store.contexts.setBehaviours(
            behaviours({QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("c")}, journal));
        for (const char *chunk : {R"({"x":1})", "null", "[]", "\"t\"", "5", "true"}) {
            const QString text = QString::fromLatin1(chunk);
            store.contexts.pushChunk(json(text));
            QCOMPARE(journal, QStringList({QStringLiteral("b ") + text, QStringLiteral("a ") + text,
                                           QStringLiteral("c ") + text}));
            journal.clear();
        }
        QCOMPARE(store.events, QStringList());
    }

    void newBehavioursReplaceTheOldFromTheLast()
    {
        QStringList journal;
        ContextStore store;
        store.contexts.setBehaviours(
            behaviours({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}, journal));
        QCOMPARE(journal, QStringList());
        store.contexts.setBehaviours(behaviours({QStringLiteral("d")}, journal));
        QCOMPARE(journal, QStringList({QStringLiteral("delete c"), QStringLiteral("delete b"),
                                       QStringLiteral("delete a")}));
        journal.clear();
        store.contexts.pushChunk(1);
        QCOMPARE(journal, QStringList(QStringLiteral("d 1")));
        store.contexts.setBehaviours({});
        QCOMPARE(journal, QStringList({QStringLiteral("d 1"), QStringLiteral("delete d")}));
    }

    void destructionDeletesTheBehavioursFromTheLast()
    {
        QStringList journal;
        {
            ContextStore store;
            store.contexts.setBehaviours(
                behaviours({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}, journal));
        }
        QCOMPARE(journal, QStringList({QStringLiteral("delete c"), QStringLiteral("delete b"),
                                       QStringLiteral("delete a")}));
    }

    void destructionTouchesNeitherProxyNorFiles()
    {
        struct alignas(std::max_align_t) Room
        {
            char bytes[sizeof(ChunkServiceProxy) + sizeof(FileService) + 64];
        };
        Room proxyRoom;
        Room filesRoom;
        auto *proxy = new (proxyRoom.bytes) ChunkServiceProxy;
        auto *files = new (filesRoom.bytes) FileService;
        QStringList journal;
        RecordingChunkService bus;
        proxy->setChunkService(&bus);
        auto contexts = std::make_unique<ContextService>(*proxy, *files);
        contexts->setBehaviours(behaviours({QStringLiteral("a")}, journal));
        contexts->setContext(id, QJsonObject());

        files->~FileService();
        proxy->~ChunkServiceProxy();
        std::fill(std::begin(proxyRoom.bytes), std::end(proxyRoom.bytes), '\x5a');
        std::fill(std::begin(filesRoom.bytes), std::end(filesRoom.bytes), '\x5a');
        contexts.reset();

        // A read would have followed a wild pointer; a write shows here.
        const auto untouched = [](char byte) { return byte == '\x5a'; };
        QVERIFY(std::all_of(std::begin(proxyRoom.bytes), std::end(proxyRoom.bytes), untouched));
        QVERIFY(std::all_of(std::begin(filesRoom.bytes), std::end(filesRoom.bytes), untouched));
        QCOMPARE(journal, QStringList(QStringLiteral("delete a")));
        QVERIFY(bus.chunks.isEmpty());
    }
};

QTEST_GUILESS_MAIN(ContextServiceTest)
#include "tst_contextservice.moc"
