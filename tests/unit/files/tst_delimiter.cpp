#include "delimiter.h"

#include <QtTest>

namespace {

std::string_view viewOf(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

} // namespace

class DelimiterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void headerEnds_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("end");
        QTest::newRow("nothing") << QByteArray() << 0 << 0;
        QTest::newRow("at once") << QByteArray("\r\n\r\n.") << 0 << 4;
        QTest::newRow("later") << QByteArray("ab\r\n\r\n.") << 0 << 6;
        QTest::newRow("as the last bytes") << QByteArray("ab\r\n\r\n") << 0 << 6;
        QTest::newRow("the first of two") << QByteArray("\r\n\r\n\r\n\r\n") << 0 << 4;
        QTest::newRow("what lies before is not seen") << QByteArray("\r\n\r\n.\r\n\r\n.") << 1 << 9;
        QTest::newRow("not begun before") << QByteArray("\r\n\r\n.") << 2 << 5;
        QTest::newRow("none") << QByteArray("ab\r\ncd\r\n") << 0 << 8;
        QTest::newRow("begun") << QByteArray("ab\r\n\r") << 0 << 5;
        QTest::newRow("LF LF") << QByteArray("ab\n\ncd") << 0 << 6;
        QTest::newRow("CR CR LF CR LF") << QByteArray("\r\r\n\r\n.") << 0 << 6;
        QTest::newRow("CR LF CR CR LF CR LF") << QByteArray("\r\n\r\r\n\r\n.") << 0 << 8;
        QTest::newRow("CR CR CR LF CR LF") << QByteArray("\r\r\r\n\r\n.") << 0 << 6;
        QTest::newRow("CR LF LF CR LF CR LF") << QByteArray("\r\n\n\r\n\r\n.") << 0 << 7;
    }
    void headerEnds()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, from);
        QFETCH(int, end);
        QCOMPARE(static_cast<int>(findHeaderEnd(viewOf(body), static_cast<std::size_t>(from))), end);
    }

    void delimiterIsFound_data()
    {
        using Kind = Delimiter::Kind;
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("end");
        const auto row = [](const char *name, const char *body, Kind kind, int end) {
            QTest::newRow(name) << QByteArray(body) << static_cast<int>(kind) << end;
        };
        row("nothing", "", Kind::None, 0);
        row("none", "data", Kind::None, 4);
        row("inner", "data\r\n--X\r\n.", Kind::Inner, 11);
        row("inner at the end", "--X\r\n", Kind::Inner, 5);
        row("closing", "data\r\n--X--\r\n", Kind::Closing, 11);
        row("closing at the end", "--X--", Kind::Closing, 5);
        row("the first of two", "--X\r\n--X--", Kind::Inner, 5);
        row("the first of two, closing", "--X----X\r\n", Kind::Closing, 5);
        row("in a line", "data--X\r\n.", Kind::Inner, 9);
        row("another", "--Y\r\n--X\r\n", Kind::Inner, 10);
        row("begun", "--X\r", Kind::None, 4);
        row("text alone", "--X", Kind::None, 3);
        row("one dash", "--X-", Kind::None, 4);
        row("one dash and more", "--X-.--X\r\n", Kind::Inner, 10);
        row("dashes behind CR", "--X\r--\r\n", Kind::None, 8);
        row("LF alone", "--X\n", Kind::None, 4);
        row("other case", "--x\r\n", Kind::None, 5);
        row("a dash too many", "---X\r\n", Kind::None, 6);
        row("two dashes too many", "----X\r\n", Kind::None, 7);
        row("three dashes too many", "-----X\r\n", Kind::Inner, 8);
        row("behind its own beginning", "--X--X\r\n", Kind::Closing, 5);
        row("a byte that fits, then the delimiter", "-.--X\r\n", Kind::Inner, 7);
        row("the byte that differs is lost", "--X\r--X\r\n", Kind::None, 9);
    }
    void delimiterIsFound()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, kind);
        QFETCH(int, end);
        const Delimiter found = findDelimiter(viewOf(body), 0, "--X\r\n");
        QCOMPARE(static_cast<int>(found.kind), kind);
        QCOMPARE(static_cast<int>(found.end), end);

        const Delimiter shifted = findDelimiter(viewOf("--X\r\n" + body), 5, "--X\r\n");
        QCOMPARE(static_cast<int>(shifted.kind), kind);
        QCOMPARE(static_cast<int>(shifted.end), end + 5);
    }

    void aBareLineIsNeverClosing()
    {
        const Delimiter dashes = findDelimiter("--", 0, "\r\n");
        QVERIFY(dashes.kind == Delimiter::Kind::None);
        const Delimiter lineEnd = findDelimiter("--\r\n--", 0, "\r\n");
        QVERIFY(lineEnd.kind == Delimiter::Kind::Inner);
        QCOMPARE(static_cast<int>(lineEnd.end), 4);
    }
};

QTEST_GUILESS_MAIN(DelimiterTest)
#include "tst_delimiter.moc"
