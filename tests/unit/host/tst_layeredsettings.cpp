#include <layeredsettings.h>

#include <QSettings>
#include <QtTest>

class LayeredSettingsTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString path(const QString &name) const { return m_dir.filePath(name); }

    // `values` is the text of the file, without its group.
    void write(const QString &name, const QByteArray &values) const
    {
        QVERIFY(QFileInfo(path(name)).dir().mkpath(QStringLiteral(".")));
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[ch.tessel.vexo-service]\n" + values);
    }
    static QString value(const char *key)
    {
        const auto values = readLayeredSettings(QStringLiteral("tessel"), QStringLiteral("vexo-service"));
        return values.value(QStringLiteral("ch.tessel.vexo-service/") + QLatin1String(key)).toString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QSettings::setPath(QSettings::IniFormat, QSettings::SystemScope, path(QStringLiteral("system")));
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, path(QStringLiteral("user")));
        write(QStringLiteral("system/tessel/vexo-service.ini"), "a=system\nb=system\nc=system\n");
        write(QStringLiteral("user/tessel/vexo-service.ini"), "b=user\nc=user\n");
        write(QStringLiteral("user/tessel.ini"), "d=organization\na=organization\n");
        for (const char *name : {"run.ini", "run.conf", "run.INI"})
            write(QString::fromLatin1(name), "c=run\n");
    }
    void cleanup() { qunsetenv("TS_SETTINGS_INI_FILE"); }

    void laterLayersWinKeyByKey()
    {
        qputenv("TS_SETTINGS_INI_FILE", QFile::encodeName(path(QStringLiteral("run.ini"))));
        QCOMPARE(value("a"), QStringLiteral("system"));
        QCOMPARE(value("b"), QStringLiteral("user"));
        QCOMPARE(value("c"), QStringLiteral("run"));
    }

    void withoutTheVariableTheUserWins() { QCOMPARE(value("c"), QStringLiteral("user")); }

    void userScopeHasNoFallbacks()
    {
        QCOMPARE(value("d"), QString());
        QCOMPARE(value("a"), QStringLiteral("system"));
    }

    void otherEndingsAreIgnored_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("another ending") << "run.conf";
        QTest::newRow("upper case") << "run.INI";
        QTest::newRow("no such file") << "absent.ini";
    }
    void otherEndingsAreIgnored()
    {
        QFETCH(QString, name);
        qputenv("TS_SETTINGS_INI_FILE", QFile::encodeName(path(name)));
        QCOMPARE(value("c"), QStringLiteral("user"));
    }

    void emptyVariableIsIgnored()
    {
        qputenv("TS_SETTINGS_INI_FILE", "");
        QCOMPARE(value("c"), QStringLiteral("user"));
    }
};

QTEST_GUILESS_MAIN(LayeredSettingsTest)
#include "tst_layeredsettings.moc"
