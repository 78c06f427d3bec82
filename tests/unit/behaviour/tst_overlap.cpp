#include "overlap.h"

#include "jsontext.h"
#include "logcapture.h"

#include <QJsonObject>
#include <QtTest>

namespace {

const char categoryName[] = "test.overlap";

const QLoggingCategory &testLogging()
{
    static const QLoggingCategory category(categoryName);
    return category;
}

bool overlaps(const QString &filter, const QString &context)
{
    return overlap(json(filter).toObject(), json(context).toObject(), &testLogging);
}

int warnings(const LogCapture &log)
{
    int count = 0;
    for (const LogCapture::Line &line : log.lines())
        count += line.type == QtWarningMsg ? 1 : 0;
    return count;
}

QString nested(const char *opening, const char *inner, const char *closing, int levels)
{
    return QString::fromLatin1(opening).repeated(levels) + QLatin1String(inner)
           + QString::fromLatin1(closing).repeated(levels);
}

} // namespace

class OverlapTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filterAgainstContext_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("context");
        QTest::addColumn<bool>("overlap");
        QTest::addColumn<int>("warned");
        const auto row = [](const char *name, const char *filter, const char *context, bool overlap,
                            int warned = 0) {
            QTest::newRow(name) << QString::fromUtf8(filter) << QString::fromUtf8(context) << overlap
                                << warned;
        };
        row("empty filter, empty context", "{}", "{}", true);
        row("empty filter", "{}", R"({"a":1})", true);
        row("missing key", R"({"x":1})", R"({"y":1})", false);
        row("empty context", R"({"x":1})", "{}", false);
        row("keys have a case", R"({"x":1})", R"({"X":1})", false);
        row("keys beyond the filter", R"({"x":1})", R"({"a":2,"x":1,"z":3})", true);
        row("first key differs", R"({"a":1,"b":2})", R"({"a":9,"b":2})", false);
        row("last key differs", R"({"a":1,"b":2})", R"({"a":1,"b":9})", false);
        row("all keys fit", R"({"a":1,"b":2})", R"({"a":1,"b":2})", true);

        row("nested, context holds more", R"({"patient":{"id":"a"}})", R"({"patient":{"id":"a","name":"n"}})",
            true);
        row("nested, filter holds more", R"({"patient":{"id":"a","name":"n"}})", R"({"patient":{"id":"a"}})",
            false);
        row("nested, another value", R"({"patient":{"id":"a"}})", R"({"patient":{"id":"b"}})", false);
        row("empty object inside", R"({"patient":{}})", R"({"patient":{"id":"b"}})", true);

        row("null in the filter", R"({"x":null})", R"({"x":1})", false);
        row("null in the context", R"({"x":1})", R"({"x":null})", false);
        row("null on both sides", R"({"x":null})", R"({"x":null})", true);
        row("null in the filter, missing", R"({"x":null})", "{}", false);
        row("null on both sides ends the test", R"({"a":null,"b":1})", R"({"a":null,"b":2})", true);
        row("null on both sides, later key missing", R"({"a":null,"b":1})", R"({"a":null})", true);
        row("null on both sides after a difference", R"({"a":1,"b":null})", R"({"a":2,"b":null})", false);
        row("null on both sides in between", R"({"a":1,"b":null,"c":1})", R"({"a":1,"b":null,"c":2})", true);
        row("keys are sorted, not as sent", R"({"b":1,"a":null})", R"({"b":2,"a":null})", true);
        row("null ends its own object only", R"({"x":{"a":null,"b":1},"y":1})",
            R"({"x":{"a":null,"b":2},"y":2})", false);
        row("null ends its own object, rest fits", R"({"x":{"a":null,"b":1},"y":1})",
            R"({"x":{"a":null,"b":2},"y":1})", true);
        row("null in the filter alone, then null on both", R"({"a":null,"b":null})", R"({"a":1,"b":null})",
            false);

        row("equal texts", R"({"x":"ä b"})", R"({"x":"ä b"})", true);
        row("texts have a case", R"({"x":"a"})", R"({"x":"A"})", false);
        row("text within a text", R"({"x":"a"})", R"({"x":"ab"})", false);
        row("empty texts", R"({"x":""})", R"({"x":""})", true);
        row("true and true", R"({"x":true})", R"({"x":true})", true);
        row("true and false", R"({"x":true})", R"({"x":false})", false);
        row("numbers in two spellings", R"({"x":1})", R"({"x":1.0})", true);
        row("numbers are exact", R"({"x":0.3})", R"({"x":0.30000000000000004})", false);
        row("numbers are doubles", R"({"x":9007199254740993})", R"({"x":9007199254740992})", true);
        row("zero has no sign", R"({"x":0})", R"({"x":-0.0})", true);

        row("empty array, empty array", R"({"x":[]})", R"({"x":[]})", true);
        row("empty array", R"({"x":[]})", R"({"x":[1,2]})", true);
        row("array against an empty one", R"({"x":[1]})", R"({"x":[]})", false);
        row("one element for several", R"({"x":[1,1]})", R"({"x":[1]})", true);
        row("array out of order", R"({"x":[2,1]})", R"({"x":[1,3,2]})", true);
        row("one element without its like", R"({"x":[1,3]})", R"({"x":[1,2]})", false);
        row("first element without its like", R"({"x":[3,1]})", R"({"x":[1,2]})", false);
        row("objects in arrays", R"({"x":[{"id":"b"}]})", R"({"x":[{"id":"a"},{"id":"b","n":1}]})", true);
        row("arrays in arrays", R"({"x":[[1],[]]})", R"({"x":[[2],[3,1]]})", true);
        row("arrays in arrays, one apart", R"({"x":[[1,2]]})", R"({"x":[[1],[2]]})", false);
        row("nulls in arrays", R"({"x":[null]})", R"({"x":[1,null]})", true);
        row("null against an element", R"({"x":[null]})", R"({"x":[1]})", false);
        row("element against null", R"({"x":[1]})", R"({"x":[null]})", false);

        row("number and text", R"({"x":1})", R"({"x":"1"})", false, 1);
        row("array and object", R"({"x":[]})", R"({"x":{}})", false, 1);
        row("each pair of types is warned of", R"({"x":[1,2]})", R"({"x":["a","b",true]})", false, 6);
        row("elements after a failed one are tried", R"({"x":["a",1]})", R"({"x":["b","c"]})", false, 2);
        row("the walk stops at a match", R"({"x":[1]})", R"({"x":["a",1,"b"]})", true, 1);
        row("keys after a difference are not tried", R"({"a":1,"b":1})", R"({"a":2,"b":"1"})", false, 0);
    }
    void filterAgainstContext()
    {
        QFETCH(QString, filter);
        QFETCH(QString, context);
        QFETCH(bool, overlap);
        QFETCH(int, warned);
        const LogCapture log(categoryName);
        QCOMPARE(overlaps(filter, context), overlap);
        QCOMPARE(warnings(log), warned);
        QCOMPARE(log.lines().size(), 3 * warned);
    }

    void valuesOfDifferentTypesNeverOverlap()
    {
        const QStringList values{QStringLiteral("{}"), QStringLiteral("[]"), QStringLiteral("\"\""),
                                 QStringLiteral("false"), QStringLiteral("0")};
        const QStringList printed{
            QStringLiteral("QJsonValue(object, QJsonObject())"),
            QStringLiteral("QJsonValue(array, QJsonArray())"), QStringLiteral("QJsonValue(string, \"\")"),
            QStringLiteral("QJsonValue(bool, false)"), QStringLiteral("QJsonValue(double, 0)")};
        for (int i = 0; i < values.size(); ++i) {
            for (int j = 0; j < values.size(); ++j) {
                const LogCapture log(categoryName);
                const bool overlap = overlaps(QStringLiteral(R"({"x":%1})").arg(values.at(i)),
                                              QStringLiteral(R"({"x":%1})").arg(values.at(j)));
                QCOMPARE(overlap, i == j);
                const QVector<LogCapture::Line> lines{
                    {QtWarningMsg, QStringLiteral("Value type comparison not defined.")},
                    {QtDebugMsg, printed.at(i)},
                    {QtDebugMsg, printed.at(j)}};
                QCOMPARE(log.lines(), i == j ? QVector<LogCapture::Line>() : lines);
            }
        }
    }

    void notSymmetric()
    {
        const QString less = QStringLiteral(R"({"x":{"a":[1]}})");
        const QString more = QStringLiteral(R"({"x":{"a":[1,2],"b":3}})");
        QVERIFY(overlaps(less, more));
        QVERIFY(!overlaps(more, less));
    }

    void deepNesting_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("context");
        QTest::addColumn<bool>("overlap");
        const QString objects = nested("{\"x\":", "1", "}", 1000);
        const QString arrays = QStringLiteral("{\"x\":%1}").arg(nested("[", "1", "]", 1000));
        QTest::newRow("objects, the same") << objects << objects << true;
        QTest::newRow("objects, innermost differs") << objects << nested("{\"x\":", "2", "}", 1000) << false;
        QTest::newRow("objects, one level less") << objects << nested("{\"x\":", "1", "}", 999) << false;
        QTest::newRow("arrays, the same") << arrays << arrays << true;
        QTest::newRow("arrays, innermost differs")
            << arrays << QStringLiteral("{\"x\":%1}").arg(nested("[", "2", "]", 1000)) << false;
    }
    void deepNesting()
    {
        QFETCH(QString, filter);
        QFETCH(QString, context);
        QFETCH(bool, overlap);
        const LogCapture log(categoryName);
        QVERIFY(json(filter).isObject());
        QVERIFY(json(context).isObject());
        QCOMPARE(overlaps(filter, context), overlap);
    }
};

QTEST_GUILESS_MAIN(OverlapTest)
#include "tst_overlap.moc"
