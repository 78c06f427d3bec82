#include <settingvalue.h>

#include <QtTest>

class SettingValueTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theKeyIsAskedForInTheGroupOfTheHost()
    {
        QStringList asked;
        const SettingValue value(
            [&](const QString &key) {
                asked.append(key);
                return QVariant();
            },
            "http.some");
        QCOMPARE(asked, QStringList{QStringLiteral("ch.tessel.vexo-service/http.some")});
        QVERIFY(!value.isSet());
        QCOMPARE(value.text(), QString());
        QCOMPARE(value.list(), QStringList());
    }

    void aValueIsATextAndAList_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QString>("text");
        QTest::newRow("text") << QVariant(QStringLiteral("a")) << QStringList{QStringLiteral("a")} << "a";
        QTest::newRow("empty") << QVariant(QString(QLatin1String(""))) << QStringList{QString()} << "";
        const QStringList two{QStringLiteral("a"), QStringLiteral("b")};
        QTest::newRow("with a comma") << QVariant(two) << two << "a, b";
        QTest::newRow("bytes") << QVariant(QByteArray("a, b")) << QStringList{QStringLiteral("a, b")}
                               << "a, b";
        QTest::newRow("number") << QVariant(7) << QStringList{QStringLiteral("7")} << "7";
    }
    void aValueIsATextAndAList()
    {
        QFETCH(QVariant, value);
        const SettingValue read([&](const QString & /*key*/) { return value; }, "http.some");
        QVERIFY(read.isSet());
        QTEST(read.list(), "list");
        QTEST(read.text(), "text");
    }

    void aFailureNamesKeyValueAndReason()
    {
        const QStringList two{QStringLiteral("a"), QStringLiteral("b")};
        const SettingValue value([&](const QString & /*key*/) { return two; }, "http.some");
        const StartFailure failure = value.senseless(QStringLiteral("must be one"));
        QCOMPARE(failure.text,
                 QStringLiteral("setting ch.tessel.vexo-service/http.some is \"a, b\": must be one"));
        QCOMPARE(failure.exitStatus, 1);
    }

    void aDescriptionIsALineInColumns()
    {
        QCOMPARE(describeSetting("http.some", QStringLiteral("7"), "apples; beyond it 400"),
                 QStringLiteral("  http.some            7               apples; beyond it 400\n"));
    }
};

QTEST_GUILESS_MAIN(SettingValueTest)
#include "tst_settingvalue.moc"
