#include "carddirectory.h"
#include "writecardtoxmlbehaviour.h"

#include <QtTest>

namespace {

const QString source = QStringLiteral("Vexo");

} // namespace

/// What is particular to the file of an insurance card; tst_cardexport has the rest.
class WriteCardToXmlBehaviourTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fileIsNamedAfterTheInsuredPerson()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        const QString xml = cardXml(QStringLiteral("0800"), QStringLiteral("0756"));
        WriteCardToXmlBehaviour behaviour;
        behaviour.onChunk(cardChunk(source, xml));
        QCOMPARE(directory.files(), QStringList(QStringLiteral("adm_0756.xml")));
        QCOMPARE(directory.read(QStringLiteral("adm_0756.xml")), xml.toUtf8());
    }

    void cardholderIsNotNeeded()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        WriteCardToXmlBehaviour behaviour;
        behaviour.onChunk(
            cardChunk(source, vkAdm(QStringLiteral("insuredPersonNumber"), QStringLiteral("7"))));
        QCOMPARE(directory.files(), QStringList(QStringLiteral("adm_7.xml")));
    }

    void firstNumberNamesTheWholeText()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        const QString xml = cardXml(QStringLiteral("1"), QStringLiteral("10"))
                            + cardXml(QStringLiteral("2"), QStringLiteral("20"));
        WriteCardToXmlBehaviour behaviour;
        behaviour.onChunk(cardChunk(source, xml));
        QCOMPARE(directory.files(), QStringList(QStringLiteral("adm_10.xml")));
        QCOMPARE(directory.read(QStringLiteral("adm_10.xml")), xml.toUtf8());
    }

    void otherCardsAreIgnored_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("xml");
        const QString good = cardXml(QStringLiteral("1"), QStringLiteral("10"));
        QTest::newRow("source of the other file") << QStringLiteral("veka") << good;
        QTest::newRow("source in lower case") << QStringLiteral("vexo") << good;
        QTest::newRow("no tag") << source << QStringLiteral("<card/>");
        QTest::newRow("cardholder alone")
            << source << vkAdm(QStringLiteral("cardholderIdentifier"), QStringLiteral("1"));
        QTest::newRow("tag of the other file") << source << QStringLiteral("<unique_id>1</unique_id>");
        QTest::newRow("letter in the number")
            << source << cardXml(QStringLiteral("1"), QStringLiteral("10x"));
        QTest::newRow("another prefix")
            << source << QString(good).replace(QLatin1String("vk-adm:"), QLatin1String("adm:"));
        QTest::newRow("no prefix") << source << QString(good).remove(QLatin1String("vk-adm:"));
    }
    void otherCardsAreIgnored()
    {
        QFETCH(QString, source);
        QFETCH(QString, xml);
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        WriteCardToXmlBehaviour behaviour;
        behaviour.onChunk(cardChunk(source, xml));
        QCOMPARE(directory.files(), QStringList());
    }

    void settingThatIsRemovedStopsTheWriting()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady());
        WriteCardToXmlBehaviour behaviour;
        behaviour.onChunk(cardChunk(source, cardXml(QStringLiteral("1"), QStringLiteral("10"))));
        QVERIFY(directory.setLine(QStringLiteral("another=key")));
        behaviour.onChunk(cardChunk(source, cardXml(QStringLiteral("2"), QStringLiteral("20"))));
        QCOMPARE(directory.files(), QStringList(QStringLiteral("adm_10.xml")));
    }

    void emptySettingIsTheCurrentDirectory()
    {
        const CardDirectory directory;
        QVERIFY(directory.isReady() && directory.set(QString()));
        WriteCardToXmlBehaviour behaviour;
        behaviour.onChunk(cardChunk(source, cardXml(QStringLiteral("1"), QStringLiteral("10"))));
        QCOMPARE(CardDirectory::filesOf(QDir::currentPath()), QStringList(QStringLiteral("adm_10.xml")));
    }
};

QTEST_GUILESS_MAIN(WriteCardToXmlBehaviourTest)
#include "tst_writecardtoxmlbehaviour.moc"
