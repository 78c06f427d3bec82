#include "carddirectory.h"
#include "cardservice.h"
#include "cardserviceprobe.h"
#include "jsontext.h"

#include <QtTest>

namespace {

const QString source = QStringLiteral("Vexo");

// The entries, each as its identifier and its number.
QStringList entries(const CardService &cards)
{
    QStringList texts;
    const QMap<QString, QString> &all = CardServiceProbe::cards(cards);
    for (auto it = all.constBegin(); it != all.constEnd(); ++it)
        texts.append(it.key() + QLatin1Char('=') + it.value());
    return texts;
}

// That of a text without a card.
const QStringList emptyEntry{QStringLiteral("=")};

} // namespace

/// The numbers that are kept of insurance cards.
class CardServiceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isEmptyAtFirst()
    {
        const CardService cards;
        QCOMPARE(entries(cards), QStringList());
    }

    void cardIsKept()
    {
        CardService cards;
        cards.pushChunk(cardChunk(source, cardXml(QStringLiteral("0800"), QStringLiteral("0756"))));
        QCOMPARE(entries(cards), QStringList(QStringLiteral("0800=0756")));
        QCOMPARE(cards.getInitialCard(QStringLiteral("0800")), QStringLiteral("0756"));
        QCOMPARE(entries(cards), QStringList(QStringLiteral("0800=0756")));
    }

    void eachCardholderHasAnEntry()
    {
        CardService cards;
        cards.pushChunk(cardChunk(source, cardXml(QStringLiteral("1"), QStringLiteral("10"))));
        cards.pushChunk(cardChunk(source, cardXml(QStringLiteral("2"), QStringLiteral("20"))));
        QCOMPARE(entries(cards), QStringList({QStringLiteral("1=10"), QStringLiteral("2=20")}));
    }

    void lastCardOfACardholderCounts()
    {
        CardService cards;
        cards.pushChunk(cardChunk(source, cardXml(QStringLiteral("1"), QStringLiteral("10"))));
        cards.pushChunk(cardChunk(source, cardXml(QStringLiteral("1"), QStringLiteral("11"))));
        QCOMPARE(entries(cards), QStringList(QStringLiteral("1=11")));
    }

    void unknownCardholderIsEntered()
    {
        CardService cards;
        QCOMPARE(cards.getInitialCard(QStringLiteral("9")), QString());
        QCOMPARE(cards.getInitialCard(QString()), QString());
        QCOMPARE(entries(cards), QStringList({QStringLiteral("="), QStringLiteral("9=")}));
    }

    void bothTagsAreFoundAnywhere_data()
    {
        QTest::addColumn<QString>("xml");
        const QString holder = vkAdm(QStringLiteral("cardholderIdentifier"), QStringLiteral("1"));
        const QString otherHolder = vkAdm(QStringLiteral("cardholderIdentifier"), QStringLiteral("2"));
        const QString badHolder = vkAdm(QStringLiteral("cardholderIdentifier"), QStringLiteral("x"));
        const QString number = vkAdm(QStringLiteral("insuredPersonNumber"), QStringLiteral("10"));
        const QString otherNumber = vkAdm(QStringLiteral("insuredPersonNumber"), QStringLiteral("20"));
        QTest::newRow("in order") << holder + number;
        QTest::newRow("in the other order") << number + holder;
        QTest::newRow("on lines of their own")
            << QStringLiteral("<?xml?>\r\n") + number + QLatin1Char('\n') + holder + QLatin1Char('\n');
        QTest::newRow("two cardholders: the first") << holder + otherHolder + number;
        QTest::newRow("two numbers: the first") << holder + number + otherNumber;
        QTest::newRow("one that does not match in front") << badHolder + holder + number;
        QTest::newRow("inside of something else") << QStringLiteral("<!--") + holder + number;
        QTest::newRow("behind a NUL") << QString(1, QChar()) + holder + number;
    }
    void bothTagsAreFoundAnywhere()
    {
        QFETCH(QString, xml);
        CardService cards;
        cards.pushChunk(cardChunk(source, xml));
        QCOMPARE(entries(cards), QStringList(QStringLiteral("1=10")));
    }

    void textWithoutACardEntersTheEmptyPair_data()
    {
        QTest::addColumn<QString>("xml");
        const QString good = QStringLiteral("1");
        QTest::newRow("no tag") << QStringLiteral("<card/>");
        QTest::newRow("blank") << QStringLiteral(" ");
        QTest::newRow("no number") << vkAdm(QStringLiteral("cardholderIdentifier"), good);
        QTest::newRow("no cardholder") << vkAdm(QStringLiteral("insuredPersonNumber"), good);
        QTest::newRow("cardholder with a letter") << cardXml(QStringLiteral("1a"), good);
        QTest::newRow("number with a dot") << cardXml(good, QStringLiteral("756.1"));
        QTest::newRow("empty cardholder") << cardXml(QString(), good);
        QTest::newRow("empty number") << cardXml(good, QString());
        QTest::newRow("blank in front") << cardXml(good, QStringLiteral(" 1"));
        QTest::newRow("line feed behind") << cardXml(QStringLiteral("1\n"), good);
        QTest::newRow("digits of another script") << cardXml(good, QString(QChar(0x0661)));
        QTest::newRow("another prefix")
            << cardXml(good, good).replace(QLatin1String("vk-adm:"), QLatin1String("adm:"));
        QTest::newRow("other case") << cardXml(good, good).toUpper();
        // Such a text is not matched at all.
        QTest::newRow("lone surrogate") << cardXml(good, good) + QChar(0xd800);
    }
    void textWithoutACardEntersTheEmptyPair()
    {
        QFETCH(QString, xml);
        CardService cards;
        cards.pushChunk(cardChunk(source, xml));
        QCOMPARE(entries(cards), emptyEntry);
        QVERIFY(cards.getInitialCard(QString()).isNull());
        QVERIFY(CardServiceProbe::cards(cards).firstKey().isNull());
    }

    void otherEntriesStayWithTheEmptyPair()
    {
        CardService cards;
        cards.pushChunk(cardChunk(source, cardXml(QStringLiteral("1"), QStringLiteral("10"))));
        cards.pushChunk(cardChunk(source, cardXml(QStringLiteral("1"), QStringLiteral("x"))));
        QCOMPARE(entries(cards), QStringList({QStringLiteral("="), QStringLiteral("1=10")}));
    }

    void otherChunksAreIgnored_data()
    {
        QTest::addColumn<QString>("chunk");
        for (const char *chunk : {R"([{"source":"Vexo","data":"x"}])",
                                  R"("Vexo")",
                                  "7",
                                  "true",
                                  "null",
                                  "{}",
                                  R"({"data":"x"})",
                                  R"({"source":"vexo","data":"x"})",
                                  R"({"source":"Vexo ","data":"x"})",
                                  R"({"source":"veka","data":"x"})",
                                  R"({"source":"","data":"x"})",
                                  R"({"source":["Vexo"],"data":"x"})",
                                  R"({"source":null,"data":"x"})",
                                  R"({"source":5,"data":"x"})",
                                  R"({"Source":"Vexo","data":"x"})",
                                  R"({"source":"Vexo"})",
                                  R"({"source":"Vexo","Data":"x"})",
                                  R"({"source":"Vexo","data":""})",
                                  R"({"source":"Vexo","data":{"data":"x"}})",
                                  R"({"source":"Vexo","data":["x"]})",
                                  R"({"source":"Vexo","data":null})",
                                  R"({"source":"Vexo","data":5})"})
            QTest::newRow(chunk) << QString::fromLatin1(chunk);
    }
    void otherChunksAreIgnored()
    {
        QFETCH(QString, chunk);
        CardService cards;
        cards.pushChunk(json(chunk));
        QCOMPARE(entries(cards), QStringList());
    }

    void noValueIsIgnored()
    {
        CardService cards;
        cards.pushChunk(QJsonValue(QJsonValue::Undefined));
        QCOMPARE(entries(cards), QStringList());
    }

    void otherKeysAreIgnored()
    {
        CardService cards;
        QJsonObject chunk = cardChunk(source, cardXml(QStringLiteral("1"), QStringLiteral("10"))).toObject();
        chunk.insert(QStringLiteral("exchange"), QStringLiteral("any"));
        chunk.insert(QStringLiteral("body"), 5);
        cards.pushChunk(chunk);
        QCOMPARE(entries(cards), QStringList(QStringLiteral("1=10")));
    }
};

QTEST_GUILESS_MAIN(CardServiceTest)
#include "tst_cardservice.moc"
