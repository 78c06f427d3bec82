#include <socketpath.h>

#include <QtTest>

class SocketPathTest : public QObject
{
    Q_OBJECT

    const QTemporaryDir dir;

private Q_SLOTS:
    void initTestCase()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("tst-socketpath"));
        qputenv("HOME", QFile::encodeName(dir.path()));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.path()));
    }

    void settingWinsOverTheRuntimeDirectory_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<QByteArray>("runtimeDirectory");
        QTest::addColumn<QString>("path");
        const QByteArray group = "[ch.tessel.vexo-service.buswire]\n";
        QTest::newRow("setting") << group + "socket=/tmp/x.sock\n"
                                 << QByteArray("/run/user/1") << "/tmp/x.sock";
        QTest::newRow("setting alone") << group + "socket=/tmp/x.sock\n" << QByteArray() << "/tmp/x.sock";
        QTest::newRow("empty setting") << group + "socket=\n"
                                       << QByteArray("/run/user/1") << "/run/user/1/buswire.sock";
        QTest::newRow("no setting") << QByteArray() << QByteArray("/run/user/1")
                                    << "/run/user/1/buswire.sock";
        QTest::newRow("neither") << QByteArray() << QByteArray() << "";
    }
    void settingWinsOverTheRuntimeDirectory()
    {
        QFETCH(QByteArray, settings);
        QFETCH(QByteArray, runtimeDirectory);
        QFETCH(QString, path);
        QFile file(dir.filePath(QStringLiteral("settings.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(settings);
        file.close();
        qputenv("TS_SETTINGS_INI_FILE", QFile::encodeName(file.fileName()));
        qputenv("XDG_RUNTIME_DIR", runtimeDirectory);
        QCOMPARE(buswire::socketPath(), path);
    }
};

QTEST_GUILESS_MAIN(SocketPathTest)
#include "tst_socketpath.moc"
