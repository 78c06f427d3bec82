#include "contextfixture.h"
#include "jsondocuments.h"

#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <optional>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

using http::server::HeaderFields;
using Method = http::server::Request::HttpMethod;

namespace {

const char *const bystander =
    "{\n    \"text\": \"\xc3\xa4\\n\",\n    \"values\": [\n        1.5,\n        null\n    ]\n}\n";
const QStringList jsonHeaders{QStringLiteral("Content-Type: application/json")};

/// A store in which one context is kept that nothing here is about, and which is sent a document.
struct DocumentFixture : ContextFixture
{
    DocumentFixture()
    {
        put("bystander", bystander);
        bus.chunks.clear();
    }

    QByteArray put(const QByteArray &id, const QByteArray &body)
    {
        const Exchange exchange(strategy, Method::Put, "/context/" + id, {}, body);
        status = exchange.status();
        headers = exchange.headers();
        return exchange.body();
    }
    QByteArray post(const QByteArray &body, const HeaderFields &fields = {})
    {
        const Exchange exchange(strategy, Method::Post, "/context", fields, body);
        status = exchange.status();
        headers = exchange.headers();
        return exchange.body();
    }
    QByteArray get(const QByteArray &id)
    {
        const Exchange exchange(strategy, Method::Get, "/context/" + id);
        status = exchange.status();
        return exchange.body();
    }
    QJsonObject stored(const QByteArray &id)
    {
        return contexts.getContext(QString::fromLatin1(id)).toObject();
    }
    /// The ids of what is stored beside the bystander, which is as it was.
    QStringList idsBesideBystander()
    {
        QStringList ids = contexts.getContextKeys();
        if (!ids.removeOne(QStringLiteral("bystander")) || get("bystander") != bystander)
            ids = QStringList{QStringLiteral("The bystander is not what it was.")};
        return ids;
    }

    int status = 0;
    QStringList headers;
};

/// Qt 5.15 loses an object or an array whose key comes again later in the same object. While this lives, the
/// leak checker does not count what is allocated for such a document, which is Qt's loss and none of this
/// tree.
class QtLeakAllowance final
{
public:
    explicit QtLeakAllowance(const char *document)
        : m_isGranted(QByteArray(document).startsWith("either_duplicate_"))
    {
#ifdef __SANITIZE_ADDRESS__
        if (m_isGranted)
            __lsan_disable();
#endif
    }
    ~QtLeakAllowance()
    {
#ifdef __SANITIZE_ADDRESS__
        if (m_isGranted)
            __lsan_enable();
#endif
    }
    Q_DISABLE_COPY_MOVE(QtLeakAllowance)

private:
    [[maybe_unused]] bool m_isGranted;
};

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray indented(const QJsonObject &object)
{
    return QJsonDocument(object).toJson();
}

/// Whether it counts as a change that `added` are set: neither a new null nor a key that follows from others
/// does.
bool isChange(const QJsonObject &added)
{
    const QStringList derived{QStringLiteral("matchingItems"), QStringLiteral("actionRequests"),
                              QStringLiteral("inbox"), QStringLiteral("attachments")};
    const QStringList keys = added.keys();
    return std::any_of(keys.begin(), keys.end(), [&](const QString &key) {
        return !derived.contains(key) && !added.value(key).isNull();
    });
}

/// `first` and over it `second`, in an object that has each key once.
QJsonObject united(const QJsonObject &first, const QJsonObject &second)
{
    QJsonObject result;
    for (const QJsonObject &object : {first, second}) {
        for (auto it = object.begin(); it != object.end(); ++it)
            result.insert(it.key(), it.value());
    }
    return result;
}

} // namespace

Q_DECLARE_METATYPE(JsonDocument)

/// What becomes of the documents of tests/data/json that are sent to create and to change a context.
class JsonDocumentsTest : public QObject
{
    Q_OBJECT

    const QVector<JsonDocument> documents = jsonDocuments(QDir(QStringLiteral(JSON_DOCUMENTS)));
    std::optional<QtLeakAllowance> m_allowance;

