#include "attachmententry.h"

#include "fhir/stu3/coding.h"
#include "jsontext.h"

#include <QJsonObject>
#include <QTemporaryFile>
#include <QtTest>

using attachmententry::create;
using attachmententry::fileName;

namespace {

QString utf8(const char *text)
{
    return QString::fromUtf8(text);
}

QString urlOf(const QJsonObject &entry)
{
    return entry[QLatin1String("content")][QLatin1String("attachment")][QLatin1String("url")].toString();
}

QJsonObject entryWithUrl(const QString &url)
{
    const QJsonObject attachment{{QStringLiteral("url"), url}};
    return {{QStringLiteral("content"), QJsonObject{{QStringLiteral("attachment"), attachment}}}};
}

} // namespace

class AttachmentEntryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void entryIsExact()
    {
        domain::Coding coding;
        coding.setSystem(QStringLiteral("urn:types"));
        coding.setVersion(QStringLiteral("1"));
        coding.setCode(QStringLiteral("55107-7"));
        coding.setDisplay(QStringLiteral("Addendum Document"));
        coding.setUserSelected(true);
        const QString expected = utf8(R"({"content":{"attachment":{"url":"/context/c/file/a.pdf"}},)"
                                      R"("resourceType":"DocumentReference","status":"superseded",)"
                                      R"("type":{"coding":[{"code":"55107-7","display":"Addendum Document",)"
                                      R"("system":"urn:types","userSelected":true,"version":"1"}]}})");
        QCOMPARE(jsonText(create(QStringLiteral("c"), QStringLiteral("a.pdf"), coding)), expected);
    }

    void emptyCodingIsAnEmptyObject()
    {
        const QJsonObject entry = create(QStringLiteral("c"), QStringLiteral("a"), domain::Coding());
        QCOMPARE(jsonText(entry.value(QLatin1String("type"))), utf8(R"({"coding":[{}]})"));
    }

    void urlHoldsIdAndNameAsGiven_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("url");
        const auto row = [](const char *name, const char *id, const char *file, const char *url) {
            QTest::newRow(name) << utf8(id) << utf8(file) << utf8(url);
        };
        row("plain", "c", "a.pdf", "/context/c/file/a.pdf");
        row("name with a blank", "c", "a b.pdf", "/context/c/file/a b.pdf");
        row("name with a percent sequence", "c", "a%20b", "/context/c/file/a%20b");
        row("name that is a place", "c", "%1%2%3", "/context/c/file/%1%2%3");
        row("id that is a place", "%2", "a", "/context/%2/file/a");
        row("id and name that are places", "%2%1", "%2%1", "/context/%2%1/file/%2%1");
        row("name with marks of a URL", "c", "a/b?c#d", "/context/c/file/a/b?c#d");
        row("name in UTF-8", "c", "\xc3\xa4\xf0\x9f\x98\x80", "/context/c/file/\xc3\xa4\xf0\x9f\x98\x80");
        row("empty name", "c", "", "/context/c/file/");
        row("empty id", "", "a", "/context//file/a");
        row("id with a slash", "c/d", "a", "/context/c/d/file/a");
    }
    void urlHoldsIdAndNameAsGiven()
    {
        QFETCH(QString, id);
        QFETCH(QString, name);
        QTEST(urlOf(create(id, name, domain::Coding())), "url");
    }

    void namesThatComeBack_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"a.pdf",     "a b.pdf",   " a",   "a%20b", "a%2Fb",
                                 "%",         "%zz",       "%25",  "%1%2",  "a#b",
                                 "a?b=c&d",   "a:b",       "a\\b", "a\nb",  "a\x7f",
                                 "[a]",       "\"<>^`{|}", ".",    "..",    "\xc3\xa4\xf0\x9f\x98\x80.pdf",
                                 "u\xcc\x88", ""})
            QTest::addRow("%s", name) << utf8(name);
        QTest::newRow("NUL") << QString(QChar(0));
        QTest::newRow("lone surrogate") << QString(QChar(0xd800));
    }
    void namesThatComeBack()
    {
        QFETCH(QString, name);
        QCOMPARE(fileName(create(QStringLiteral("c"), name, domain::Coding())), name);
    }

    void namesThatDoNotComeBack_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("found");
        QTest::newRow("blank at the end") << utf8("a ") << utf8("a");
        QTest::newRow("no-break space at the end") << utf8("a\xc2\xa0") << utf8("a");
        QTest::newRow("line feed at the end") << utf8("a\n") << utf8("a");
        QTest::newRow("nothing but a blank") << utf8(" ") << QString();
        QTest::newRow("slash within") << utf8("a/b") << utf8("b");
        QTest::newRow("slash at the end") << utf8("a/") << QString();
    }
    void namesThatDoNotComeBack()
    {
        QFETCH(QString, name);
        QTEST(fileName(create(QStringLiteral("c"), name, domain::Coding())), "found");
    }

    void urlsOfOthers_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("found");
        const auto row = [](const char *url, const char *found) {
            QTest::addRow("%s", url) << utf8(url) << utf8(found);
        };
        row("  /context/c/file/a.pdf\n", "a.pdf");
        row("/context/c/file/a.pdf?x=1#y", "a.pdf?x=1#y");
        row("http://h/context/c/file/a.pdf", "a.pdf");
        row("http://h/file/a%20b.pdf", "a b.pdf");
        row("http://h/file/a%2520b.pdf", "a%20b.pdf");
        row("http://h/file/a.pdf?x=1#y", "a.pdf");
        row("http://h/file/a.pdf/", "");
        row("http://h", "");
        row("file:///file/a.pdf", "a.pdf");
        row("//host/file/a.pdf", "a.pdf");
        row(":/file/a.pdf", "a.pdf");
        row("file/a.pdf", "a.pdf");
        row("a.pdf", "");
        row("two words", "");
        row("/", "");
        row("", "");
    }
    void urlsOfOthers()
    {
        QFETCH(QString, url);
        QTEST(fileName(entryWithUrl(url)), "found");
    }

    // A path is not looked up on this machine.
    void pathsOfRealFilesAreLikeAnyOther()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        const QFileInfo info(file);
        QCOMPARE(fileName(entryWithUrl(info.absoluteFilePath())), info.fileName());
        QCOMPARE(fileName(entryWithUrl(info.absolutePath())), QFileInfo(info.absolutePath()).fileName());
        const QString directory = QDir::currentPath();
        QVERIFY(QDir::setCurrent(info.absolutePath()));
        const QString relative = fileName(entryWithUrl(info.fileName()));
        QVERIFY(QDir::setCurrent(directory));
        QCOMPARE(relative, QString());
    }

    void entriesOfAnotherShapeHaveNoName_data()
    {
        QTest::addColumn<QString>("entry");
        for (const char *entry :
             {"null", "1", "true", "\"/context/c/file/a\"", "[]", "{}", R"({"content":"/context/c/file/a"})",
              R"({"content":[{"attachment":{"url":"/context/c/file/a"}}]})",
              R"({"content":{"attachment":"/context/c/file/a"}})",
              R"({"content":{"attachment":[{"url":"/context/c/file/a"}]}})",
              R"({"content":{"attachment":{}}})", R"({"content":{"attachment":{"url":1}}})",
              R"({"content":{"attachment":{"url":null}}})",
              R"({"content":{"attachment":{"URL":"/context/c/file/a"}}})"})
            QTest::addRow("%s", entry) << utf8(entry);
    }
    void entriesOfAnotherShapeHaveNoName()
    {
        QFETCH(QString, entry);
        QCOMPARE(fileName(json(entry)), QString());
    }
};

QTEST_GUILESS_MAIN(AttachmentEntryTest)
#include "tst_attachmententry.moc"
