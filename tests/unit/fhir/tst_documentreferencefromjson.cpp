#include "fhir/stu3/serialization/documentreferencefromjson.h"

#include "readerrows.h"

using domain::DocumentReference;
using domain::DocumentReferenceFromJson;
using Content = DocumentReference::Content;
using ContentFromJson = DocumentReferenceFromJson::ContentFromJson;

static_assert(std::is_constructible_v<DocumentReferenceFromJson, DocumentReference &, const QJsonObject &>);
static_assert(std::is_constructible_v<ContentFromJson, Content &, const QJsonObject &>);

class DocumentReferenceFromJsonTest : public QObject
{
    Q_OBJECT

    // The dump of a content that holds nothing but this.
    [[nodiscard]] static QString contentWithUrl(const QString &url)
    {
        domain::Attachment attachment;
        attachment.setUrl(url);
        Content content;
        content.setAttachment(attachment);
        return jsonText(dump(content));
    }
    [[nodiscard]] static QString identifierWithValue(const QString &value)
    {
        return jsonText(dump(domain::Identifier(QString(), value)));
    }

private Q_SLOTS:
    void everyFieldButTheTypeIsSet_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        addReaderRow("what a resource has",
                     QStringLiteral(R"({"id":"i","implicitRules":"r","language":"l"})"),
                     QStringLiteral(R"({"id":"i","implicitRules":"r","language":"l"})"));
        addReaderRow("resource type", QStringLiteral(R"({"resourceType":"Patient"})"), QStringLiteral("{}"));

        addReaderRow("status", QStringLiteral(R"({"status":"Current"})"),
                     QStringLiteral(R"({"status":"Current"})"));
        addReaderRow("empty status", QStringLiteral(R"({"status":""})"), QStringLiteral("{}"));
        addWrongTypeRows(QStringLiteral("status"), QJsonValue::String);

        const QString value = identifierWithValue(QStringLiteral("y"));
        addReaderRow("identifier", QStringLiteral(R"({"identifier":[{"value":"y"}]})"),
                     QStringLiteral(R"({"identifier":[%1]})").arg(value));
        addReaderRow("identifiers among others",
                     QStringLiteral(R"({"identifier":[1,{"value":"y"},"x",null,[{"value":"x"}],{},true]})"),
                     QStringLiteral(R"({"identifier":[%1,%2]})").arg(value, identifierWithValue(QString())));
        addReaderRow("no identifiers", QStringLiteral(R"({"identifier":[]})"), QStringLiteral("{}"));
        addWrongTypeRows(QStringLiteral("identifier"), QJsonValue::Array);

        addReaderRow("type", QStringLiteral(R"({"type":{"coding":{"code":"y"}}})"),
                     QStringLiteral(R"({"type":{"coding":{"system":"","version":"","code":"y","display":"",)"
                                    R"("userSelected":false},"text":""}})"));
        addReaderRow("type with a list of codings", QStringLiteral(R"({"type":{"coding":[{"code":"y"}]}})"),
                     QStringLiteral(R"({"type":%1})").arg(jsonText(dump(domain::CodableConcept()))));
        addWrongTypeRows(QStringLiteral("type"), QJsonValue::Object);

        const QString content = contentWithUrl(QStringLiteral("y"));
        addReaderRow("one content", QStringLiteral(R"({"content":{"attachment":{"url":"y"}}})"),
                     QStringLiteral(R"({"content":[%1]})").arg(content));
        addReaderRow("one empty content", QStringLiteral(R"({"content":{}})"),
                     QStringLiteral(R"({"content":[%1]})").arg(contentWithUrl(QString())));
        addReaderRow("list of one content", QStringLiteral(R"({"content":[{"attachment":{"url":"y"}}]})"),
                     QStringLiteral(R"({"content":[%1]})").arg(content));
        addReaderRow(
            "contents among others",
            QStringLiteral(
                R"({"content":[1,{"attachment":{"url":"y"}},"x",[{"attachment":{}}],null,{},true]})"),
            QStringLiteral(R"({"content":[%1,%2]})").arg(content, contentWithUrl(QString())));
        addReaderRow("no contents", QStringLiteral(R"({"content":[]})"), QStringLiteral("{}"));
        for (const char *other : {"null", "true", "5", R"("x")"})
            addReaderRow(qPrintable(QStringLiteral("content: %1").arg(QLatin1String(other))),
                         QStringLiteral(R"({"content":%1})").arg(QLatin1String(other)), QStringLiteral("{}"));
    }
    void everyFieldButTheTypeIsSet()
    {
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        const QJsonObject nothing{{QStringLiteral("resourceType"), 3},
                                  {QStringLiteral("id"), QString()},
                                  {QStringLiteral("meta"), dump(domain::Meta())},
                                  {QStringLiteral("implicitRules"), QString()},
                                  {QStringLiteral("language"), QString()},
                                  {QStringLiteral("identifier"), QJsonArray()},
                                  {QStringLiteral("status"), QString()},
                                  {QStringLiteral("type"), dump(fullConcept())},
                                  {QStringLiteral("content"), QJsonArray()}};
        compareRead<DocumentReferenceFromJson>(fullReference(), object, nothing, change);
    }

    void contentTakesWhatIsAnObject_data()
    {
        addReaderColumns();
        addReaderRow("nothing", QStringLiteral("{}"), QStringLiteral("{}"));
        domain::Attachment attachment;
        attachment.setUrl(QStringLiteral("y"));
        addReaderRow("attachment", QStringLiteral(R"({"attachment":{"url":"y"}})"),
                     QStringLiteral(R"({"attachment":%1})").arg(jsonText(dump(attachment))));
        addReaderRow("empty attachment", QStringLiteral(R"({"attachment":{}})"),
                     QStringLiteral(R"({"attachment":%1})").arg(jsonText(dump(domain::Attachment()))));
        addWrongTypeRows(QStringLiteral("attachment"), QJsonValue::Object);
        domain::Coding coding;
        coding.setCode(QStringLiteral("y"));
        addReaderRow("format", QStringLiteral(R"({"format":{"code":"y"}})"),
                     QStringLiteral(R"({"coding":%1})").arg(jsonText(dump(coding))));
        addReaderRow("empty format", QStringLiteral(R"({"format":{}})"),
                     QStringLiteral(R"({"coding":%1})").arg(jsonText(dump(domain::Coding()))));
        addWrongTypeRows(QStringLiteral("format"), QJsonValue::Object);
        addReaderRow("coding is no key", QStringLiteral(R"({"coding":{"code":"y"}})"), QStringLiteral("{}"));
    }
    void contentTakesWhatIsAnObject()
    {
        QFETCH(QJsonObject, object);
        QFETCH(QJsonObject, change);
        compareRead<ContentFromJson>(fullContent(), object, dump(fullContent()), change);
    }

    void contentOfAStringStaysNew()
    {
        Content content;
        ContentFromJson(content, json(QStringLiteral(R"({"attachment":"x"})")).toObject()).parse();
        QCOMPARE(jsonText(dump(content)), jsonText(dump(Content())));
    }
};

QTEST_GUILESS_MAIN(DocumentReferenceFromJsonTest)
#include "tst_documentreferencefromjson.moc"