    void addRows(bool (*isWanted)(const JsonDocument &)) const
    {
        QTest::addColumn<JsonDocument>("document");
        for (const JsonDocument &document : documents) {
            if (isWanted(document))
                QTest::newRow(document.name.constData()) << document;
        }
    }

private Q_SLOTS:
    void init() { m_allowance.emplace(QTest::currentDataTag()); }
    void cleanup() { m_allowance.reset(); }

    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.warning=false"));
    }

    void everyDocumentHasOneVerdict()
    {
        QByteArrayList judged;
        for (const JsonDocument &document : documents)
            judged.append(document.name);
        std::sort(judged.begin(), judged.end());
        QCOMPARE(judged, QByteArrayList(jsonBodies(QDir(QStringLiteral(JSON_DOCUMENTS))).keys()));
        QVERIFY(judged.size() >= 300);
    }

    void columnsAgree_data()
    {
        addRows([](const JsonDocument &) { return true; });
    }
    void columnsAgree()
    {
        QFETCH(JsonDocument, document);
        const bool departs = document.standing.startsWith("departs, ");
        const bool isOpen = document.standing.startsWith("open, ");
        QVERIFY(departs || isOpen || document.standing == "follows");
        QCOMPARE(isOpen, document.name.startsWith("either_"));
        if (document.name.startsWith("invalid_"))
            QCOMPARE(departs, document.isTaken());
        else if (!document.isTaken())
            QVERIFY(departs || isOpen);
        QVERIFY(!document.stored.isEmpty());
        QCOMPARE(document.stored == "-", !document.isTaken());
        QCOMPARE(document.readBack == "-", !document.isTaken());
    }

    void takenByPost_data()
    {
        addRows([](const JsonDocument &d) { return d.isTaken(); });
    }
    void takenByPost()
    {
        QFETCH(JsonDocument, document);
        DocumentFixture fixture;
        const QByteArray answer = fixture.post(document.bytes);
        QCOMPARE(fixture.status, 200);
        QCOMPARE(fixture.headers, jsonHeaders);
        const QStringList ids = fixture.idsBesideBystander();
        QCOMPARE(ids.size(), 1);
        QJsonObject stored = fixture.stored(ids.first().toLatin1());
        QCOMPARE(answer, indented(stored));
        QCOMPARE(fixture.get(ids.first().toLatin1()), answer);
        QCOMPARE(stored.take(QStringLiteral("_id")).toString(), ids.first());
        QJsonObject expected = object(document.stored);
        expected.remove(QStringLiteral("_id"));
        QCOMPARE(compact(stored), document.stored.contains("\"_id\"") ? compact(expected) : document.stored);
        QCOMPARE(fixture.bus.chunks.size(), 2);
    }

    void takenByPut_data()
    {
        addRows([](const JsonDocument &d) { return d.isTaken(); });
    }
    void takenByPut()
    {
        QFETCH(JsonDocument, document);
        DocumentFixture fixture;
        const QByteArray answer = fixture.put("fresh", document.bytes);
        QCOMPARE(fixture.status, 201);
        QCOMPARE(fixture.headers, jsonHeaders);
        QCOMPARE(compact(fixture.stored("fresh")), document.stored);
        QCOMPARE(answer, indented(fixture.stored("fresh")));
        QCOMPARE(fixture.idsBesideBystander(), QStringList{QStringLiteral("fresh")});
        QCOMPARE(fixture.bus.chunks.size(), document.stored == "{}" ? 0 : 1);
    }

    void takenByPutOverAContext_data()
    {
        addRows([](const JsonDocument &d) { return d.isTaken(); });
    }
    void takenByPutOverAContext()
    {
        QFETCH(JsonDocument, document);
        DocumentFixture fixture;
        const QJsonObject before = object(R"({"b":"old","kept":true})");
        fixture.put("known", compact(before));
        fixture.bus.chunks.clear();
        const QByteArray answer = fixture.put("known", document.bytes);
        QCOMPARE(fixture.status, 200);
        QCOMPARE(fixture.headers, jsonHeaders);
        const QJsonObject sent = object(document.bytes);
        const QJsonObject merged = united(before, sent);
        QCOMPARE(answer, indented(merged));
        const bool isAnnounced = isChange(sent);
        const QJsonObject cleared = object(R"({"matchingItems":[]})");
        QCOMPARE(compact(fixture.stored("known")), compact(isAnnounced ? united(merged, cleared) : merged));
        QCOMPARE(fixture.bus.chunks.size(), isAnnounced ? 1 : 0);
        QCOMPARE(fixture.idsBesideBystander(), QStringList{QStringLiteral("known")});
    }

    void readBack_data()
    {
        addRows([](const JsonDocument &d) { return d.isTaken(); });
    }
    void readBack()
    {
        QFETCH(JsonDocument, document);
        DocumentFixture fixture;
        fixture.put("fresh", document.bytes);
        const QByteArray read = fixture.get("fresh");
        QCOMPARE(fixture.status, 200);
        QJsonParseError error;
        QCOMPARE(QJsonDocument::fromJson(read, &error).isObject(), true);
        QCOMPARE(error.error, QJsonParseError::NoError);
        fixture.put("again", read);
        const bool isSameText = document.readBack.startsWith("same");
        QCOMPARE(compact(fixture.stored("again")), isSameText ? document.stored : document.readBack);
        QCOMPARE(fixture.stored("again") == fixture.stored("fresh"), document.readBack == "same");
        if (isSameText)
            QCOMPARE(fixture.get("again"), read);
    }

    void refusedByPost_data()
    {
        addRows([](const JsonDocument &d) { return !d.isTaken(); });
    }
    void refusedByPost()
    {
        QFETCH(JsonDocument, document);
        DocumentFixture fixture;
        QCOMPARE(fixture.post(document.bytes), document.verdict);
        QCOMPARE(fixture.status, 400);
        QCOMPARE(fixture.headers, QStringList{QStringLiteral("Content-Type: text/plain")});
        QCOMPARE(fixture.idsBesideBystander(), QStringList());
        QVERIFY(fixture.bus.chunks.isEmpty());
    }

    // Deliberately, a PUT takes what is no JSON for an empty document.
    void refusedByNoPut_data()
    {
        addRows([](const JsonDocument &d) { return !d.isTaken(); });
    }
    void refusedByNoPut()
    {
        QFETCH(JsonDocument, document);
        DocumentFixture fixture;
        QCOMPARE(fixture.put("fresh", document.bytes), QByteArray("{\n}\n"));
        QCOMPARE(fixture.status, 201);
        QCOMPARE(fixture.headers, jsonHeaders);
        QCOMPARE(fixture.stored("fresh"), QJsonObject());
        QCOMPARE(fixture.put("bystander", document.bytes), QByteArray(bystander));
        QCOMPARE(fixture.status, 200);
        QCOMPARE(fixture.headers, jsonHeaders);
        QCOMPARE(fixture.idsBesideBystander(), QStringList{QStringLiteral("fresh")});
        QVERIFY(fixture.bus.chunks.isEmpty());
    }

    // What Qt takes for Latin-1 text ends at the first NUL, deliberately: valid JSON in front of one is
    // taken.
    void asciiIsTheSameInLatin1UpToANul_data()
    {
        addRows([](const JsonDocument &d) {
            return std::all_of(d.bytes.begin(), d.bytes.end(), [](char c) { return (c & 0x80) == 0; });
        });
    }
    void asciiIsTheSameInLatin1UpToANul()
    {
        QFETCH(JsonDocument, document);
        DocumentFixture plain;
        const QByteArray expected = plain.post(document.bytes.mid(0, document.bytes.indexOf('\0')));
        DocumentFixture fixture;
        const QByteArray answer =
            fixture.post(document.bytes, {{"Content-Type", "application/json; charset=ISO-8859-1"}});
        QCOMPARE(fixture.status, plain.status);
        if (plain.status == 400) {
            QCOMPARE(answer, expected);
            return;
        }
        const QByteArray id = fixture.idsBesideBystander().value(0).toLatin1();
        const QByteArray plainId = plain.idsBesideBystander().value(0).toLatin1();
        QCOMPARE(QByteArray(answer).replace(id, plainId), expected);
        QCOMPARE(indented(fixture.stored(id)), answer);
    }
    void latin1EndsAtTheFirstNul()
    {
        DocumentFixture fixture;
        const QByteArray body("{\"a\":\"\xe4\"}\0garbage", 18);
        QCOMPARE(fixture.post(body), QByteArray("invalid UTF8 string"));
        fixture.post(body, {{"Content-Type", "text/plain; charset=ISO-8859-1"}});
        QCOMPARE(fixture.status, 200);
        const QByteArray id = fixture.idsBesideBystander().value(0).toLatin1();
        QCOMPARE(fixture.stored(id).value(QStringLiteral("a")), QJsonValue(QString(QChar(0xe4))));
    }

    // Qt tells the two keys apart and writes both as "_id".
    void idBehindAByteOrderMarkIsKeptBesideTheNewOne()
    {
        DocumentFixture fixture;
        const QByteArray answer = fixture.post("{\"\xef\xbb\xbf_id\":\"mine\"}");
        QCOMPARE(fixture.status, 200);
        const QByteArray id = fixture.idsBesideBystander().value(0).toLatin1();
        QCOMPARE(answer, "{\n    \"_id\": \"" + id + "\",\n    \"_id\": \"mine\"\n}\n");
        QCOMPARE(fixture.get(id), answer);
    }

    // Qt tells only a double of an integer and keeps all its 64 bits: a merge rounds the members themselves,
    // and leaves what is within them to be compared to the last bit.
    void integersThatReadTheSameDifferWithinAValue_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<int>("chunks");
        QTest::addColumn<int>("signalled");
        const QByteArray even(R"({"a":9007199254740992})");
        const QByteArray evenInside(R"({"a":[9007199254740992]})");
        QTest::newRow("same member") << even << even << 0 << 0;
        QTest::newRow("same within a member") << evenInside << evenInside << 0 << 0;
        QTest::newRow("member") << even << QByteArray(R"({"a":9007199254740993})") << 0 << 0;
        QTest::newRow("within a member") << evenInside << QByteArray(R"({"a":[9007199254740993]})") << 1 << 1;
    }
    void integersThatReadTheSameDifferWithinAValue()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        DocumentFixture fixture;
        const QByteArray answer = fixture.put("known", first);
        fixture.bus.chunks.clear();
        QSignalSpy changes(&fixture.contexts, &ContextService::contextChanged);
        QCOMPARE(fixture.put("known", second), answer);
        QTEST(fixture.bus.chunks.size(), "chunks");
        QTEST(changes.size(), "signalled");
    }
};

QTEST_GUILESS_MAIN(JsonDocumentsTest)
#include "tst_jsondocuments.moc"
