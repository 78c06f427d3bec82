#include "contextstore.h"
#include "logcapture.h"
#include "writefiletocontextbehaviour.h"

#include <QtTest>

namespace {

const QString id = QStringLiteral("c");
const QString name = QStringLiteral("a.pdf");

QJsonValue addFile(const QString &body)
{
    return QJsonObject{{QStringLiteral("exchange"), QStringLiteral("vexo-context-add-file")},
                       {QStringLiteral("body"), json(body)}};
}

// An entry of "attachments", as JSON text; `coding` is JSON text as well.
QString entry(const QString &contextId, const QString &fileName, const QString &coding)
{
    return QStringLiteral(R"({"content":{"attachment":{"url":"/context/%1/file/%2"}},)")
               .arg(contextId, fileName)
           + QStringLiteral(R"("resourceType":"DocumentReference","status":"superseded",)")
           + QStringLiteral(R"("type":{"coding":[%1]}})").arg(coding);
}

QString attachments(ContextStore &store, const QString &contextId = id)
{
    return jsonText(store.contexts.getContext(contextId).toObject().value(QLatin1String("attachments")));
}

} // namespace

class WriteFileToContextBehaviourTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void fileIsAddedToItsContext()
    {
        ContextStore store;
        store.contexts.setContext(id, json(QStringLiteral(R"({"_id":"c","x":1})")));
        store.bus.chunks.clear();
        WriteFileToContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(addFile(QStringLiteral(
            R"({"context":"c","filename":"a.pdf","content":"JVBERgD/","type":{"system":"s","version":"v","code":"k","display":"d","userSelected":true}})")));
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("%PDF\0\xff", 6));
        const QString coding =
            QStringLiteral(R"({"code":"k","display":"d","system":"s","userSelected":true,"version":"v"})");
        QCOMPARE(jsonText(store.contexts.getContext(id)),
                 QStringLiteral(R"({"_id":"c","attachments":[%1],"x":1})").arg(entry(id, name, coding)));
        QVERIFY(store.bus.chunks.isEmpty());
    }

    void envelopeMayHoldMore()
    {
        ContextStore store;
        WriteFileToContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(json(QStringLiteral(
            R"({"exchange":"vexo-context-add-file","properties":{"reply-to":"123456789here"},"source":"any","body":{"context":"c","filename":"a.pdf","content":"YQ==","more":1}})")));
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("a"));
        // The store tells of the new context, and nobody answers.
        QCOMPARE(store.bus.chunks.size(), 1);
        QVERIFY(store.events.at(0).startsWith(QLatin1String("chunk ")));
    }

    void contentIsDecodedAsFarAsItCanBe_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("padded") << QStringLiteral("YWI=") << QByteArray("ab");
        QTest::newRow("not padded") << QStringLiteral("YWI") << QByteArray("ab");
        QTest::newRow("empty") << QString() << QByteArray();
        QTest::newRow("line ends within") << QStringLiteral("YW\r\nI=\n") << QByteArray("ab");
        QTest::newRow("characters that are not in the alphabet")
            << QStringLiteral("*Y!W%I#=") << QByteArray("ab");
        QTest::newRow("nothing that is in the alphabet") << QStringLiteral("!!**??") << QByteArray();
        QTest::newRow("alphabet for URLs") << QStringLiteral("-_-_") << QByteArray();
        QTest::newRow("one character alone") << QStringLiteral("Y") << QByteArray();
        QTest::newRow("data behind the padding") << QStringLiteral("YQ==Yg==") << QByteArray("a\x06 ", 3);
        QTest::newRow("umlaut within")
            << QStringLiteral("Y") + QChar(0xe4) + QStringLiteral("WI=") << QByteArray("ab");
    }
    void contentIsDecodedAsFarAsItCanBe()
    {
        QFETCH(QString, content);
        QFETCH(QByteArray, bytes);
        ContextStore store;
        const QJsonObject body{{QStringLiteral("context"), id},
                               {QStringLiteral("filename"), name},
                               {QStringLiteral("content"), content}};
        WriteFileToContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(addFile(jsonText(body)));
        QCOMPARE(store.contexts.getFile(id, name), bytes);
        QCOMPARE(attachments(store),
                 QLatin1Char('[') + entry(id, name, QStringLiteral("{}")) + QLatin1Char(']'));
    }

    void whatIsMissingOrOfAnotherTypeIsEmpty_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("contextId");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QByteArray>("bytes");
        const auto row = [](const char *name, const char *body, const char *contextId, const char *fileName,
                            const char *bytes) {
            QTest::newRow(name) << QString::fromLatin1(body) << QString::fromLatin1(contextId)
                                << QString::fromLatin1(fileName) << QByteArray(bytes);
        };
        row("empty body", "{}", "", "", "");
        row("array as body", R"([{"context":"c"}])", "", "", "");
        row("text as body", R"("c")", "", "", "");
        row("null as body", "null", "", "", "");
        row("no context", R"({"filename":"a.pdf","content":"YQ=="})", "", "a.pdf", "a");
        row("context that is a number", R"({"context":7,"filename":"a.pdf","content":"YQ=="})", "", "a.pdf",
            "a");
        row("no name", R"({"context":"c","content":"YQ=="})", "c", "", "a");
        row("name that is an array", R"({"context":"c","filename":["a.pdf"],"content":"YQ=="})", "c", "",
            "a");
        row("no content", R"({"context":"c","filename":"a.pdf"})", "c", "a.pdf", "");
        row("content that is an object", R"({"context":"c","filename":"a.pdf","content":{"a":1}})", "c",
            "a.pdf", "");
        row("type that is an array",
            R"({"context":"c","filename":"a.pdf","content":"YQ==","type":[{"code":"k"}]})", "c", "a.pdf",
            "a");
        row("type that is a text", R"({"context":"c","filename":"a.pdf","content":"YQ==","type":"k"})", "c",
            "a.pdf", "a");
        row("code that is a number",
            R"({"context":"c","filename":"a.pdf","content":"YQ==","type":{"code":7}})", "c", "a.pdf", "a");
    }
    void whatIsMissingOrOfAnotherTypeIsEmpty()
    {
        QFETCH(QString, body);
        QFETCH(QString, contextId);
        QFETCH(QString, fileName);
        QFETCH(QByteArray, bytes);
        ContextStore store;
        WriteFileToContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(addFile(body));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(contextId));
        QCOMPARE(attachments(store, contextId),
                 QLatin1Char('[') + entry(contextId, fileName, QStringLiteral("{}")) + QLatin1Char(']'));
        QVERIFY(store.files.hasFile(contextId + QLatin1Char('_') + fileName));
        QCOMPARE(store.contexts.getFile(contextId, fileName), bytes);
    }

    void noBodyIsAnEmptyOne()
    {
        ContextStore store;
        WriteFileToContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(json(QStringLiteral(R"({"exchange":"vexo-context-add-file","context":"c"})")));
        QVERIFY(store.files.hasFile(QStringLiteral("_")));
        QCOMPARE(store.contexts.getContextKeys(), QStringList(QString()));
    }

    void secondFileOfANameReplacesTheBytesAlone()
    {
        ContextStore store;
        WriteFileToContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(addFile(
            QStringLiteral(R"({"context":"c","filename":"a.pdf","content":"YQ==","type":{"code":"k"}})")));
        const QString before = attachments(store);
        behaviour.onChunk(addFile(
            QStringLiteral(R"({"context":"c","filename":"a.pdf","content":"Yg==","type":{"code":"l"}})")));
        QCOMPARE(store.contexts.getFile(id, name), QByteArray("b"));
        QCOMPARE(attachments(store), before);
    }

    void otherChunksAreIgnored_data()
    {
        QTest::addColumn<QString>("chunk");
        const QString body = QStringLiteral(R"("body":{"context":"c","filename":"a.pdf","content":"YQ=="})");
        for (const char *chunk :
             {R"({"exchange":"Vexo-context-add-file",%1})", R"({"exchange":"vexo-context-add-file ",%1})",
              R"({"exchange":"vexo-context-add-files",%1})", R"({"exchange":5,%1})",
              R"({"exchange":null,%1})", R"({"exchange":["vexo-context-add-file"],%1})",
              R"({"Exchange":"vexo-context-add-file",%1})", R"([{"exchange":"vexo-context-add-file",%1}])",
              R"({%1})", R"("vexo-context-add-file")", "7", "true", "null", "[]"})
            QTest::newRow(chunk) << QString::fromLatin1(chunk).replace(QLatin1String("%1"), body);
    }
    void otherChunksAreIgnored()
    {
        QFETCH(QString, chunk);
        ContextStore store;
        WriteFileToContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(json(chunk));
        QVERIFY(store.contexts.getContextKeys().isEmpty());
        QVERIFY(store.contexts.getFile(id, name).isNull());
        QVERIFY(store.events.isEmpty());
    }

    void noValueIsIgnored()
    {
        ContextStore store;
        WriteFileToContextBehaviour behaviour(store.contexts);
        behaviour.onChunk(QJsonValue(QJsonValue::Undefined));
        QVERIFY(store.contexts.getContextKeys().isEmpty());
    }
};

QTEST_GUILESS_MAIN(WriteFileToContextBehaviourTest)
#include "tst_writefiletocontextbehaviour.moc"
