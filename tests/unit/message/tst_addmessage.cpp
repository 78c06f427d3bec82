#include "structure/chunk/addmessage.h"

#include "jsontext.h"
#include "logcapture.h"
#include "messages.h"

#include <QtTest>

#include <type_traits>

using structure::chunk::AddMessage;
using structure::content::Message;

static_assert(std::is_same_v<decltype(&AddMessage::create), QJsonValue (*)(const Message &)>);
static_assert(std::is_same_v<decltype(&AddMessage::parse), bool (AddMessage::*)(const QJsonValue &)>);
static_assert(std::is_same_v<decltype(&AddMessage::fill), void (AddMessage::*)(QVector<Message> &) const>);
static_assert(std::is_default_constructible_v<AddMessage>);

static const char *const category = "ch.tessel.vexo.k7.common.structure.chunk.addmessage";

static QStringList identifiers(const QVector<Message> &messages)
{
    QStringList texts;
    for (const Message &message : messages)
        texts.append(message.identifier());
    return texts;
}

class AddMessageTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chunkIsExact()
    {
        Message persistent = message("ä");
        persistent.setPersistent();
        QCOMPARE(jsonText(AddMessage::create(persistent)),
                 QStringLiteral(R"({"exchange":"vexo-context-add-messages","messages":[{"id":"ä",)"
                                R"("subtitle":"","text":"x","timestamp":"","title":"t",)"
                                R"("type":"persistent"}],"source":"k7-plugin-adswiss"})"));
    }

    void comesBackFromItsChunk()
    {
        Message sent = message("i");
        sent.setTimestamp(QDateTime(QDate(2026, 1, 5), QTime(7, 8, 9)));
        sent.setCustomLifeTime(structure::content::Timespan(9));
        AddMessage chunk;
        QVERIFY(chunk.parse(AddMessage::create(sent)));
        QVector<Message> received;
        chunk.fill(received);
        QCOMPARE(identifiers(received), QStringList{QStringLiteral("i")});
        QCOMPARE(AddMessage::create(received.at(0)), AddMessage::create(sent));
    }

    void isRecognised_data()
    {
        QTest::addColumn<QString>("chunk");
        QTest::addColumn<bool>("parses");
        const auto row = [](const char *name, const char *chunk, bool parses) {
            QTest::newRow(name) << QString::fromLatin1(chunk) << parses;
        };
        row("no message", R"({"exchange":"vexo-context-add-messages","messages":[]})", true);
        row("anything as messages", R"({"exchange":"vexo-context-add-messages","messages":[1,"x"]})", true);
        row("another source", R"({"exchange":"vexo-context-add-messages","messages":[],"source":5})", true);
        row("no exchange", R"({"messages":[]})", false);
        row("another exchange", R"({"exchange":"vexo-context-add-message","messages":[]})", false);
        row("exchange in capitals", R"({"exchange":"Vexo-context-add-messages","messages":[]})", false);
        row("exchange as array", R"({"exchange":["vexo-context-add-messages"],"messages":[]})", false);
        row("exchange as number", R"({"exchange":5,"messages":[]})", false);
        row("wrong exchange and no array", R"({"exchange":"x","messages":{}})", false);
        row("array of a chunk", R"([{"exchange":"vexo-context-add-messages","messages":[]}])", false);
        row("text", R"("vexo-context-add-messages")", false);
        row("null", "null", false);
    }
    void isRecognised()
    {
        QFETCH(QString, chunk);
        QFETCH(bool, parses);
        const LogCapture log(category);
        AddMessage parser;
        QCOMPARE(parser.parse(json(chunk)), parses);
        QVERIFY(log.lines().isEmpty());
    }

    void messagesThatAreNoArrayAreTold_data()
    {
        QTest::addColumn<QString>("rest");
        QTest::addColumn<QString>("value");
        const auto row = [](const char *name, const char *rest, const char *value) {
            QTest::newRow(name) << QString::fromLatin1(rest) << QString::fromLatin1(value);
        };
        row("object", R"(,"messages":{"id":"a"})", R"(QJsonValue(object, QJsonObject({"id":"a"})))");
        row("text", R"(,"messages":"a")", R"(QJsonValue(string, "a"))");
        row("null", R"(,"messages":null)", "QJsonValue(null)");
        row("missing", "", "QJsonValue(undefined)");
        row("in the body", R"(,"body":{"messages":[]})", "QJsonValue(undefined)");
    }
    void messagesThatAreNoArrayAreTold()
    {
        QFETCH(QString, rest);
        QFETCH(QString, value);
        const LogCapture log(category);
        AddMessage parser;
        QVERIFY(
            !parser.parse(json(QStringLiteral(R"({"exchange":"vexo-context-add-messages"%1})").arg(rest))));
        QCOMPARE(log.lines().size(), 1);
        const QString line = QStringLiteral("Expected message array in chunk was not an array:  ") + value;
        QVERIFY2(log.contains(QtDebugMsg, line), qPrintable(log.lines().constFirst().text));
    }

    void undefinedIsNoChunk()
    {
        AddMessage parser;
        QVERIFY(!parser.parse(QJsonValue(QJsonValue::Undefined)));
    }

    void onlyMessagesAreTaken()
    {
        AddMessage parser;
        QVERIFY(parser.parse(json(QStringLiteral(
            R"({"exchange":"vexo-context-add-messages","messages":[1,{"id":"a","title":"t","text":"x"},"x",
                {"id":"b","title":"t"},null,[{"id":"c","title":"t","text":"x"}],{}]})"))));
        QVector<Message> messages;
        parser.fill(messages);
        QCOMPARE(identifiers(messages), QStringList{QStringLiteral("a")});
    }

    void messagesAreAppendedInOrder()
    {
        AddMessage parser;
        QVERIFY(parser.parse(json(QStringLiteral(
            R"({"exchange":"vexo-context-add-messages","messages":[
                {"id":"b","title":"t","text":"x","type":"persistent"},{"id":"a","title":"t","text":"x"},
                {"id":"b","title":"","text":""}]})"))));
        QVector<Message> messages{message("z")};
        parser.fill(messages);
        QCOMPARE(identifiers(messages), QStringLiteral("z b a b").split(QLatin1Char(' ')));
        QCOMPARE(messages.at(1).type(), Message::Persistent);
        // Each starts from an empty one.
        QCOMPARE(messages.at(2).type(), Message::Momentary);
    }

    void refusedChunkLeavesWhatTheLastOneGave()
    {
        AddMessage parser;
        QVector<Message> messages;
        parser.fill(messages);
        QVERIFY(messages.isEmpty());
        QVERIFY(parser.parse(AddMessage::create(message("a"))));
        QVERIFY(!parser.parse(QJsonObject()));
        parser.fill(messages);
        QCOMPARE(identifiers(messages), QStringList{QStringLiteral("a")});
        QVERIFY(parser.parse(AddMessage::create(message("b"))));
        messages.clear();
        parser.fill(messages);
        QCOMPARE(identifiers(messages), QStringList{QStringLiteral("b")});
    }

    void categoryIsNamed() { QCOMPARE(structure::chunk::AddMessageLogging().categoryName(), category); }
};

QTEST_GUILESS_MAIN(AddMessageTest)
#include "tst_addmessage.moc"
