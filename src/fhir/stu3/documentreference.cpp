#include "documentreference.h"

#include <QLoggingCategory>

#include <utility>

static const QLoggingCategory &DocumentReferenceLogging()
{
    static const QLoggingCategory category("ch.tessel.fhir.documentreference");
    return category;
}

namespace domain {

DocumentReference::Content::Content() = default;
DocumentReference::Content::~Content() = default;
DocumentReference::Content::Content(const Content &other) = default;
DocumentReference::Content &DocumentReference::Content::operator=(const Content &other) = default;

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value as in every setter, though it is copied
void DocumentReference::Content::setAttachment(Attachment attachment)
{
    m_attachment = attachment;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value as in every setter, though it is copied
void DocumentReference::Content::setCoding(Coding coding)
{
    m_coding = coding;
}

DocumentReference::DocumentReference()
{
    setResourceType(Type::DocumentReference);
}

DocumentReference::~DocumentReference() = default;

// The base is deliberately not copied as a whole: the resource type is that of a new object.
DocumentReference::DocumentReference(const DocumentReference &other)
    : DocumentReference()
{
    m_identifier = other.m_identifier;
    m_status = other.m_status;
    m_type = other.m_type;
    m_content = other.m_content;
    setImplicitRules(other.implicitRules());
    setId(other.id());
    setLanguage(other.language());
    setMeta(other.meta());
}

DocumentReference &DocumentReference::operator=(const DocumentReference &other)
{
    qCDebug(DocumentReferenceLogging) << "Calling assignment operator";
    Resource::operator=(other);
    // Deliberately another number than that of a constructed object.
    setResourceType(Type::AssignedDocumentReference);
    m_identifier = other.m_identifier;
    m_status = other.m_status;
    m_type = other.m_type;
    m_content = other.m_content;
    return *this;
}

Resource *DocumentReference::clone() const
{
    return new DocumentReference(*this);
}

void DocumentReference::setIdentifier(QVector<Identifier> identifier)
{
    m_identifier = std::move(identifier);
}

void DocumentReference::setStatus(QString status)
{
    m_status = std::move(status);
}

void DocumentReference::setStatus(Status status)
{
    switch (status) {
    case Current: m_status = QStringLiteral("current"); return;
    case Superseded: m_status = QStringLiteral("superseded"); return;
    case EnteredInError: m_status = QStringLiteral("entered-in-error"); return;
    case Invalid: break;
    }
    m_status = QStringLiteral("invalid");
}

DocumentReference::Status DocumentReference::statusResolved() const
{
    if (m_status == QLatin1String("current"))
        return Current;
    if (m_status == QLatin1String("superseded"))
        return Superseded;
    if (m_status == QLatin1String("entered-in-error"))
        return EnteredInError;
    return Invalid;
}

void DocumentReference::setType(CodableConcept type)
{
    m_type = std::move(type);
}

void DocumentReference::setContent(QVector<Content> content)
{
    m_content = std::move(content);
}

} // namespace domain
