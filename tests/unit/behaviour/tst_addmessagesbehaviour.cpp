#include "addmessagesbehaviour.h"

#include "jsontext.h"
#include "logcapture.h"
#include "messages.h"
#include "messageservice.h"

#include <QLoggingCategory>
#include <QtTest>

namespace {

const char category[] = "ch.tessel.vexo-service.context.addmessagesbehaviour";

QJsonValue chunkOf(const QString &messages)
{
    return json(QStringLiteral(R"({"exchange":"vexo-context-add-messages","messages":%1})").arg(messages));
}

QStringList linesOf(const LogCapture &log)
{
    QStringList lines;
    for (const LogCapture::Line &line : log.lines())
        lines.append((line.type == QtDebugMsg ? QStringLiteral("debug: ") : QStringLiteral("other: "))
                     + line.text);
    return lines;
}

} // namespace

class AddMessagesBehaviourTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void messagesAreAddedInTheOrderOfTheChunk()
    {
        MessageService service;
        QStringList added;
        connect(&service, &MessageService::messagesAvailable, this, [&] {
            const QStringList keys = textsOf(service.createMessageUpdate()).keys();
            added.append(keys.join(QLatin1Char(' ')));
        });
        AddMessagesBehaviour behaviour(service);
        behaviour.onChunk(
            chunkOf(QStringLiteral(R"([{"id":"c","title":"t","text":"x"},{"id":"a","title":"t","text":"x"},)"
                                   R"({"id":"b","title":"t","text":"x"}])")));
        QCOMPARE(added, (QStringList{QStringLiteral("c"), QStringLiteral("a c"), QStringLiteral("a b c")}));
    }

    void laterOfOneIdentifierStays()
    {
        MessageService service;
        AddMessagesBehaviour behaviour(service);
        behaviour.onChunk(chunkOf(QStringLiteral(
            R"([{"id":"a","title":"t","text":"first"},{"id":"a","title":"t","text":"second"}])")));
        QCOMPARE(textsOf(service.createMessageUpdate()).values(), QStringList{QStringLiteral("second")});
    }

    void invalidMessagesAreDropped()
    {
        MessageService service;
        AddMessagesBehaviour behaviour(service);
        behaviour.onChunk(
            chunkOf(QStringLiteral(R"([1,{"id":"a","title":"t"},{"id":"b","title":"","text":""},null])")));
        QCOMPARE(textsOf(service.createMessageUpdate()).keys(), QStringList{QStringLiteral("b")});
    }

    void announcesItselfAndItsChunks_data()
    {
        QTest::addColumn<QString>("messages");
        QTest::addColumn<bool>("adds");
        QTest::newRow("a message") << QStringLiteral(R"([{"id":"a","title":"t","text":"x"}])") << true;
        QTest::newRow("nothing valid") << QStringLiteral(R"([{"id":1},"x"])") << false;
        QTest::newRow("nothing") << QStringLiteral("[]") << false;
    }
    void announcesItselfAndItsChunks()
    {
        QFETCH(QString, messages);
        QFETCH(bool, adds);
        const LogCapture log(category);
        MessageService service;
        AddMessagesBehaviour behaviour(service);
        QStringList lines{QStringLiteral("debug: Add messages behaviour created")};
        QCOMPARE(linesOf(log), lines);
        int linesWhenAdded = 0;
        connect(&service, &MessageService::messagesAvailable, this,
                [&] { linesWhenAdded = log.lines().size(); });
        behaviour.onChunk(chunkOf(messages));
        lines.append(QStringLiteral("debug: Chunk received"));
        QCOMPARE(linesOf(log), lines);
        QCOMPARE(service.hasMessages(), adds);
        QCOMPARE(linesWhenAdded, adds ? 2 : 0);
    }

    void otherChunksAreIgnored_data()
    {
        QTest::addColumn<QString>("chunk");
        const QString messages = QStringLiteral(R"([{"id":"a","title":"t","text":"x"}])");
        const auto row = [&](const char *name, const char *chunk) {
            QTest::newRow(name) << QString::fromLatin1(chunk).replace(QLatin1Char('%'), messages);
        };
        row("no exchange", R"({"messages":%})");
        row("another exchange", R"({"exchange":"vexo-context-add-message","messages":%})");
        row("exchange in capitals", R"({"exchange":"VEXO-CONTEXT-ADD-MESSAGES","messages":%})");
        row("exchange as number", R"({"exchange":5,"messages":%})");
        row("messages in the body", R"({"exchange":"vexo-context-add-messages","body":{"messages":%}})");
        row("messages as object", R"({"exchange":"vexo-context-add-messages","messages":{"a":%}})");
        row("array", R"([{"exchange":"vexo-context-add-messages","messages":%}])");
        row("null", "null");
    }
    void otherChunksAreIgnored()
    {
        QFETCH(QString, chunk);
        MessageService service;
        AddMessagesBehaviour behaviour(service);
        const LogCapture log(category);
        behaviour.onChunk(json(chunk));
        QVERIFY(!service.hasMessages());
        QVERIFY(log.lines().isEmpty());
    }

    void keepsNothingBetweenChunks()
    {
        MessageService service;
        AddMessagesBehaviour behaviour(service);
        int told = 0;
        connect(&service, &MessageService::messagesAvailable, this, [&] { ++told; });
        behaviour.onChunk(chunkOf(QStringLiteral(R"([{"id":"a","title":"t","text":"x"}])")));
        behaviour.onChunk(chunkOf(QStringLiteral("[]")));
        behaviour.onChunk(chunkOf(QStringLiteral("{}")));
        QCOMPARE(told, 1);
    }

    void categoryIsNamed() { QCOMPARE(addMessagesBehaviourLogging().categoryName(), category); }
};

QTEST_GUILESS_MAIN(AddMessagesBehaviourTest)
#include "tst_addmessagesbehaviour.moc"
