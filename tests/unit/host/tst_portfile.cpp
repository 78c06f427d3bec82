#include <portfile.h>

#include <QtTest>

class PortFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void holdsThePortAndALineFeed()
    {
        const QTemporaryDir dir;
        const QString name = dir.filePath(QStringLiteral("port"));
        QVERIFY(!writePortFile(name, 9).has_value());
        QVERIFY(!writePortFile(name, 54321).has_value());
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("54321\n"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("port")});
    }

    void failureNamesTheFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("no such directory") << "absent/port";
        QTest::newRow("is a directory") << ".";
    }
    void failureNamesTheFile()
    {
        QFETCH(QString, name);
        const QTemporaryDir dir;
        const QString file = dir.filePath(name);
        const auto failure = writePortFile(file, 1);
        QVERIFY(failure.has_value());
        QCOMPARE(failure->exitStatus, 1);
        const QString start = QStringLiteral("port file %1: ").arg(file);
        QVERIFY2(failure->text.startsWith(start) && failure->text.size() > start.size(),
                 qPrintable(failure->text));
    }
};

QTEST_GUILESS_MAIN(PortFileTest)
#include "tst_portfile.moc"
