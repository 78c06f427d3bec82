#include "documentreferencefromjson.h"

#include "attachmentfromjson.h"
#include "codableconceptfromjson.h"
#include "codingfromjson.h"
#include "identifierfromjson.h"
#include "resourcefromjson.h"

#include <QJsonArray>
#include <QJsonObject>

namespace domain {

using Content = DocumentReference::Content;

static QVector<Identifier> identifiersOf(const QJsonArray &array)
{
    QVector<Identifier> identifiers;
    for (const QJsonValue &element : array) {
        if (!element.isObject())
            continue;
        Identifier identifier;
        fhir::stu3::IdentifierFromJson(identifier, element.toObject()).parse();
        identifiers.append(identifier);
    }
    return identifiers;
}

static QVector<Content> contentsOf(const QJsonValue &value)
{
    QVector<Content> contents;
    const QJsonArray array = value.isObject() ? QJsonArray{value} : value.toArray();
    for (const QJsonValue &element : array) {
        if (!element.isObject())
            continue;
        Content content;
        DocumentReferenceFromJson::ContentFromJson(content, element.toObject()).parse();
        contents.append(content);
    }
    return contents;
}

DocumentReferenceFromJson::ContentFromJson::ContentFromJson(Content &content, const QJsonObject &json)
    : m_content(content)
    , m_json(json)
{
}

void DocumentReferenceFromJson::ContentFromJson::parse()
{
    if (const QJsonValue json = m_json[QLatin1String("attachment")]; json.isObject()) {
        Attachment attachment;
        AttachmentFromJson(attachment, json.toObject()).parse();
        m_content.setAttachment(attachment);
    }
    if (const QJsonValue json = m_json[QLatin1String("format")]; json.isObject()) {
        Coding coding;
        fhir::stu3::CodingFromJson(coding, json.toObject()).parse();
        m_content.setCoding(coding);
    }
}

DocumentReferenceFromJson::DocumentReferenceFromJson(DocumentReference &documentReference,
                                                     const QJsonObject &json)
    : m_documentReference(documentReference)
    , m_json(json)
{
}

void DocumentReferenceFromJson::parse()
{
    fhir::stu3::ResourceFromJson(m_documentReference, m_json).parse();
    m_documentReference.setIdentifier(identifiersOf(m_json[QLatin1String("identifier")].toArray()));
    m_documentReference.setStatus(m_json[QLatin1String("status")].toString());
    if (const QJsonValue json = m_json[QLatin1String("type")]; json.isObject()) {
        CodableConcept type;
        fhir::stu3::CodableConceptFromJson(type, json.toObject()).parse();
        m_documentReference.setType(type);
    }
    m_documentReference.setContent(contentsOf(m_json[QLatin1String("content")]));
}

} // namespace domain
