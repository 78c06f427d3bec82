#include "structure/content/message.h"
#include "structure/content/messageconsumption.h"
#include "structure/content/messageupdate.h"

#include <QtTest>

#include <limits>
#include <type_traits>

using structure::content::Message;
using structure::content::MessageConsumption;
using structure::content::MessageUpdate;
using structure::content::Timespan;

namespace {

template <typename Wanted, typename Given>
constexpr bool same = std::is_same_v<Wanted, Given>;

static_assert(same<decltype(&Message::createEmptyMessage), Message (*)()>);
static_assert(same<decltype(&Message::isValid), bool (Message::*)() const>);
static_assert(same<decltype(&Message::identifier), const QString &(Message::*)() const>);
static_assert(same<decltype(&Message::title), const QString &(Message::*)() const>);
static_assert(same<decltype(&Message::subtitle), const QString &(Message::*)() const>);
static_assert(same<decltype(&Message::text), const QString &(Message::*)() const>);
static_assert(same<decltype(&Message::timestamp), const QDateTime &(Message::*)() const>);
static_assert(same<decltype(&Message::customLifeTime), const Timespan &(Message::*)() const>);
static_assert(same<decltype(&Message::type), Message::Type (Message::*)() const>);
static_assert(same<decltype(&Message::setIdentifier), void (Message::*)(QString)>);
static_assert(same<decltype(&Message::setTitle), void (Message::*)(QString)>);
static_assert(same<decltype(&Message::setSubtitle), void (Message::*)(QString)>);
static_assert(same<decltype(&Message::setText), void (Message::*)(QString)>);
static_assert(same<decltype(&Message::setTimestamp), void (Message::*)(QDateTime)>);
static_assert(same<decltype(&Message::setMomentary), void (Message::*)()>);
static_assert(same<decltype(&Message::setCustomLifeTime), void (Message::*)(Timespan)>);
static_assert(same<decltype(&Message::setPersistent), void (Message::*)()>);
static_assert(std::is_copy_constructible_v<Message> && std::is_copy_assignable_v<Message>);

static_assert(std::is_enum_v<Message::Type> && sizeof(Message::Type) == 4);
static_assert(Message::Momentary == 0 && Message::CustomLifeTime == 1 && Message::Persistent == 2);

static_assert(same<decltype(&Timespan::seconds), long long (Timespan::*)() const>);
static_assert(same<decltype(&Timespan::createTimespanSeconds), Timespan (*)(unsigned long)>);
static_assert(std::is_constructible_v<Timespan, long long> && std::is_default_constructible_v<Timespan>);
static_assert(sizeof(Timespan) == sizeof(qint64));

static_assert(same<decltype(MessageUpdate::messages), QVector<Message>>);
static_assert(same<decltype(MessageConsumption::identifiers), QVector<QString>>);

Message fullMessage()
{
    Message message = Message::createEmptyMessage();
    message.setIdentifier(QStringLiteral("i"));
    message.setTitle(QStringLiteral("t"));
    message.setSubtitle(QStringLiteral("s"));
    message.setText(QStringLiteral("x"));
    message.setTimestamp(QDateTime(QDate(2026, 1, 31), QTime(12, 0)));
    message.setCustomLifeTime(Timespan(5));
    return message;
}

} // namespace

class MessageTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyMessageHoldsTheDefaults()
    {
        const Message message = Message::createEmptyMessage();
        QVERIFY(message.identifier().isEmpty());
        QCOMPARE(int(message.type()), 0);
        QVERIFY(message.title().isEmpty());
        QVERIFY(message.subtitle().isEmpty());
        QVERIFY(message.text().isEmpty());
        QVERIFY(message.timestamp().isNull());
        QCOMPARE(message.customLifeTime().seconds(), 0LL);
        QVERIFY(!message.isValid());
    }

    void eachFieldIsKept()
    {
        const Message message = fullMessage();
        QCOMPARE(message.identifier(), QStringLiteral("i"));
        QCOMPARE(message.title(), QStringLiteral("t"));
        QCOMPARE(message.subtitle(), QStringLiteral("s"));
        QCOMPARE(message.text(), QStringLiteral("x"));
        QCOMPARE(message.timestamp(), QDateTime(QDate(2026, 1, 31), QTime(12, 0)));
        QCOMPARE(message.type(), Message::CustomLifeTime);
        QCOMPARE(message.customLifeTime().seconds(), 5LL);
    }

    void copyIsAMessageOfItsOwn()
    {
        const Message message = fullMessage();
        Message copy = message;
        copy.setText(QStringLiteral("other"));
        copy.setPersistent();
        QCOMPARE(message.text(), QStringLiteral("x"));
        QCOMPARE(message.type(), Message::CustomLifeTime);
        QCOMPARE(copy.identifier(), QStringLiteral("i"));
        QCOMPARE(copy.text(), QStringLiteral("other"));
    }

    void validWithIdentifierTitleAndText_data()
    {
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        const QString full = QStringLiteral("x");
        QTest::newRow("all three") << full << full << full << true;
        QTest::newRow("blanks") << QStringLiteral(" ") << QStringLiteral(" ") << QStringLiteral(" ") << true;
        QTest::newRow("no identifier") << QString() << full << full << false;
        QTest::newRow("no title") << full << QString() << full << false;
        QTest::newRow("no text") << full << full << QString() << false;
        QTest::newRow("empty text") << full << full << QStringLiteral("") << false;
        QTest::newRow("none") << QString() << QString() << QString() << false;
    }
    void validWithIdentifierTitleAndText()
    {
        QFETCH(QString, identifier);
        QFETCH(QString, title);
        QFETCH(QString, text);
        QFETCH(bool, valid);
        // Once with nothing else, once with everything else.
        for (Message message : {Message::createEmptyMessage(), fullMessage()}) {
            message.setIdentifier(identifier);
            message.setTitle(title);
            message.setText(text);
            QCOMPARE(message.isValid(), valid);
        }
    }

    void spanStaysWhenItIsNoLongerInForce()
    {
        Message message = Message::createEmptyMessage();
        message.setCustomLifeTime(Timespan(5));
        QCOMPARE(int(message.type()), 1);
        message.setPersistent();
        QCOMPARE(int(message.type()), 2);
        QCOMPARE(message.customLifeTime().seconds(), 5LL);
        message.setMomentary();
        QCOMPARE(int(message.type()), 0);
        QCOMPARE(message.customLifeTime().seconds(), 5LL);
        message.setCustomLifeTime(Timespan());
        QCOMPARE(message.customLifeTime().seconds(), 0LL);
    }

    void spanCountsInSixtyFourBits()
    {
        QCOMPARE(Timespan().seconds(), 0LL);
        QCOMPARE(Timespan(-1).seconds(), -1LL);
        QCOMPARE(Timespan(std::numeric_limits<long long>::max()).seconds(), 9223372036854775807LL);
        QCOMPARE(Timespan::createTimespanSeconds(3600).seconds(), 3600LL);
        QCOMPARE(Timespan::createTimespanSeconds(5000000000UL).seconds(), 5000000000LL);
    }
};

QTEST_GUILESS_MAIN(MessageTest)
#include "tst_message.moc"
