#include "resourcebundle.h"

#include "jsontext.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

QJsonObject bundleOf(const QJsonValue &entries)
{
    return {{QStringLiteral("entry"), entries}};
}

QString textOf(const QJsonValue &resource)
{
    return resource.toObject().value(QLatin1String("id")).toString();
}

// The rule word by word: each stored element is compared with all that the result holds at that moment.
QJsonArray quadraticMerge(const QJsonArray &entries, const QJsonArray &stored)
{
    QJsonArray result;
    for (const QJsonValue &entry : entries) {
        const QJsonObject object = entry.toObject();
        if (!object.contains(QLatin1String("resource")))
            continue;
        const QJsonObject resource = object.value(QLatin1String("resource")).toObject();
        if (!resource.isEmpty())
            result.append(resource);
    }
    for (const QJsonValue &old : stored) {
        bool known = false;
        for (const QJsonValue &present : qAsConst(result))
            known = known || textOf(present) == textOf(old);
        if (!known)
            result.append(old);
    }
    return result;
}

// Resources and what is none, of few ids, so that they meet; a number of its own tells each from the others.
class RandomResources final
{
public:
    explicit RandomResources(quint32 seed)
        : m_generator(seed)
    {
    }

    QJsonArray stored(int maximum)
    {
        QJsonArray array;
        for (int left = m_generator.bounded(maximum + 1); left > 0; --left)
            array.append(resource());
        return array;
    }

    QJsonArray entries(int maximum)
    {
        QJsonArray array;
        for (int left = m_generator.bounded(maximum + 1); left > 0; --left)
            array.append(entry());
        return array;
    }

private:
    QJsonValue entry()
    {
        const QString key = QStringLiteral("resource");
        switch (m_generator.bounded(12)) {
        case 0: return QJsonObject{{QStringLiteral("fullUrl"), ++m_number}};
        case 1: return ++m_number;
        default: return QJsonObject{{key, resource()}, {QStringLiteral("search"), ++m_number}};
        }
    }

    QJsonValue resource()
    {
        switch (m_generator.bounded(16)) {
        case 0: return QJsonObject();
        case 1: return ++m_number;
        case 2: return QJsonArray{++m_number};
        case 3: return QJsonValue::Null;
        case 4: return QStringLiteral("a");
        default: break;
        }
        QJsonObject object{{QStringLiteral("n"), ++m_number}};
        object.insert(QStringLiteral("id"), id());
        return object;
    }

    QJsonValue id()
    {
        switch (m_generator.bounded(12)) {
        case 0: return QJsonValue::Undefined;
        case 1: return QString();
        case 2: return m_generator.bounded(3);
        case 3: return QJsonValue::Null;
        case 4: return QJsonObject{{QStringLiteral("id"), QStringLiteral("a")}};
        case 5: return QStringLiteral("A");
        case 6: return QString::fromUtf8("ä");
        default: return QString(QLatin1Char(static_cast<char>('a' + m_generator.bounded(8))));
        }
    }

    QRandomGenerator m_generator;
    int m_number = 0;
};

} // namespace

class ResourceBundleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheBareResources_data()
    {
        QTest::addColumn<QString>("bundle");
        QTest::addColumn<int>("entries");
        QTest::addColumn<QString>("resources");
        QTest::addColumn<QString>("withoutId");
        const auto row = [](const char *name, const char *bundle, int entries, const char *resources,
                            const char *withoutId) {
            QTest::newRow(name) << QString::fromLatin1(bundle) << entries << QString::fromLatin1(resources)
                                << QString::fromLatin1(withoutId);
        };
        row("empty", "{}", 0, "[]", "[]");
        row("entry of a wrong type", R"({"entry":{"resource":{"id":"a"}}})", 0, "[]", "[]");
        row("in the order of the entries", R"({"entry":[{"resource":{"id":"b"}},{"resource":{"id":"a"}}]})",
            2, R"([{"id":"b"},{"id":"a"}])", "[]");
        row("what wraps them is dropped",
            R"({"type":"searchset","entry":[{"fullUrl":"u","resource":{"id":"a","x":{"y":1}}}]})", 1,
            R"([{"id":"a","x":{"y":1}}])", "[]");
        row("entry without a resource", R"({"entry":[{"id":"a"},{"resource":{"id":"b"}}]})", 2,
            R"([{"id":"b"}])", "[]");
        row("entry that is no object", R"({"entry":[5,null,[],"resource",{"resource":{"id":"b"}}]})", 5,
            R"([{"id":"b"}])", "[]");
        row("resource that is no object", R"({"entry":[{"resource":5},{"resource":null}]})", 2, "[]",
            "[{},{}]");
        row("empty resource", R"({"entry":[{"resource":{}}]})", 1, "[]", "[{}]");
        row("resource without an id", R"({"entry":[{"resource":{"x":1}},{"resource":{"id":"b"}}]})", 2,
            R"([{"x":1},{"id":"b"}])", R"([{"x":1}])");
        row("id that is no text is an id", R"({"entry":[{"resource":{"id":5}},{"resource":{"id":null}}]})", 2,
            R"([{"id":5},{"id":null}])", "[]");
        row("the same id twice", R"({"entry":[{"resource":{"id":"a","n":1}},{"resource":{"id":"a","n":2}}]})",
            2, R"([{"id":"a","n":1},{"id":"a","n":2}])", "[]");
        row("no id twice", R"({"entry":[{"resource":{"n":1}},{"resource":{"n":2}}]})", 2,
            R"([{"n":1},{"n":2}])", R"([{"n":1},{"n":2}])");
    }
    void readsTheBareResources()
    {
        QFETCH(QString, bundle);
        QFETCH(int, entries);
        QFETCH(QString, resources);
        QFETCH(QString, withoutId);
        const ResourceBundle read(json(bundle).toObject());
        QCOMPARE(read.entryCount(), entries);
        QCOMPARE(jsonText(read.mergedWith({})), resources);
        QJsonArray missing;
        for (const QJsonObject &resource : read.resourcesWithoutId())
            missing.append(resource);
        QCOMPARE(jsonText(missing), withoutId);
    }

    void mergesWithWhatIsStored_data()
    {
        QTest::addColumn<QString>("resources");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("merged");
        const auto row = [](const char *name, const char *resources, const char *stored, const char *merged) {
            QTest::newRow(name) << QString::fromLatin1(resources) << QString::fromLatin1(stored)
                                << QString::fromLatin1(merged);
        };
        row("nothing and nothing", "[]", "[]", "[]");
        row("new ones come first", R"([{"id":"c"},{"id":"a","n":2}])", R"([{"id":"a","n":1},{"id":"b"}])",
            R"([{"id":"c"},{"id":"a","n":2},{"id":"b"}])");
        row("old ones keep their order", R"([{"id":"m"}])", R"([{"id":"z"},{"id":"m"},{"id":"a"}])",
            R"([{"id":"m"},{"id":"z"},{"id":"a"}])");
        row("a replacement is no merge of fields", R"([{"id":"a","x":1}])", R"([{"id":"a","y":1}])",
            R"([{"id":"a","x":1}])");
        row("ids have a case", R"([{"id":"a"}])", R"([{"id":"A"}])", R"([{"id":"a"},{"id":"A"}])");
        row("new ones of one id both stay", R"([{"id":"a","n":1},{"id":"a","n":2}])", R"([{"id":"a"}])",
            R"([{"id":"a","n":1},{"id":"a","n":2}])");
        row("of old ones of one id the first stays", "[]", R"([{"id":"a","n":1},{"id":"a","n":2}])",
            R"([{"id":"a","n":1}])");
        row("of old ones without an id the first stays", "[]",
            R"([{"n":1},{"id":5},{"id":""},{"id":null},7,[],"t",null,{}])", R"([{"n":1}])");
        row("an old one that is no object may be the first", "[]", R"([7,{"n":1}])", "[7]");
        row("a new one without an id drops old ones without", R"([{"n":2}])", R"([{"n":1},{"id":5},7])",
            R"([{"n":2}])");
        row("a new one with a numeric id drops old ones without", R"([{"id":5}])", R"([{"n":1},{"id":"5"}])",
            R"([{"id":5},{"id":"5"}])");
        row("an empty new one drops nothing", "[{}]", R"([{"n":1}])", R"([{"n":1}])");
    }
    void mergesWithWhatIsStored()
    {
        QFETCH(QString, resources);
        QFETCH(QString, stored);
        QFETCH(QString, merged);
        QJsonArray entries;
        for (const QJsonValue &resource : json(resources).toArray())
            entries.append(QJsonObject{{QStringLiteral("resource"), resource}});
        const ResourceBundle bundle(bundleOf(entries));
        QCOMPARE(jsonText(bundle.mergedWith(json(stored).toArray())), merged);
        QCOMPARE(jsonText(quadraticMerge(entries, json(stored).toArray())), merged);
    }

    void oneBundleMergesIntoManyArrays()
    {
        const ResourceBundle bundle(bundleOf(json(QStringLiteral(R"([{"resource":{"id":"a","n":0}}])"))));
        for (int i = 0; i < 3; ++i) {
            const QString stored = QStringLiteral(R"([{"id":"a","n":9},{"id":"b","n":%1}])").arg(i);
            QCOMPARE(jsonText(bundle.mergedWith(json(stored).toArray())),
                     QStringLiteral(R"([{"id":"a","n":0},{"id":"b","n":%1}])").arg(i));
        }
        QCOMPARE(jsonText(bundle.mergedWith({})), QStringLiteral(R"([{"id":"a","n":0}])"));
    }

    void sameAsTheQuadraticMerge()
    {
        RandomResources random(20240229);
        int shortened = 0;
        for (int round = 0; round < 10000; ++round) {
            const QJsonArray entries = random.entries(round % 17);
            const QJsonArray stored = random.stored(round % 23);
            const QJsonArray merged = ResourceBundle(bundleOf(entries)).mergedWith(stored);
            const QJsonArray expected = quadraticMerge(entries, stored);
            if (merged != expected)
                QCOMPARE(jsonText(merged), jsonText(expected));
            shortened += expected.size() < entries.size() + stored.size() ? 1 : 0;
        }
        QVERIFY(shortened > 5000);
    }
};

QTEST_GUILESS_MAIN(ResourceBundleTest)
#include "tst_resourcebundle.moc"
