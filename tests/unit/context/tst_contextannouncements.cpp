#include "jsontext.h"
#include "structure/chunk/contextcreated.h"
#include "structure/chunk/contextremoved.h"

#include <QLoggingCategory>
#include <QtTest>

using structure::chunk::ContextCreated;
using structure::chunk::ContextRemoved;

namespace {

template <typename Chunk>
void checkParse(const QString &exchange)
{
    struct Case
    {
        const char *chunk;
        bool parses;
    };
    const Case cases[] = {
        {R"({"exchange":"%1","data":{"contextId":"a"}})", true},
        {R"({"exchange":"%1","data":{}})", true},
        {R"({"exchange":"%1","data":{"contextId":5},"source":"x"})", true},
        {R"({"exchange":"%1","data":[]})", false},
        {R"({"exchange":"%1","data":null})", false},
        {R"({"exchange":"%1"})", false},
        {R"({"exchange":"%1 ","data":{}})", false},
        {R"({"exchange":["%1"],"data":{}})", false},
        {R"({"exchange":null,"data":{}})", false},
        {R"({"Exchange":"%1","data":{}})", false},
        {R"({"data":{}})", false},
        {R"([{"exchange":"%1","data":{}}])", false},
        {R"("%1")", false},
        {"null", false},
    };
    for (const Case &row : cases) {
        const QString chunk = QString::fromLatin1(row.chunk);
        Chunk parser;
        QVERIFY2(parser.parse(json(chunk.contains(QLatin1String("%1")) ? chunk.arg(exchange) : chunk))
                     == row.parses,
                 row.chunk);
    }
    Chunk parser;
    QVERIFY(!parser.parse(QJsonValue(QJsonValue::Undefined)));
}

template <typename Chunk>
void checkFind()
{
    const auto chunk = [](const QJsonObject &data) {
        QJsonObject object = Chunk::create(QString()).toObject();
        object.insert(QStringLiteral("data"), data);
        return object;
    };
    const QString key = QStringLiteral("contextId");
    const QString before = QStringLiteral("before");
    QString id = before;
    Chunk parser;
    QVERIFY(parser.parse(chunk({{key, 5}})));
    QVERIFY(!parser.find(id));
    QCOMPARE(id, before);
    QVERIFY(parser.parse(chunk({})));
    QVERIFY(!parser.find(id));
    QCOMPARE(id, before);
    QVERIFY(parser.parse(chunk({{QStringLiteral("contextid"), before}})));
    QVERIFY(!parser.find(id));
    QVERIFY(parser.parse(chunk({{key, QStringLiteral("x")}})));
    QVERIFY(parser.find(id));
    QCOMPARE(id, QStringLiteral("x"));

    // A chunk that is refused leaves what an earlier one gave.
    QVERIFY(!parser.parse(QJsonObject()));
    id = before;
    QVERIFY(parser.find(id));
    QCOMPARE(id, QStringLiteral("x"));

    QVERIFY(parser.parse(chunk({{key, QString()}})));
    QVERIFY(parser.find(id));
    QCOMPARE(id, QString());
}

} // namespace

class ContextAnnouncementsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chunksAreExact()
    {
        QCOMPARE(jsonText(ContextCreated::create(QStringLiteral("ä"))),
                 QStringLiteral(R"({"data":{"contextId":"ä"},"exchange":"context-created"})"));
        QCOMPARE(jsonText(ContextRemoved::create(QString())),
                 QStringLiteral(R"({"data":{"contextId":""},"exchange":"context-removed"})"));
    }

    void eachReadsItsOwnChunkOnly()
    {
        const QString made = QStringLiteral("AbC1");
        QString id;
        ContextCreated created;
        ContextRemoved removed;
        QVERIFY(created.parse(ContextCreated::create(made)));
        QVERIFY(created.find(id));
        QCOMPARE(id, made);
        QVERIFY(!removed.parse(ContextCreated::create(made)));
        id.clear();
        QVERIFY(removed.parse(ContextRemoved::create(made)));
        QVERIFY(removed.find(id));
        QCOMPARE(id, made);
        QVERIFY(!created.parse(ContextRemoved::create(made)));
    }

    void createdIsRecognised() { checkParse<ContextCreated>(QStringLiteral("context-created")); }
    void removedIsRecognised() { checkParse<ContextRemoved>(QStringLiteral("context-removed")); }
    void createdGivesTheId() { checkFind<ContextCreated>(); }
    void removedGivesTheId() { checkFind<ContextRemoved>(); }

    void categoriesAreNamed()
    {
        QCOMPARE(structure::chunk::ContextCreatedLogging().categoryName(),
                 "ch.tessel.vexo.api.chunk.structure.contextcreated");
        QCOMPARE(structure::chunk::ContextRemovedLogging().categoryName(),
                 "ch.tessel.vexo.api.chunk.structure.contextremoved");
    }
};

QTEST_GUILESS_MAIN(ContextAnnouncementsTest)
#include "tst_contextannouncements.moc"
