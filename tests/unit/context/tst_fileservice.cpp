#include "fileservice.h"

#include <QtTest>

class FileServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void declaresNoSignalAndNoSlot()
    {
        const QMetaObject &meta = FileService::staticMetaObject;
        QCOMPARE(meta.methodCount(), meta.methodOffset());
    }

    void storesAndReplaces()
    {
        FileService files;
        const QString key = QStringLiteral("k");
        QVERIFY(!files.hasFile(key));
        const QByteArray bytes("a\0b", 3);
        files.setFile(key, bytes);
        QVERIFY(files.hasFile(key));
        QCOMPARE(files.getFile(key), bytes);
        files.setFile(key, QByteArray());
        QVERIFY(files.hasFile(key));
        QCOMPARE(files.getFile(key), QByteArray());
        QVERIFY(!files.hasFile(QStringLiteral("K")));
    }

    void bytesAreSharedOrMovedNotCopied()
    {
        FileService files;
        const QString key = QStringLiteral("k");
        QByteArray bytes(1000, 'x');
        files.setFile(key, bytes);
        QVERIFY(files.getFile(key).isSharedWith(bytes));
        QByteArray moved(1000, 'y');
        const char *data = moved.constData();
        files.setFile(key, std::move(moved));
        QCOMPARE(static_cast<const void *>(files.getFile(key).constData()), static_cast<const void *>(data));
        QVERIFY(files.getFile(key).isDetached());
    }

    void referenceIsToTheStoredBytes()
    {
        FileService files;
        const QString key = QStringLiteral("k");
        files.setFile(key, QByteArray("a"));
        files.getFile(key).append('b');
        QCOMPARE(files.getFile(key), QByteArray("ab"));
    }

    void readOfAnUnknownKeyEntersIt()
    {
        FileService files;
        QCOMPARE(files.getFile(QString()), QByteArray());
        QVERIFY(files.hasFile(QString()));
    }

    void removes()
    {
        FileService files;
        files.setFile(QStringLiteral("a"), QByteArray("1"));
        files.setFile(QStringLiteral("b"), QByteArray("2"));
        files.removeFile(QStringLiteral("a"));
        files.removeFile(QStringLiteral("unknown"));
        QVERIFY(!files.hasFile(QStringLiteral("a")));
        QVERIFY(!files.hasFile(QStringLiteral("unknown")));
        QCOMPARE(files.getFile(QStringLiteral("b")), QByteArray("2"));
    }
};

QTEST_GUILESS_MAIN(FileServiceTest)
#include "tst_fileservice.moc"
