#include "structure/request/messageupdate.h"

#include "jsontext.h"
#include "logcapture.h"

#include <QtTest>

#include <type_traits>

using structure::content::Message;
using structure::request::MessageUpdate;
using Update = structure::content::MessageUpdate;

static_assert(std::is_same_v<decltype(&MessageUpdate::create), QJsonDocument (*)(const Update &)>);
static_assert(
    std::is_same_v<decltype(&MessageUpdate::parse), bool (MessageUpdate::*)(const QJsonDocument &)>);
static_assert(std::is_same_v<decltype(&MessageUpdate::fill), void (MessageUpdate::*)(Update &) const>);

static const char *const category = "ch.tessel.vexo.vexo-uilib.util.structure.request.messageupdate";

static QStringList identifiers(const Update &update)
{
    QStringList texts;
    for (const Message &message : update.messages)
        texts.append(message.identifier());
    return texts;
}

class MessageUpdateTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesTheMessagesInOrder()
    {
        Update update;
        QCOMPARE(MessageUpdate::create(update).toJson(QJsonDocument::Compact), QByteArray("[]"));
        for (const char *identifier : {"b", "a"}) {
            Message message = Message::createEmptyMessage();
            message.setIdentifier(QLatin1String(identifier));
            message.setPersistent();
            update.messages.append(message);
        }
        QCOMPARE(MessageUpdate::create(update).toJson(QJsonDocument::Compact),
                 QByteArray(R"([{"id":"b","subtitle":"","text":"","timestamp":"","title":"",)"
                            R"("type":"persistent"},{"id":"a","subtitle":"","text":"","timestamp":"",)"
                            R"("title":"","type":"persistent"}])"));
    }

    void readsTheMessages()
    {
        const LogCapture log(category);
        MessageUpdate form;
        QVERIFY(form.parse(QJsonDocument::fromJson(
            R"([1,{"id":"b","title":"t","text":"x","type":"persistent"},"x",null,["a"],{},)"
            R"({"id":"a","title":"t"},{"id":"a","title":"","text":""}])")));
        Update update;
        form.fill(update);
        QCOMPARE(identifiers(update), (QStringList{QStringLiteral("b"), QStringLiteral("a")}));
        QCOMPARE(update.messages.at(0).type(), Message::Persistent);
        // Each starts from an empty one.
        QCOMPARE(update.messages.at(1).type(), Message::Momentary);
        form.fill(update);
        QCOMPARE(update.messages.size(), 4);
        QVERIFY(log.lines().isEmpty());
    }

    void anythingButAnArrayIsRefused()
    {
        MessageUpdate form;
        QVERIFY(form.parse(QJsonDocument::fromJson(R"([{"id":"a","title":"t","text":"x"}])")));
        QVERIFY(!form.parse(QJsonDocument::fromJson(R"({"id":"b","title":"t","text":"x"})")));
        QVERIFY(!form.parse(QJsonDocument()));
        Update update;
        form.fill(update);
        QCOMPARE(identifiers(update), QStringList{QStringLiteral("a")});
        QVERIFY(form.parse(QJsonDocument::fromJson("[]")));
        form.fill(update);
        QCOMPARE(update.messages.size(), 1);
    }

    void comesBackFromItsForm()
    {
        Update sent;
        Message message = Message::createEmptyMessage();
        message.setIdentifier(QStringLiteral("ä"));
        message.setTimestamp(QDateTime(QDate(2026, 1, 5), QTime(7, 8, 9)));
        message.setCustomLifeTime(structure::content::Timespan(9));
        sent.messages.append(message);
        MessageUpdate form;
        QVERIFY(form.parse(MessageUpdate::create(sent)));
        Update received;
        form.fill(received);
        QCOMPARE(received.messages.size(), 1);
        QCOMPARE(MessageUpdate::create(received), MessageUpdate::create(sent));
        QCOMPARE(received.messages.at(0).customLifeTime().seconds(), 9LL);
    }

    void categoryIsNamed() { QCOMPARE(structure::request::MessageUpdateLogging().categoryName(), category); }
};

QTEST_GUILESS_MAIN(MessageUpdateTest)
#include "tst_messageupdate.moc"
