#include "bytesof.h"

#include <chunkline.h>

#include <QJsonArray>
#include <QtTest>

class ChunkLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void objectIsAChunk_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QJsonObject>("chunk");
        QTest::newRow("empty") << QByteArray("{}") << QJsonObject();
        QTest::newRow("members") << QByteArray(R"({"exchange":"x","body":{"a":[1,null]}})")
                                 << QJsonObject{
                                        {QStringLiteral("exchange"), QStringLiteral("x")},
                                        {QStringLiteral("body"),
                                         QJsonObject{{QStringLiteral("a"), QJsonArray{1, QJsonValue()}}}}};
        QTest::newRow("white space around")
            << QByteArray(" \t{ \"a\" : 1 }\r") << QJsonObject{{QStringLiteral("a"), 1}};
        QTest::newRow("text beyond ASCII") << QByteArray(R"({"n":"Zoë \u00e9"})")
                                           << QJsonObject{{QStringLiteral("n"), QStringLiteral("Zoë é")}};
    }
    void objectIsAChunk()
    {
        QFETCH(QByteArray, line);
        QFETCH(QJsonObject, chunk);
        const auto result = buswire::parseChunk(line);
        QVERIFY(std::holds_alternative<QJsonObject>(result));
        QCOMPARE(std::get<QJsonObject>(result), chunk);
    }

    void otherLinesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("reason");
        const QString noObject = QStringLiteral("A chunk is a JSON object.");
        const QString noJson = QStringLiteral("No JSON: ");
        QTest::newRow("array") << QByteArray("[{}]") << noObject;
        QTest::newRow("number") << QByteArray("7") << noObject;
        QTest::newRow("text") << QByteArray("\"{}\"") << noObject;
        QTest::newRow("true") << QByteArray("true") << noObject;
        QTest::newRow("null") << QByteArray("null") << noObject;
        QTest::newRow("word") << QByteArray("hello") << noJson;
        QTest::newRow("cut off") << QByteArray(R"({"a":)") << noJson;
        QTest::newRow("two objects") << QByteArray("{}{}") << noJson;
        QTest::newRow("single quotes") << QByteArray("{'a':1}") << noJson;
        QTest::newRow("invalid UTF-8") << QByteArray("{\"a\":\"\xff\"}") << noJson;
        QTest::newRow("NUL") << bytesOf("{}\0") << noJson;
        QTest::newRow("nested beyond measure") << QByteArray(100000, '[') << noJson;
    }
    void otherLinesAreRefused()
    {
        QFETCH(QByteArray, line);
        QFETCH(QString, reason);
        const auto result = buswire::parseChunk(line);
        QVERIFY(std::holds_alternative<QString>(result));
        QVERIFY2(std::get<QString>(result).startsWith(reason), qPrintable(std::get<QString>(result)));
    }

    void chunkIsOneCompactLine_data()
    {
        QTest::addColumn<QJsonValue>("chunk");
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("object") << QJsonValue(QJsonObject{{QStringLiteral("b"), QStringLiteral("x\ny")},
                                                          {QStringLiteral("a"), QJsonArray{1, 2}}})
                                << QByteArray("{\"a\":[1,2],\"b\":\"x\\ny\"}\n");
        QTest::newRow("empty object") << QJsonValue(QJsonObject()) << QByteArray("{}\n");
        QTest::newRow("array") << QJsonValue(QJsonArray{1, QStringLiteral("x")}) << QByteArray("[1,\"x\"]\n");
        QTest::newRow("text") << QJsonValue(QStringLiteral("x")) << QByteArray("\"x\"\n");
        QTest::newRow("number") << QJsonValue(1.5) << QByteArray("1.5\n");
        QTest::newRow("null") << QJsonValue() << QByteArray("null\n");
    }
    void chunkIsOneCompactLine()
    {
        QFETCH(QJsonValue, chunk);
        QFETCH(QByteArray, line);
        QCOMPARE(buswire::chunkLine(chunk), line);
    }

    void errorIsAnObjectWithItsReason()
    {
        QCOMPARE(buswire::errorLine(QStringLiteral("No \"x\".")),
                 QByteArray("{\"error\":\"No \\\"x\\\".\"}\n"));
    }
};

QTEST_GUILESS_MAIN(ChunkLineTest)
#include "tst_chunkline.moc"
