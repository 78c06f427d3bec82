#include "carddirectory.h"
#include "cardserviceprobe.h"
#include "writevekatoxmlbehaviour.h"

#include <QtTest>

namespace {

const QString source = QStringLiteral("veka");

QString vekaXml(const QString &cardholder)
{
    return QStringLiteral("<veka><unique_id>%1</unique_id></veka>\r\n").arg(cardholder);
}

// Knows the number 0756 of the cardholder 0800.
CardService knownCards()
{
    CardService cards;
    cards.pushChunk(
        cardChunk(QStringLiteral("Vexo"), cardXml(QStringLiteral("0800"), QStringLiteral("0756"))));
    return cards;
}

} // namespace

/// What is particular to the file that goes with an insurance card; tst_cardexport has the rest.
class WriteVekaToXmlBehaviourTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fileIsNamedAfterTheInsuredPersonOfTheCard()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        CardService cards = knownCards();
        WriteVekaToXmlBehaviour behaviour(cards);
        behaviour.onChunk(cardChunk(source, vekaXml(QStringLiteral("0800"))));
        QCOMPARE(directory.files(), QStringList(QStringLiteral("vkc_0756.xml")));
        QCOMPARE(directory.read(QStringLiteral("vkc_0756.xml")), vekaXml(QStringLiteral("0800")).toUtf8());
    }

    void exchangeIsNotRead()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        CardService cards = knownCards();
        WriteVekaToXmlBehaviour behaviour(cards);
        QJsonObject chunk = cardChunk(source, vekaXml(QStringLiteral("0800"))).toObject();
        chunk.insert(QStringLiteral("exchange"), QStringLiteral("vexo-context-rpc-set"));
        behaviour.onChunk(chunk);
        QCOMPARE(directory.files(), QStringList(QStringLiteral("vkc_0756.xml")));
    }

    void unknownCardholdersShareAFileAndAreEntered()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        CardService cards = knownCards();
        WriteVekaToXmlBehaviour behaviour(cards);
        behaviour.onChunk(cardChunk(source, vekaXml(QStringLiteral("1000"))));
        QCOMPARE(directory.files(), QStringList(QStringLiteral("vkc_.xml")));
        QCOMPARE(directory.read(QStringLiteral("vkc_.xml")), vekaXml(QStringLiteral("1000")).toUtf8());
        behaviour.onChunk(cardChunk(source, vekaXml(QStringLiteral("2"))));
        QCOMPARE(directory.files(), QStringList(QStringLiteral("vkc_.xml")));
        QCOMPARE(directory.read(QStringLiteral("vkc_.xml")), vekaXml(QStringLiteral("2")).toUtf8());
        const QMap<QString, QString> expected{{QStringLiteral("0800"), QStringLiteral("0756")},
                                              {QStringLiteral("1000"), QString()},
                                              {QStringLiteral("2"), QString()}};
        QCOMPARE(CardServiceProbe::cards(cards), expected);
    }

    void cardIsLookedUpForEachChunk()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        CardService cards = knownCards();
        WriteVekaToXmlBehaviour behaviour(cards);
        behaviour.onChunk(cardChunk(source, vekaXml(QStringLiteral("0800"))));
        cards.pushChunk(
            cardChunk(QStringLiteral("Vexo"), cardXml(QStringLiteral("0800"), QStringLiteral("9"))));
        behaviour.onChunk(cardChunk(source, vekaXml(QStringLiteral("0800"))));
        QCOMPARE(directory.files(),
                 QStringList({QStringLiteral("vkc_0756.xml"), QStringLiteral("vkc_9.xml")}));
    }

    void otherChunksAreIgnored_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("xml");
        QTest::newRow("source of the card") << QStringLiteral("Vexo") << vekaXml(QStringLiteral("0801"));
        QTest::newRow("source in capitals") << QStringLiteral("VEKA") << vekaXml(QStringLiteral("0801"));
        QTest::newRow("no tag") << source << QStringLiteral("<veka/>");
        QTest::newRow("tags of the card")
            << source << cardXml(QStringLiteral("0801"), QStringLiteral("0756"));
        QTest::newRow("letter in the identifier") << source << vekaXml(QStringLiteral("0801x"));
        QTest::newRow("prefix") << source
                                << vekaXml(QStringLiteral("0801"))
                                       .replace(QLatin1String("unique_id"), QLatin1String("v:unique_id"));
    }
    void otherChunksAreIgnored()
    {
        QFETCH(QString, source);
        QFETCH(QString, xml);
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        CardService cards = knownCards();
        WriteVekaToXmlBehaviour behaviour(cards);
        behaviour.onChunk(cardChunk(source, xml));
        QCOMPARE(directory.files(), QStringList());
        QCOMPARE(CardServiceProbe::cards(cards).size(), 1);
    }

    void withoutTheSettingNoCardIsLookedUp()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady() && directory.setLine(QStringLiteral("another=key")));
        CardService cards = knownCards();
        WriteVekaToXmlBehaviour behaviour(cards);
        behaviour.onChunk(cardChunk(source, vekaXml(QStringLiteral("0800"))));
        behaviour.onChunk(cardChunk(source, vekaXml(QStringLiteral("1000"))));
        QCOMPARE(directory.files(), QStringList());
        QCOMPARE(CardServiceProbe::cards(cards).size(), 1);
    }

    // The lookup comes before the opening of the file.
    void unknownCardholderIsEnteredAlsoIfNothingCanBeWritten()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady() && directory.set(directory.path() + QStringLiteral("/missing")));
        CardService cards = knownCards();
        WriteVekaToXmlBehaviour behaviour(cards);
        behaviour.onChunk(cardChunk(source, vekaXml(QStringLiteral("1000"))));
        QCOMPARE(directory.files(), QStringList());
        QCOMPARE(CardServiceProbe::cards(cards).size(), 2);
    }
};

QTEST_GUILESS_MAIN(WriteVekaToXmlBehaviourTest)
#include "tst_writevekatoxmlbehaviour.moc"
