#include "multipartfiles.h"

#include "bytesof.h"
#include "logcapture.h"

#include <QtTest>

using Files = QMap<QString, QByteArray>;

namespace {

constexpr char categoryName[] = "ch.tessel.vexo-service.multipartfiles";

// With this boundary the delimiter line has five bytes.
const QString boundary = QStringLiteral("--X");

// In the order of the map, in a form that a failure prints.
QStringList listed(const Files &files)
{
    QStringList lines;
    for (auto it = files.constBegin(); it != files.constEnd(); ++it) {
        QString line;
        QDebug(&line).nospace() << it.key() << ": " << it.value();
        lines.append(line);
    }
    return lines;
}

Files filesOf(const QByteArray &body, const QString &text = boundary)
{
    return MultipartFiles(text, body).getFiles();
}

// A part from its header to the CR LF in front of the next delimiter.
QByteArray part(const QByteArray &header, const QByteArray &content)
{
    return header + "\r\n\r\n" + content + "\r\n";
}

QByteArray file(const QByteArray &name, const QByteArray &content)
{
    return part("Content-Disposition: form-data; name=\"f\"; filename=\"" + name + "\"", content);
}

QByteArray field(const QByteArray &content)
{
    return part("Content-Disposition: form-data; name=\"f\"", content);
}

} // namespace

class MultipartFilesTest : public QObject
{
    Q_OBJECT

    static void columns()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<Files>("files");
    }
    static void row(const char *name, const QByteArray &body, const Files &files)
    {
        QTest::newRow(name) << body << files;
    }
    static Files only(const QByteArray &name, const QByteArray &content)
    {
        return {{QString::fromUtf8(name), content}};
    }
    static void compare()
    {
        QFETCH(QByteArray, body);
        QFETCH(Files, files);
        const Files got = filesOf(body);
        QCOMPARE(listed(got), listed(files));
        for (const QByteArray &content : got)
            QVERIFY(!content.isNull());
    }

