#include "rpcreply.h"

#include "rpcfixture.h"

#include <QLoggingCategory>

class RpcReplyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void replyFollowsTheProperties_data()
    {
        QTest::addColumn<QString>("chunk");
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<QString>("properties");
        const auto row = [](const char *name, const char *chunk, const char *exchange,
                            const char *properties) {
            QTest::newRow(name) << QString::fromUtf8(chunk) << QString::fromUtf8(exchange)
                                << QString::fromUtf8(properties);
        };
        row("reply-to of 17 characters", R"({"properties":{"reply-to":"123456789abcdefgh"}})", "abcdefgh",
            "{}");
        row("prefix of any characters", R"({"properties":{"reply-to":"ÄÖÜ \t/:.-üq"}})", "üq", "{}");
        row("reply-to of 10 characters", R"({"properties":{"reply-to":"123456789a"}})", "a", "{}");
        row("reply-to of 9 characters", R"({"properties":{"reply-to":"123456789"}})", "", "{}");
        row("reply-to of 3 characters", R"({"properties":{"reply-to":"123"}})", "", "{}");
        row("empty reply-to", R"({"properties":{"reply-to":""}})", "", "{}");
        row("numeric reply-to", R"({"properties":{"reply-to":12345678901234}})", "", "{}");
        row("reply-to of the envelope", R"({"reply-to":"123456789abcdefgh","properties":{}})", "", "{}");
        row("text as correlation-id", R"({"properties":{"correlation-id":"c"}})", "",
            R"({"correlation-id":"c"})");
        row("number as correlation-id", R"({"properties":{"correlation-id":7}})", "",
            R"({"correlation-id":7})");
        row("object as correlation-id", R"({"properties":{"correlation-id":{"a":[1]}}})", "",
            R"({"correlation-id":{"a":[1]}})");
        row("null as correlation-id", R"({"properties":{"correlation-id":null}})", "",
            R"({"correlation-id":null})");
        row("other properties stay behind",
            R"({"properties":{"app-id":"x","correlation-id":7,"reply-to":"123456789a"}})", "a",
            R"({"correlation-id":7})");
        row("no properties", "{}", "", "{}");
        row("properties of a wrong type", R"({"properties":["reply-to"]})", "", "{}");
        row("null properties", R"({"properties":null})", "", "{}");
    }
    void replyFollowsTheProperties()
    {
        QFETCH(QString, chunk);
        QFETCH(QString, exchange);
        QFETCH(QString, properties);
        ContextStore store;
        publishRpcReply(store.proxy, json(chunk), QJsonObject{{QStringLiteral("a"), 1}});
        const QString reply = QStringLiteral(R"({"body":{"a":1},"exchange":"%1","properties":%2})");
        QCOMPARE(published(store), QStringList(reply.arg(exchange, properties)));
    }

    void bodyIsSentAsItIs_data()
    {
        QTest::addColumn<QString>("body");
        QTest::newRow("object") << QStringLiteral(R"({"a":1})");
        QTest::newRow("empty object") << QStringLiteral("{}");
        QTest::newRow("array") << QStringLiteral(R"([{"a":1}])");
        QTest::newRow("empty array") << QStringLiteral("[]");
    }
    void bodyIsSentAsItIs()
    {
        QFETCH(QString, body);
        ContextStore store;
        publishRpcReply(store.proxy, request(QStringLiteral("x"), QString()), json(body));
        QCOMPARE(published(store), QStringList(answer(body)));
    }

    void withoutABusNothingGoesOut()
    {
        ContextStore store;
        store.proxy.setChunkService(nullptr);
        publishRpcReply(store.proxy, request(QStringLiteral("x"), QString()), QJsonObject());
        QVERIFY(store.bus.chunks.isEmpty());
    }
};

QTEST_GUILESS_MAIN(RpcReplyTest)
#include "tst_rpcreply.moc"
