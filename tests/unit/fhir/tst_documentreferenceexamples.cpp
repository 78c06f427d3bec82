#include "fhir/stu3/serialization/documentreferencefromjson.h"
#include "fhirdump.h"
#include "linediff.h"

#include <QDir>
#include <QJsonDocument>
#include <QtTest>

/// Whole documents: X.json of the folder with the examples reads as X.expected.json tells, field by field.
class DocumentReferenceExamplesTest : public QObject
{
    Q_OBJECT

    const QDir folder{QStringLiteral(FHIR_EXAMPLES)};
    const QString resultEnding = QStringLiteral(".expected.json");

    [[nodiscard]] QStringList names() const
    {
        QStringList names;
        const QStringList files = folder.entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name);
        for (const QString &file : files) {
            if (!file.endsWith(resultEnding))
                names.append(file.chopped(5));
        }
        return names;
    }
    [[nodiscard]] QJsonObject objectOf(const QString &fileName) const
    {
        QFile file(folder.filePath(fileName));
        if (!file.open(QIODevice::ReadOnly)) {
            qWarning("%s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
            return {};
        }
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
        if (!document.isObject())
            qWarning("%s: %s", qPrintable(file.fileName()), qPrintable(error.errorString()));
        return document.object();
    }
    [[nodiscard]] static QString textOf(const QJsonObject &object)
    {
        return QString::fromUtf8(QJsonDocument(object).toJson());
    }

private Q_SLOTS:
    void everyExampleHasItsResult()
    {
        QVERIFY(!names().isEmpty());
        QCOMPARE(folder.entryList({QStringLiteral("*") + resultEnding}, QDir::Files, QDir::Name)
                     .replaceInStrings(resultEnding, QString()),
                 names());
    }

    void exampleReadsAsExpected_data()
    {
        QTest::addColumn<QString>("name");
        const QStringList all = names();
        for (const QString &name : all)
            QTest::newRow(qPrintable(name)) << name;
    }
    void exampleReadsAsExpected()
    {
        QFETCH(QString, name);
        const QJsonObject example = objectOf(name + QStringLiteral(".json"));
        QVERIFY(!example.isEmpty());
        domain::DocumentReference reference;
        domain::DocumentReferenceFromJson(reference, example).parse();
        const QJsonObject expected = objectOf(name + resultEnding);
        const QString diff = lineDiff(textOf(expected), textOf(dump(reference)));
        // Whole, which a failure's own text would not be.
        if (!diff.isEmpty())
            qWarning("%s.expected.json against what was read:\n%s", qPrintable(name), qPrintable(diff));
        QVERIFY(diff.isEmpty());
    }

    void diffShowsWhatDiffers_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("diff");
        const auto row = [](const char *name, const char *before, const char *after, const char *diff) {
            QTest::newRow(name) << QString::fromLatin1(before) << QString::fromLatin1(after)
                                << QString::fromLatin1(diff);
        };
        row("equal", "a\nb\n", "a\nb\n", "");
        row("changed", "a\nb\nc", "a\nx\nc", "  a\n- b\n+ x\n");
        row("added", "a\nc", "a\nb\nc", "  a\n+ b\n");
        row("removed", "a\nb\nc", "b\nc", "- a\n");
        row("added behind", "a", "a\nb", "  a\n+ b\n");
        row("two places", "a\nb\nc\nd", "x\nb\nc\ny", "- a\n+ x\n  c\n- d\n+ y\n");
    }
    void diffShowsWhatDiffers()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QTEST(lineDiff(before, after), "diff");
    }
};

QTEST_GUILESS_MAIN(DocumentReferenceExamplesTest)
#include "tst_documentreferenceexamples.moc"
