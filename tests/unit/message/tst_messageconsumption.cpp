#include "structure/request/messageconsumption.h"

#include "jsontext.h"
#include "logcapture.h"

#include <QtTest>

#include <type_traits>

using structure::request::MessageConsumption;
using Consumption = structure::content::MessageConsumption;

static_assert(std::is_same_v<decltype(&MessageConsumption::create), QJsonDocument (*)(const Consumption &)>);
static_assert(std::is_same_v<decltype(&MessageConsumption::parse),
                             bool (MessageConsumption::*)(const QJsonDocument &)>);
static_assert(
    std::is_same_v<decltype(&MessageConsumption::fill), void (MessageConsumption::*)(Consumption &) const>);

static const char *const category = "ch.tessel.vexo.vexo-uilib.messageconsummation";

static QVector<QString> texts(const char *text)
{
    return text[0] == '\0' ? QVector<QString>()
                           : QString::fromLatin1(text).split(QLatin1Char(' ')).toVector();
}

class MessageConsumptionTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesTheIdentifiersInOrder()
    {
        Consumption consumption;
        QCOMPARE(MessageConsumption::create(consumption).toJson(QJsonDocument::Compact), QByteArray("[]"));
        consumption.identifiers = {QStringLiteral("b"), QString(), QStringLiteral("a"), QStringLiteral("b")};
        QCOMPARE(MessageConsumption::create(consumption).toJson(QJsonDocument::Compact),
                 QByteArray(R"(["b","","a","b"])"));
    }

    void readsTheTexts_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QVector<QString>>("identifiers");
        QTest::newRow("texts") << QByteArray(R"(["b","a","b"])") << texts("b a b");
        QTest::newRow("others between") << QByteArray(R"(["a",1,"b"])") << texts("a b");
        QTest::newRow("every other type") << QByteArray(R"([1,null,true,["a"],{"id":"a"}])") << texts("");
        QTest::newRow("empty text") << QByteArray(R"([""])") << QVector<QString>{QString()};
        QTest::newRow("empty") << QByteArray("[]") << texts("");
    }
    void readsTheTexts()
    {
        QFETCH(QByteArray, document);
        QFETCH(QVector<QString>, identifiers);
        const LogCapture log(category);
        MessageConsumption form;
        QVERIFY(form.parse(QJsonDocument::fromJson(document)));
        Consumption consumption;
        form.fill(consumption);
        QCOMPARE(consumption.identifiers, identifiers);
        // Nothing that is there already goes.
        form.fill(consumption);
        QCOMPARE(consumption.identifiers, identifiers + identifiers);
        QVERIFY(log.lines().isEmpty());
    }

    void anythingButAnArrayIsRefused()
    {
        MessageConsumption form;
        QVERIFY(form.parse(QJsonDocument::fromJson(R"(["a"])")));
        QVERIFY(!form.parse(QJsonDocument::fromJson(R"({"a":["b"]})")));
        QVERIFY(!form.parse(QJsonDocument()));
        Consumption consumption;
        form.fill(consumption);
        QCOMPARE(consumption.identifiers, texts("a"));
    }

    void comesBackFromItsForm()
    {
        Consumption sent;
        sent.identifiers = {QStringLiteral("ä"), QStringLiteral("b")};
        MessageConsumption form;
        QVERIFY(form.parse(MessageConsumption::create(sent)));
        Consumption received;
        form.fill(received);
        QCOMPARE(received.identifiers, sent.identifiers);
    }

    void categoryIsNamed()
    {
        QCOMPARE(structure::request::MessageConsummationLogging().categoryName(), category);
    }
};

QTEST_GUILESS_MAIN(MessageConsumptionTest)
#include "tst_messageconsumption.moc"
