#include "dispositionfilename.h"

#include <QtTest>

// What a name is cut out of is shown in tst_multipartfiles; this is about the lines.

namespace {

std::optional<QString> nameIn(const QByteArray &lines)
{
    return dispositionFileName({lines.constData(), static_cast<std::size_t>(lines.size())});
}

} // namespace

class DispositionFileNameTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noLineGivesNoName_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("other lines") << QByteArray("a\nb: c\r\n\r\n");
        QTest::newRow("name without the field") << QByteArray("filename=a");
        QTest::newRow("field behind a colon") << QByteArray("a:Content-Disposition: b; filename=c");
        QTest::newRow("field behind a colon, twice")
            << QByteArray("a:Content-Disposition: b\nc:Content-Disposition: d; filename=e");
        QTest::newRow("field after a colon at the start")
            << QByteArray(":Content-Disposition: b; filename=c");
        QTest::newRow("other case") << QByteArray("Content-disposition: a; filename=b");
        QTest::newRow("torn by a line feed") << QByteArray("Content-Dispo\nsition: a; filename=b");
        QTest::newRow("torn by a colon") << QByteArray("Content:-Disposition: a; filename=b");
    }
    void noLineGivesNoName()
    {
        QFETCH(QByteArray, lines);
        QVERIFY(!nameIn(lines));
    }

    void theLastLineGivesTheName_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("name");
        const auto row = [](const char *name, const char *lines, const char *fileName) {
            QTest::newRow(name) << QByteArray(lines) << QString::fromUtf8(fileName);
        };
        row("only line", "Content-Disposition: a; filename=b", "b");
        row("between others", "x: y\r\nContent-Disposition: a; filename=b\r\nx: y\r\n", "b");
        row("two", "Content-Disposition: a; filename=b\nContent-Disposition: a; filename=c\n", "c");
        row("the last one has no name", "Content-Disposition: a; filename=b\nContent-Disposition: a", "");
        row("the last one has no colon", "Content-Disposition: a; filename=b\nContent-Disposition", "");
        row("the last one is none", "Content-Disposition: a; filename=b\nx: Content-Disposition: a", "b");
        row("the line decides by its first colon",
            "Content-Disposition: filename=b; Content-Disposition: filename=c", "b; Content-Disposition");
        row("nothing is taken from the next line", "Content-Disposition: a\nfilename=b", "");
        row("nothing is taken from the line before", "filename=a: b\nContent-Disposition", "");
        row("CR alone ends no line", "Content-Disposition: a; filename=b\rx", "b\rx");
        row("the word twice", "Content-Disposition Content-Disposition: filename=b", "b");
    }
    void theLastLineGivesTheName()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QString, name);
        const auto got = nameIn(lines);
        QVERIFY(got);
        QCOMPARE(*got, name);
    }

    // With work that grows with the square of the size these would not end within the time of a test.
    void longTexts_data()
    {
        constexpr int size = 16 * 1024 * 1024;
        const QByteArray field("Content-Disposition: ");
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("name");
        QTest::newRow("one line without an end") << field + QByteArray(size, 'x') << QString();
        QTest::newRow("colons") << field + "filename=a" + QByteArray(size, ':') << QStringLiteral("a");
        QTest::newRow("colons in front")
            << field + "filename=a\n" + QByteArray(size, ':') + field.repeated(100000) << QStringLiteral("a");
        QTest::newRow("the word, over and over") << field.repeated(size / field.size()) << QString();
        QTest::newRow("lines with the word")
            << QByteArray("Content-Disposition\n").repeated(size / 20) + field + "filename=a"
            << QStringLiteral("a");
        QTest::newRow("all but the word")
            << field + "filename=a\n" + QByteArray("Content-Dispositio").repeated(size / 18)
            << QStringLiteral("a");
        QTest::newRow("names") << field + QByteArray("filename=").repeated(size / 9) << QString();
        QTest::newRow("blanks behind") << field + "filename=a" + QByteArray(size, ' ') << QStringLiteral("a");
        QTest::newRow("blanks between") << field + "filename=" + QByteArray(size, ' ') + "a"
                                        << QString(size, QLatin1Char(' ')) + QLatin1Char('a');
        QTest::newRow("line feeds") << field + "filename=a" + QByteArray(size, '\n') << QStringLiteral("a");
    }
    void longTexts()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QString, name);
        const auto got = nameIn(lines);
        QVERIFY(got);
        QVERIFY(*got == name);
    }
};

QTEST_GUILESS_MAIN(DispositionFileNameTest)
#include "tst_dispositionfilename.moc"
