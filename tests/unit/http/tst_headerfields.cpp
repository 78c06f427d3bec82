#include <http/server/headerfields.h>

#include <QtTest>

using http::server::HeaderFields;

class HeaderFieldsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesCompareWithoutCase()
    {
        const HeaderFields fields{{"Content-Type", "text/plain"}};
        QCOMPARE(fields.joined("content-TYPE"), QByteArray("text/plain"));
        QVERIFY(fields.contains("CONTENT-type"));
        QVERIFY(!fields.contains("Content-Typ"));
        QVERIFY(!fields.contains("Content-Type2"));
    }

    void absentNameIsNull()
    {
        const HeaderFields fields{{"A", ""}};
        QVERIFY(fields.joined("B").isNull());
        QVERIFY(!fields.joined("A").isNull());
        QVERIFY(fields.joined("A").isEmpty());
    }

    void severalLinesAreJoinedInOrder()
    {
        const HeaderFields fields{{"Accept", "text/plain"}, {"Host", "h"}, {"accept", ""}, {"ACCEPT", "*/*"}};
        QCOMPARE(fields.joined("Accept"), QByteArray("text/plain, , */*"));
    }

    void replaceKeepsThePlaceOfTheFirst()
    {
        HeaderFields fields{{"A", "1"}, {"B", "2"}, {"a", "3"}};
        fields.replace("A", "4");
        fields.replace("C", "5");
        QCOMPARE(fields.size(), 3);
        QCOMPARE(fields.nameAt(0) + fields.valueAt(0), QByteArray("A4"));
        QCOMPARE(fields.nameAt(1) + fields.valueAt(1), QByteArray("B2"));
        QCOMPARE(fields.nameAt(2) + fields.valueAt(2), QByteArray("C5"));
    }
};

QTEST_GUILESS_MAIN(HeaderFieldsTest)
#include "tst_headerfields.moc"
