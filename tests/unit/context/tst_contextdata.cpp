#include "contextdata.h"

#include "jsontext.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <malloc.h>

namespace {

QJsonObject object(const char *text)
{
    return json(QString::fromLatin1(text)).toObject();
}

} // namespace

class ContextDataTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changedKeys_data()
    {
        QTest::addColumn<QJsonObject>("old");
        QTest::addColumn<QJsonObject>("next");
        QTest::addColumn<QJsonObject>("changed");
        const auto row = [](const char *name, const char *old, const char *next, const char *changed) {
            QTest::newRow(name) << object(old) << object(next) << object(changed);
        };
        row("new and other values", R"({"a":1,"b":2})", R"({"a":1,"b":3,"c":4})", R"({"b":3,"c":4})");
        row("derived keys", "{}", R"({"actionRequests":1,"attachments":1,"inbox":1,"matchingItems":1})",
            "{}");
        row("derived keys in other case", "{}", R"({"Attachments":1,"inbox ":1})",
            R"({"Attachments":1,"inbox ":1})");
        row("removed key", R"({"a":1})", "{}", "{}");
        row("new null", "{}", R"({"a":null})", "{}");
        row("value that becomes null", R"({"a":1})", R"({"a":null})", R"({"a":null})");
        row("null that becomes a value", R"({"a":null})", R"({"a":0})", R"({"a":0})");
    }
    void changedKeys()
    {
        QFETCH(QJsonObject, old);
        QFETCH(QJsonObject, next);
        QTEST(contextdata::changedKeys(old, next), "changed");
    }

    void mergeIsOneLevelDeep()
    {
        const QJsonObject current = object(R"({"a":{"x":1},"attachments":[1],"c":3})");
        const QJsonObject update = object(R"({"a":{"y":2},"b":null})");
        QCOMPARE(contextdata::merged(current, update),
                 object(R"({"a":{"y":2},"attachments":[1],"b":null,"c":3})"));
        QCOMPARE(current, object(R"({"a":{"x":1},"attachments":[1],"c":3})"));
    }

    // Qt's object does not find such keys when it is asked for them.
    void oddlySpelledKeysAreMergedToo_data()
    {
        QTest::addColumn<QByteArray>("current");
        QTest::addColumn<QByteArray>("update");
        QTest::addColumn<QString>("key");
        QTest::newRow("astral beside U+FF5E")
            << QByteArray("{\"\xf0\x9f\x98\x80\":0}") << QByteArray("{\"\xf0\x9f\x98\x80\":1,\"\\uff5e\":2}")
            << QString::fromUtf8("\xf0\x9f\x98\x80");
        QTest::newRow("byte order mark") << QByteArray("{\"a\":0}")
                                         << QByteArray("{\"\xef\xbb\xbf"
                                                       "a\":1}")
                                         << QStringLiteral("a");
    }
    void oddlySpelledKeysAreMergedToo()
    {
        QFETCH(QByteArray, current);
        QFETCH(QByteArray, update);
        QFETCH(QString, key);
        const QJsonObject merged = contextdata::merged(QJsonDocument::fromJson(current).object(),
                                                       QJsonDocument::fromJson(update).object());
        for (auto it = merged.constBegin(); it != merged.constEnd(); ++it) {
            if (it.key() == key) {
                QCOMPARE(it.value(), QJsonValue(1));
                return;
            }
        }
        QFAIL("the key has gone");
    }

    void replacedTextsLeaveNoBytesBehind()
    {
        const QString text(100000, QLatin1Char('x'));
        QJsonObject context{{QStringLiteral("a"), text}};
        const auto before = mallinfo2();
        for (int i = 0; i < 100; ++i)
            context = contextdata::merged(context, QJsonObject{{QStringLiteral("a"), text}});
        const auto after = mallinfo2();
        QVERIFY(after.uordblks + after.hblkhd < before.uordblks + before.hblkhd + 1000000);
    }
};

QTEST_GUILESS_MAIN(ContextDataTest)
#include "tst_contextdata.moc"