private Q_SLOTS:
    // The lines of large bodies would be long ones.
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void bodyBeginsWithADelimiterLine_data()
    {
        columns();
        row("empty body", "", {});
        row("shorter than the delimiter line", "--X\r", {});
        row("the delimiter line alone", "--X\r\n", {});
        row("is not compared", "#####" + file("a", "1") + "--X--\r\n", only("a", "1"));
        row("is not searched for the end of a header", "\r\n\r\n.a\r\n\r\n1\r\n--X--\r\n", only("0", "1"));
        row("its last bytes do not begin the end of a header", "--X\r\n\r\n1\r\n--X--\r\n", {});
        row("is searched for a name", "Content-Disposition: a; filename=b\r\n\r\n1\r\n--X--\r\n",
            only("b", "1"));
        row("text in front of it moves what is skipped", "text\r\n--X\r\n" + file("a", "1") + "--X--\r\n",
            only("a", "1"));
    }
    void bodyBeginsWithADelimiterLine() { compare(); }

    void endOfTheHeader_data()
    {
        columns();
        row("an empty header", "--X\r\n\r\n\r\n1\r\n--X--\r\n", only("0", "1"));
        row("is never found", "--X\r\nContent-Disposition: a; filename=b\r\n1\r\n--X--\r\n", {});
        row("is no pair of LFs", "--X\r\nContent-Disposition: a; filename=b\n\n1\r\n--X--\r\n", {});
        row("a byte that differs is not tried again", "--X\r\nh\r\r\n\r\n1\r\n\r\n2\r\n--X--\r\n",
            only("0", "2"));
        row("a byte that differs later is not tried again", "--X\r\nh\r\n\r\r\n\r\n1\r\n\r\n2\r\n--X--\r\n",
            only("0", "2"));
        row("is the end of the body", "--X\r\nContent-Disposition: a; filename=b\r\n\r\n", {});
        row("is the end of the body after a file",
            "--X\r\n" + file("a", "1") + "--X\r\nContent-Disposition: a; filename=b\r\n\r\n", only("a", "1"));
        row("one byte follows", "--X\r\nh\r\n\r\n1", only("0", "1"));
        row("the content begins with its like", "--X\r\nh\r\n\r\n\r\n\r\n1\r\n--X--\r\n",
            only("0", "\r\n\r\n1"));
    }
    void endOfTheHeader() { compare(); }

    void nameInAHeader_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<QString>("name");
        const auto named = [](const char *name, const QByteArray &header, const QString &fileName) {
            QTest::newRow(name) << header << fileName;
        };
        const auto value = [](const char *name, const QByteArray &text, const QString &fileName) {
            QTest::newRow(name) << "Content-Disposition: form-data; name=\"f\"; " + text << fileName;
        };
        const QString none = QStringLiteral("0");
        value("quoted", "filename=\"report.pdf\"", QStringLiteral("report.pdf"));
        value("without quotes", "filename=report.pdf", QStringLiteral("report.pdf"));
        value("the colon cuts", "filename=\"a:b.pdf\"", QStringLiteral("a"));
        value("parameters behind it stay", "filename=\"a.pdf\"; size=10", QStringLiteral("a.pdf\"; size=10"));
        value("empty in quotes", "filename=\"\"", none);
        value("empty", "filename=", none);
        value("one quote", "filename=\"", none);
        value("quote at the start only", "filename=\"a", QStringLiteral("a"));
        value("quote at the end only", "filename=a\"", QStringLiteral("a"));
        value("one quote is taken at each end", "filename=\"\"a\"\"", QStringLiteral("\"a\""));
        value("three quotes", "filename=\"\"\"", QStringLiteral("\""));
        value("other quotes", "filename='a'", QStringLiteral("'a'"));
        value("quotes within", "filename=a\"b\"c", QStringLiteral("a\"b\"c"));
        value("up to the next", "filename=\"a\"; filename=\"b\"", QStringLiteral("a\"; "));
        value("nothing up to the next", "filename=filename=a", none);
        value("other case", "FileName=\"a\"", none);
        value("extended", "filename*=UTF-8''a", none);
        value("extended behind it", "filename=\"a\"; filename*=UTF-8''b",
              QStringLiteral("a\"; filename*=UTF-8''b"));
        value("end of another word", "xfilename=a", QStringLiteral("a"));
        value("blanks behind are trimmed", "filename=\"a\" \t\v\f\r ", QStringLiteral("a"));
        value("blanks in front of a colon are not", "filename=a : b", QStringLiteral("a "));
        value("blanks within quotes", "filename=\" a \"", QStringLiteral(" a "));
        value("blanks in front", "filename= a", QStringLiteral(" a"));
        value("UTF-8", "filename=\"gr\xc3\xb6\xc3\x9f\x65\"", QString::fromUtf8("gr\u00f6\u00dfe"));
        value("not UTF-8", "filename=\"\xff\xc3\"", QString::fromUtf8("\ufffd\ufffd"));
        value("torn UTF-8 in front",
              "\xe2\x82"
              "filename=a",
              QStringLiteral("a"));
        value("byte order mark", "filename=\xef\xbb\xbf\x61", QChar(0xfeff) + QStringLiteral("a"));
        value("NUL", bytesOf("filename=a\0b"), QString::fromLatin1("a\0b", 3));
        value("path", "filename=\"../a/b\"", QStringLiteral("../a/b"));
        value("CR within", "filename=a\rb", QStringLiteral("a\rb"));

        named("no blank behind the colon", "Content-Disposition:filename=a", QStringLiteral("a"));
        named("blanks in front of the field", " \tContent-Disposition: filename=a", QStringLiteral("a"));
        named("in a longer name", "X-Content-Disposition-Y: filename=a", QStringLiteral("a"));
        named("other case of the field", "content-disposition: filename=a", none);
        named("behind a colon", "X: Content-Disposition: filename=a", none);
        named("among others", "A: b\r\nContent-Disposition: filename=a\r\nC: d", QStringLiteral("a"));
        named("LF ends a line", "Content-Disposition: filename=a\nC: d", QStringLiteral("a"));
        named("a later line counts", "Content-Disposition: filename=a\r\nContent-Disposition: filename=b",
              QStringLiteral("b"));
        named("no field", "Content-Type: a/b", none);
        named("no colon", "Content-Disposition filename=a", none);
        named("nothing behind the colon", "Content-Disposition:", none);
        named("no file name", "Content-Disposition: form-data", none);
        named("no colon clears", "Content-Disposition: filename=a\r\nContent-Disposition", none);
        named("no file name clears", "Content-Disposition: filename=a\r\nContent-Disposition: b", none);
        named("an empty one clears",
              "Content-Disposition: filename=a\r\nContent-Disposition: filename=", none);
    }
    void nameInAHeader()
    {
        QFETCH(QByteArray, header);
        QFETCH(QString, name);
        QCOMPARE(listed(filesOf("--X\r\n" + part(header, "1") + "--X--\r\n")), listed({{name, "1"}}));
    }

    void nameFromEarlierParts_data()
    {
        columns();
        const QByteArray inside("Content-Disposition: c; filename=inside");
        row("a part without a line keeps the name, and replaces the file",
            "--X\r\n" + file("a", "1") + "--X\r\n" + part("h", "2") + "--X--\r\n", only("a", "2"));
        row("all parts without a line do",
            "--X\r\n" + file("a", "1") + "--X\r\n" + part("h", "2") + "--X\r\n" + part("h", "3")
                + "--X--\r\n",
            only("a", "3"));
        row("of the last file before it",
            "--X\r\n" + file("a", "1") + "--X\r\n" + file("b", "2") + "--X\r\n" + part("h", "3")
                + "--X--\r\n",
            {{QStringLiteral("a"), "1"}, {QStringLiteral("b"), "3"}});
        row("a line in an earlier content counts",
            "--X\r\n" + file("a", inside) + "--X\r\n" + part("h", "2") + "--X--\r\n",
            {{QStringLiteral("a"), inside}, {QStringLiteral("inside"), "2"}});
        row("a line in the own content does not", "--X\r\n" + part("h", inside) + "--X--\r\n",
            only("0", inside));
        row("a line in an earlier content, behind a colon",
            "--X\r\n" + file("a", "b:" + inside) + "--X\r\n" + part("h", "2") + "--X--\r\n", only("a", "2"));
        row("a line in an earlier content with text around it",
            "--X\r\n" + file("a", "1\nb " + inside + "\n2") + "--X\r\n" + part("h", "3") + "--X--\r\n",
            {{QStringLiteral("a"), "1\nb " + inside + "\n2"}, {QStringLiteral("inside"), "3"}});
        row("the own line counts after one in an earlier content",
            "--X\r\n" + file("a", inside) + "--X\r\n" + file("b", "2") + "--X--\r\n",
            {{QStringLiteral("a"), inside}, {QStringLiteral("b"), "2"}});
        row("a line that clears, in an earlier content",
            "--X\r\n" + file("a", "Content-Disposition") + "--X\r\n" + part("h", "2") + "--X--\r\n",
            {{QStringLiteral("a"), "Content-Disposition"}, {QStringLiteral("1"), "2"}});
        row("a form field clears it",
            "--X\r\n" + file("a", "1") + "--X\r\n" + field("2") + "--X\r\n" + part("h", "3") + "--X--\r\n",
            {{QStringLiteral("1"), "2"}, {QStringLiteral("2"), "3"}, {QStringLiteral("a"), "1"}});
        row("a line that begins with a closing delimiter",
            "--X\r\n" + file("a", "1") + "--X--Content-Disposition: c; filename=b\r\n\r\n2",
            {{QStringLiteral("a"), ""}, {QStringLiteral("b"), "2"}});
        row("a line that begins with a colon in an earlier content",
            "--X\r\n" + file("a", "1") + ":--X--Content-Disposition: c; filename=b\r\n\r\n2", only("a", "2"));
        row("a name that begins in an earlier content",
            "--X\r\n" + file("a", "1234567") + "Content-Disposition: filename=b--X--c\r\n\r\n2",
            {{QStringLiteral("a"), "1234567\r\nContent-Disposition: filenam"},
             {QStringLiteral("b--X--c"), "2"}});
        row("the line behind the end of a header begins anew",
            "--X\r\nContent-Disposition: filename=a\r\n\r\nContent-Disposition: filename=b--X\r\nh\r\n\r\n2",
            {{QStringLiteral("a"), "Content-Disposition: filename"}, {QStringLiteral("b--X"), "2"}});
    }
    void nameFromEarlierParts() { compare(); }

    void content_data()
    {
        columns();
        const auto content = [](const char *name, const QByteArray &data) {
            row(name, "--X\r\n" + file("a", data) + "--X--\r\n", only("a", data));
            QTest::addRow("%s, and another file", name)
                << "--X\r\n" + file("a", data) + "--X\r\n" + file("b", data) + "--X--\r\n"
                << Files{{QStringLiteral("a"), data}, {QStringLiteral("b"), data}};
        };
        content("plain", "data");
        content("empty", "");
        content("CR, LF and dashes", "-\r\n\r-\n--\r\r\n\n----\r\n\r\n--\r\n");
        content("ends with CR LF", "data\r\n");
        content("begins with CR LF", "\r\ndata");
        content("NUL and others", bytesOf("\0\x01\x7f\x80\xff\0"));
        content("another delimiter", "--Y\r\n--Y--\r\n");
        content("the delimiter with other letters behind", "--XY\r\n--X \r\n--X\n--X\r.--X\r");
        content("one dash behind the delimiter", "--X-b\r\n--X-");
        content("dashes behind the CR", "--X\r--");
        content("a dash in front of the delimiter", "---X\r\n---X--");
    }
    void content() { compare(); }

    void endOfTheBody_data()
    {
        columns();
        const QByteArray begin("--X\r\nh\r\n\r\n");
        const auto unended = [&begin](const char *name, const QByteArray &data) {
            row(name, begin + data, only("0", data));
        };
        unended("plain", "data");
        unended("behind a line", "data\r\n");
        unended("behind the text of the delimiter", "data\r\n--X");
        unended("within its CR LF", "data\r\n--X\r");
        unended("within its dashes", "data\r\n--X-");
        unended("nothing but a delimiter begun", "--X");
        unended("one byte", "-");
        row("after another file", "--X\r\n" + file("a", "1") + "--X\r\n" + file("b", "2"),
            {{QStringLiteral("a"), "1"}, {QStringLiteral("b"), "2\r\n"}});
    }
    void endOfTheBody() { compare(); }

    void byteThatDiffersIsNotTriedAgain_data()
    {
        columns();
        row("a dash too many", "--X\r\n" + file("a", "1\r\n-") + "2\r\n--X--\r\n", only("a", "1\r\n-\r\n2"));
        row("a dash too many, inner", "--X\r\nh\r\n\r\n1---X\r\nh\r\n\r\n2\r\n--X--\r\n",
            only("0", "1---X\r\nh\r\n\r\n2"));
        row("a dash too many, closing", "--X\r\nh\r\n\r\n1\r\n---X--\r\n", only("0", "1\r\n---X--\r\n"));
        row("three dashes too many", "--X\r\nh\r\n\r\n1\r\n-----X--\r\n", only("0", "1\r\n-"));
        row("the dash behind the delimiter", "--X\r\nh\r\n\r\n1\r\n--X\r--X--\r\n",
            only("0", "1\r\n--X\r--X--\r\n"));
    }
    void byteThatDiffersIsNotTriedAgain() { compare(); }

    void delimiterIsCutOff_data()
    {
        columns();
        const QByteArray begin("--X\r\nh\r\n\r\n");
        row("closing, CR LF behind it", begin + "data\r\n--X--\r\n", only("0", "data"));
        row("closing, any two bytes behind it", begin + "data\r\n--X--ab", only("0", "data"));
        row("closing, nothing behind it", begin + "data\r\n--X--", only("0", "dat"));
        row("closing, one byte behind it", begin + "data\r\n--X--\n", only("0", "dat"));
        row("closing, three bytes behind it", begin + "data\r\n--X--\r\n\n", only("0", "dat"));
        row("inner, nothing behind it", begin + "data\r\n--X\r\n", only("0", "data"));
        row("inner, one byte behind it", begin + "data\r\n--X\r\na", only("0", "data"));
        row("inner, two bytes behind it", begin + "data\r\n--X\r\nab", only("0", "data\r"));
        row("inner, three bytes behind it", begin + "data\r\n--X\r\nabc", only("0", "data"));
        row("inner, no CR LF in front", begin + "data--X\r\nabc", only("0", "da"));
        row("closing, no CR LF in front", begin + "data--X--\r\n", only("0", "da"));
        row("empty file", begin + "\r\n--X--\r\n", only("0", ""));
        row("empty file, nothing behind it", begin + "\r\n--X--", only("0", ""));
        row("less than is cut off, inner", begin + "--X\r\nabc", only("0", ""));
        row("less than is cut off, inner, two bytes behind it", begin + "--X\r\nab", only("0", ""));
        row("less than is cut off, closing", begin + "--X--\r\n", only("0", ""));
        row("less than is cut off, by one", begin + "1--X\r\nabc", only("0", ""));
    }
    void delimiterIsCutOff() { compare(); }

    void numbersForNames_data()
    {
        columns();
        row("the first", "--X\r\n" + part("h", "1") + "--X--\r\n", only("0", "1"));
        row("each", "--X\r\n" + field("1") + "--X\r\n" + field("2") + "--X--\r\n",
            {{QStringLiteral("0"), "1"}, {QStringLiteral("1"), "2"}});
        row("each without a line", "--X\r\n" + part("h", "1") + "--X\r\n" + part("h", "2") + "--X--\r\n",
            {{QStringLiteral("0"), "1"}, {QStringLiteral("1"), "2"}});
        row("of files, not of parts",
            "--X\r\n" + file("a", "1") + "--X\r\n" + file("a", "2") + "--X\r\n" + field("3") + "--X--\r\n",
            {{QStringLiteral("1"), "3"}, {QStringLiteral("a"), "2"}});
        row("a number can be the name of a file",
            "--X\r\n" + file("1", "1") + "--X\r\n" + field("2") + "--X--\r\n", only("1", "2"));
        row("a file can have the number of a part",
            "--X\r\n" + field("1") + "--X\r\n" + file("0", "2") + "--X--\r\n", only("0", "2"));
    }
    void numbersForNames() { compare(); }

    void severalParts_data()
    {
        columns();
        row("are sorted by name",
            "--X\r\n" + file("b", "1") + "--X\r\n" + file("a", "2") + "--X\r\n" + file("B", "3")
                + "--X--\r\n",
            {{QStringLiteral("B"), "3"}, {QStringLiteral("a"), "2"}, {QStringLiteral("b"), "1"}});
        row("of one name leave the later content",
            "--X\r\n" + file("a", "1") + "--X\r\n" + file("a", "2") + "--X--\r\n", only("a", "2"));
        row("of one name, another between",
            "--X\r\n" + file("a", "1") + "--X\r\n" + file("b", "2") + "--X\r\n" + file("a", "") + "--X--\r\n",
            {{QStringLiteral("a"), ""}, {QStringLiteral("b"), "2"}});
        row("behind a closing delimiter",
            "--X\r\n" + file("a", "1") + "--X--\r\n" + file("b", "2") + "--X--\r\n",
            {{QStringLiteral("a"), ""}, {QStringLiteral("b"), "2"}});
        row("text behind the closing delimiter", "--X\r\n" + file("a", "12") + "--X--\r\ntext\r\n",
            only("a", "1"));
    }
    void severalParts() { compare(); }

    void boundaryIsTakenAsItStands_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<Files>("files");
        const QByteArray body = "--X\r\n" + file("a", "1") + "--X--\r\n";
        QTest::newRow("in quotes, that the body has not")
            << QStringLiteral("--\"X\"") << body << only("a", "1\r\n--X--\r\n");
        QTest::newRow("in quotes, that the body has")
            << QStringLiteral("--\"X\"") << "--\"X\"\r\n" + file("a", "1") + "--\"X\"--\r\n"
            << only("a", "1");
        QTest::newRow("with a parameter")
            << QStringLiteral("--X; a=b") << body << only("a", "1\r\n--X--\r\n");
        QTest::newRow("with a blank") << QStringLiteral("--X ") << body << only("a", "1\r\n--X--\r\n");
        QTest::newRow("without dashes") << QStringLiteral("X") << body << only("a", "1\r\n");
        QTest::newRow("dashes alone") << QStringLiteral("--") << "--\r\n" + file("a", "1-2") + "----\r\n"
                                      << only("a", "1-2");
        QTest::newRow("not ASCII") << QString::fromUtf8("--\u00fc")
                                   << "--\xc3\xbc\r\n" + file("a", "1") + "--\xc3\xbc--\r\n"
                                   << only("a", "1");
        QTest::newRow("longer than the body") << QString(200, QLatin1Char('X')) << body << Files{};
        QTest::newRow("empty") << QString() << "\r\n" + file("a", "1--2") + "--\r\n" << only("a", "1-");
        QTest::newRow("empty, two bytes left")
            << QString() << "\r\n" + file("a", "1--2") + "--" << only("a", "1--");
    }
    void boundaryIsTakenAsItStands()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, body);
        QFETCH(Files, files);
        QCOMPARE(listed(filesOf(body, text)), listed(files));
    }

    void bodyIsReadWhenAskedFor()
    {
        QByteArray body;
        const MultipartFiles parser(boundary, body);
        QCOMPARE(parser.getFiles(), Files{});
        body = "--X\r\n" + file("a", "1") + "--X--\r\n";
        QCOMPARE(listed(parser.getFiles()), listed(only("a", "1")));
        QCOMPARE(listed(parser.getFiles()), listed(only("a", "1")));
    }

    void contentsOutliveTheBody()
    {
        std::string bytes = ("--X\r\n" + file("a", "data") + "--X--\r\n").toStdString();
        const QByteArray body = QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()));
        const Files files = filesOf(body);
        bytes.assign(bytes.size(), '#');
        QCOMPARE(listed(files), listed(only("a", "data")));
    }

    void everyPartIsLogged_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("empty body") << QByteArray() << QStringList{};
        QTest::newRow("delimiter line alone") << QByteArray("--X\r\n") << QStringList{};
        QTest::newRow("no end of a header")
            << QByteArray("--X\r\n1") << QStringList{QStringLiteral("Start header at 5")};
        QTest::newRow("two files") << QByteArray(
            "--X\r\nContent-Disposition: filename=a\r\n\r\n12\r\n"
            "--X\r\nContent-Disposition: form-data\r\n\r\n345\r\n--X--\r\n")
                                   << QStringList{QStringLiteral("Start header at 5"),
                                                  QStringLiteral("\"a\" of size 2"),
                                                  QStringLiteral("Start header at 49"),
                                                  QStringLiteral("\"1\" of size 3"),
                                                  QStringLiteral("Start header at 93")};
        QTest::newRow("the body ends within a file")
            << QByteArray("--X\r\n\r\n\r\n123")
            << QStringList{QStringLiteral("Start header at 5"), QStringLiteral("\"0\" of size 3")};
    }
    void everyPartIsLogged()
    {
        QFETCH(QByteArray, body);
        QFETCH(QStringList, lines);
        const LogCapture log(categoryName);
        const Files files = filesOf(body);
        QStringList texts;
        for (const LogCapture::Line &line : log.lines()) {
            QCOMPARE(line.type, QtDebugMsg);
            texts.append(line.text);
        }
        QCOMPARE(texts, lines);
    }

    // With work that grows with the square of the size most of these would not end within the time of a test.
    void largeBodies_data()
    {
        constexpr int size = 16 * 1024 * 1024;
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("length");
        const QString a = QStringLiteral("a");
        QTest::newRow("one file") << "--X\r\n" + file("a", QByteArray(size, 'x')) + "--X--\r\n"
                                  << 1 << a << size;
        QByteArray parts;
        for (int i = 0; i < 10000; ++i)
            parts += "--X\r\n" + file(QByteArray::number(i), QByteArray(1600, 'x'));
        QTest::newRow("many files") << parts + "--X--\r\n" << 10000 << QStringLiteral("9999") << 1600;
        QTest::newRow("ends of headers")
            << "--X\r\n" + QByteArray("\r\n\r\n").repeated(size / 4) << 1 << QStringLiteral("0") << size - 4;
        QTest::newRow("dashes") << "--X\r\n" + file("a", QByteArray(size, '-')) + "--X--\r\n"
                                << 1 << a << size;
        QTest::newRow("CRs") << "--X\r\n" + QByteArray(size, '\r') + file("a", "1") + "--X--\r\n"
                             << 1 << a << 1;
        QTest::newRow("delimiters begun")
            << "--X\r\n" + file("a", QByteArray("--X\r").repeated(size / 4)) + ".--X--\r\n"
            << 1 << a << size + 1;
        QTest::newRow("names without an end")
            << "--X\r\nContent-Disposition: filename=b" + QByteArray(" filename=").repeated(100000)
                   + "\r\n\r\n1\r\n--X\r\n" + file("a", "1") + "--X--\r\n"
            << 2 << a << 1;
        const QByteArray longName(size / 4, 'n');
        QTest::newRow("many parts of one long name")
            << "--X\r\n" + file(longName, "1") + "--X\r\n" + file(longName, "2")
                   + QByteArray("--X\r\nh\r\n\r\n3\r\n").repeated(500000) + "--X--\r\n"
            << 1 << QString::fromLatin1(longName) << 1;
        QTest::newRow("many form fields")
            << QByteArray("--X\r\nContent-Disposition: b\r\n\r\n3\r\n").repeated(100000) + "--X--\r\n"
            << 100000 << QStringLiteral("99999") << 1;
        QTest::newRow("a long content, then many parts")
            << "--X\r\n" + file("a", QByteArray(size, 'C'))
                   + QByteArray("--X\r\nh\r\n\r\n3\r\n").repeated(100000) + "--X--\r\n"
            << 1 << a << 1;
    }
    void largeBodies()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, count);
        QFETCH(QString, name);
        QFETCH(int, length);
        const Files files = filesOf(body);
        QCOMPARE(files.size(), count);
        QVERIFY(files.contains(name));
        QCOMPARE(files.value(name).size(), length);
    }
};

QTEST_GUILESS_MAIN(MultipartFilesTest)
#include "tst_multipartfiles.moc"
