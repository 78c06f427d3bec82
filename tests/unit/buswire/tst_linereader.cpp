#include <linereader.h>

#include <QtTest>

using buswire::LineReader;

class LineReaderTest : public QObject
{
    Q_OBJECT

    static void append(LineReader &reader, const QByteArray &bytes)
    {
        reader.append(bytes.constData(), bytes.size());
    }
    static QVector<QByteArray> linesOf(LineReader &reader)
    {
        QVector<QByteArray> lines;
        while (const auto line = reader.next())
            lines.append(*line);
        return lines;
    }

private Q_SLOTS:
    void linesAreTheSameHoweverTheBytesCome_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QVector<QByteArray>>("lines");
        QTest::addColumn<QByteArray>("rest");
        using Lines = QVector<QByteArray>;
        QTest::newRow("nothing") << QByteArray() << Lines{} << QByteArray();
        QTest::newRow("one line") << QByteArray("a\n") << Lines{"a"} << QByteArray();
        QTest::newRow("several lines") << QByteArray("a\nbc\nd\n") << Lines{"a", "bc", "d"} << QByteArray();
        QTest::newRow("empty lines") << QByteArray("\n\na\n\n") << Lines{"", "", "a", ""} << QByteArray();
        QTest::newRow("no last line feed") << QByteArray("a\nbc") << Lines{"a"} << QByteArray("bc");
        QTest::newRow("no line feed at all") << QByteArray("abc") << Lines{} << QByteArray("abc");
        QTest::newRow("carriage returns stay") << QByteArray("a\r\n") << Lines{"a\r"} << QByteArray();
        QTest::newRow("NUL is a byte like others")
            << QByteArray("a\0b\n", 4) << Lines{QByteArray("a\0b", 3)} << QByteArray();
    }
    void linesAreTheSameHoweverTheBytesCome()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QVector<QByteArray>, lines);
        QFETCH(QByteArray, rest);
        for (int size = 1; size <= bytes.size() + 1; ++size) {
            LineReader reader;
            QVector<QByteArray> got;
            for (int i = 0; i < bytes.size(); i += size) {
                append(reader, bytes.mid(i, size));
                got += linesOf(reader);
            }
            QCOMPARE(got, lines);
            QCOMPARE(reader.takeRest(), rest);
            QVERIFY(!reader.isOverlong());
        }
    }

    void restIsTakenOnce()
    {
        LineReader reader;
        append(reader, "a\nb");
        QCOMPARE(linesOf(reader), QVector<QByteArray>{"a"});
        QCOMPARE(reader.takeRest(), QByteArray("b"));
        QCOMPARE(reader.takeRest(), QByteArray());
        append(reader, "c\n");
        QCOMPARE(linesOf(reader), QVector<QByteArray>{"c"});
    }

    void lengthIsLimited_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<bool>("ends");
        QTest::addColumn<bool>("overlong");
        const int most = 16 * 1024 * 1024;
        QTest::newRow("the most, complete") << most << true << false;
        QTest::newRow("the most, so far") << most << false << false;
        QTest::newRow("one more, complete") << most + 1 << true << true;
        QTest::newRow("one more, so far") << most + 1 << false << true;
    }
    void lengthIsLimited()
    {
        QFETCH(int, length);
        QFETCH(bool, ends);
        QFETCH(bool, overlong);
        LineReader reader;
        append(reader, "first\n");
        append(reader, QByteArray(length, 'x'));
        if (ends)
            append(reader, "\nlast\n");
        const QVector<QByteArray> lines = linesOf(reader);
        QCOMPARE(lines.value(0), QByteArray("first"));
        QCOMPARE(reader.isOverlong(), overlong);
        QCOMPARE(lines.size(), ends && !overlong ? 3 : 1);
        if (lines.size() == 3)
            QCOMPARE(lines[1].size(), length);
    }

    void nothingComesAfterAnOverlongLine()
    {
        LineReader reader;
        append(reader, QByteArray(LineReader::maxLineBytes + 1, 'x'));
        QVERIFY(!reader.next());
        append(reader, "\na\n");
        QVERIFY(!reader.next());
        QVERIFY(reader.isOverlong());
        QCOMPARE(reader.takeRest(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(LineReaderTest)
#include "tst_linereader.moc"
