#include "chunkexchange.h"

#include "jsontext.h"

#include <QtTest>

class ChunkExchangeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comparesExactText_data()
    {
        QTest::addColumn<QString>("chunk");
        QTest::addColumn<bool>("is");
        const auto row = [](const char *name, const char *chunk, bool is) {
            QTest::newRow(name) << QString::fromUtf8(chunk) << is;
        };
        row("the exchange", R"({"exchange":"vexo-x"})", true);
        row("among other keys", R"({"body":5,"exchange":"vexo-x","source":null})", true);
        row("another", R"({"exchange":"vexo-y"})", false);
        row("longer", R"({"exchange":"vexo-x2"})", false);
        row("with a NUL behind", R"({"exchange":"vexo-x\u0000"})", false);
        row("other case", R"({"exchange":"Vexo-x"})", false);
        row("key in other case", R"({"Exchange":"vexo-x"})", false);
        row("number", R"({"exchange":5})", false);
        row("null", R"({"exchange":null})", false);
        row("array", R"({"exchange":["vexo-x"]})", false);
        row("object", R"({"exchange":{"exchange":"vexo-x"}})", false);
        row("missing", R"({"source":"vexo-x"})", false);
        row("empty object", "{}", false);
        row("array of chunks", R"([{"exchange":"vexo-x"}])", false);
        row("bare text", R"("vexo-x")", false);
        row("bare number", "5", false);
        row("bare null", "null", false);
        row("bare boolean", "true", false);
    }
    void comparesExactText()
    {
        QFETCH(QString, chunk);
        QFETCH(bool, is);
        QCOMPARE(hasExchange(json(chunk), QLatin1String("vexo-x")), is);
    }

    void noValueAtAllHasNone()
    {
        QVERIFY(!hasExchange(QJsonValue(QJsonValue::Undefined), QLatin1String("vexo-x")));
    }
};

QTEST_GUILESS_MAIN(ChunkExchangeTest)
#include "tst_chunkexchange.moc"
