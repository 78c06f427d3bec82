#include "structure/chunk/newcontext.h"

#include "jsontext.h"
#include "logcapture.h"

#include <QtTest>

#include <type_traits>

using structure::chunk::NewContext;

static_assert(std::is_same_v<decltype(&NewContext::create), QJsonValue (*)(const QJsonObject &)>);
static_assert(std::is_same_v<decltype(&NewContext::parse), bool (NewContext::*)(const QJsonValue &)>);
static_assert(std::is_same_v<decltype(&NewContext::find), bool (NewContext::*)(QJsonObject &) const>);
static_assert(std::is_default_constructible_v<NewContext>);

static const char *const category = "ch.tessel.vexo.api.chunk.structure.newcontext";

class NewContextTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chunkIsExact_data()
    {
        QTest::addColumn<QString>("context");
        QTest::newRow("context") << QStringLiteral(R"({"_id":"abc","patient":{"name":["ä"]}})");
        QTest::newRow("empty") << QStringLiteral("{}");
    }
    void chunkIsExact()
    {
        QFETCH(QString, context);
        const QJsonValue chunk = NewContext::create(json(context).toObject());
        QCOMPARE(
            jsonText(chunk),
            QStringLiteral(R"({"data":{"data":%1,"event":"new-context"},"source":"k7-plugin-mediwin-cb"})")
                .arg(context));
        NewContext parser;
        QVERIFY(parser.parse(chunk));
        QJsonObject found{{QStringLiteral("before"), 1}};
        QVERIFY(parser.find(found));
        QCOMPARE(jsonText(found), context);
    }

    void isRecognised_data()
    {
        QTest::addColumn<QString>("chunk");
        QTest::addColumn<bool>("parses");
        const auto row = [](const char *name, const char *chunk, bool parses) {
            QTest::newRow(name) << QString::fromLatin1(chunk) << parses;
        };
        row("event and data", R"({"data":{"event":"new-context","data":{"x":1}}})", true);
        row("empty context", R"({"data":{"event":"new-context","data":{}}})", true);
        row("exchange and source of others",
            R"({"exchange":"vexo-context-rpc-set","source":5,"data":{"event":"new-context","data":{}}})",
            true);
        row("no inner data", R"({"data":{"event":"new-context"}})", false);
        row("inner data as array", R"({"data":{"event":"new-context","data":[{}]}})", false);
        row("inner data as text", R"({"data":{"event":"new-context","data":"x"}})", false);
        row("inner data as null", R"({"data":{"event":"new-context","data":null}})", false);
        row("event at the top", R"({"event":"new-context","data":{"x":1}})", false);
        row("event at the top, data inside", R"({"event":"new-context","data":{"data":{}}})", false);
        row("no event", R"({"data":{"data":{}}})", false);
        row("another event", R"({"data":{"event":"context-changed","data":{}}})", false);
        row("event in capitals", R"({"data":{"event":"New-context","data":{}}})", false);
        row("event as array", R"({"data":{"event":["new-context"],"data":{}}})", false);
        row("event as number", R"({"data":{"event":5,"data":{}}})", false);
        row("data as array", R"({"data":[{"event":"new-context","data":{}}]})", false);
        row("data as text", R"({"data":"new-context"})", false);
        row("no data", R"({"exchange":"new-context"})", false);
        row("array of a chunk", R"([{"data":{"event":"new-context","data":{}}}])", false);
        row("text", R"("new-context")", false);
        row("null", "null", false);
    }
    void isRecognised()
    {
        QFETCH(QString, chunk);
        QFETCH(bool, parses);
        const LogCapture log(category);
        NewContext parser;
        QCOMPARE(parser.parse(json(chunk)), parses);
        QVERIFY(log.lines().isEmpty());
    }

    void undefinedIsNoChunk()
    {
        NewContext parser;
        QVERIFY(!parser.parse(QJsonValue(QJsonValue::Undefined)));
    }

    void refusedChunkLeavesWhatTheLastOneGave()
    {
        NewContext parser;
        QJsonObject found{{QStringLiteral("before"), 1}};
        QVERIFY(parser.find(found));
        QCOMPARE(found, QJsonObject());
        QVERIFY(parser.parse(NewContext::create({{QStringLiteral("x"), 1}})));
        QVERIFY(!parser.parse(json(QStringLiteral(R"({"data":{"event":"new-context"}})"))));
        QVERIFY(parser.find(found));
        QCOMPARE(jsonText(found), QStringLiteral(R"({"x":1})"));
    }

    void categoryIsNamed() { QCOMPARE(structure::chunk::NewContextLogging().categoryName(), category); }
};

QTEST_GUILESS_MAIN(NewContextTest)
#include "tst_newcontext.moc"
