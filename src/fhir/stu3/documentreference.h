#pragma once

#include "fhir/stu3/attachment.h"
#include "fhir/stu3/codableconcept.h"
#include "fhir/stu3/identifier.h"
#include "fhir/stu3/resource.h"

#include <QString>
#include <QVector>

namespace domain {

/// Says of a document what it is and where it lies: DocumentReference of FHIR STU3
/// (http://hl7.org/fhir/STU3/documentreference.html), as far as a file of a context needs it.
class DocumentReference final : public Resource
{
public:
    /// What status() stands for.
    enum Status : qint32 {
        Invalid = 0,
        Current = 1,
        Superseded = 2,
        EnteredInError = 3,
    };

    /// A document and its format.
    class Content final
    {
    public:
        Content();
        ~Content();
        /// Copied member by member, also where it could be moved.
        Content(const Content &other);
        Content &operator=(const Content &other);

        [[nodiscard]] const Attachment &attachment() const { return m_attachment; }
        void setAttachment(Attachment attachment);

        /// The format, which FHIR calls "format".
        [[nodiscard]] const Coding &coding() const { return m_coding; }
        void setCoding(Coding coding);

    private:
        Attachment m_attachment;
        Coding m_coding;
    };

    /// Everything is empty, and resourceType() is Type::DocumentReference.
    DocumentReference();
    ~DocumentReference() override;
    /// Copies everything but resourceType(), which becomes Type::DocumentReference.
    DocumentReference(const DocumentReference &other);
    /// Copies everything but resourceType(), which becomes Type::AssignedDocumentReference. Logs a debug line
    /// to "ch.tessel.fhir.documentreference".
    DocumentReference &operator=(const DocumentReference &other);

    /// A whole copy, which the caller owns.
    [[nodiscard]] Resource *clone() const override;

    [[nodiscard]] const QVector<Identifier> &identifier() const { return m_identifier; }
    void setIdentifier(QVector<Identifier> identifier);

    /// The status as text: "current", "superseded", "entered-in-error", or any other that was set.
    [[nodiscard]] const QString &status() const { return m_status; }
    /// Takes any text.
    void setStatus(QString status);
    /// Sets the text of `status`; "invalid" for Invalid and for a number that has no name.
    void setStatus(Status status);
    /// What status() stands for, case-sensitive; Invalid for any text that does not stand for another.
    [[nodiscard]] Status statusResolved() const;

    [[nodiscard]] const CodableConcept &type() const { return m_type; }
    void setType(CodableConcept type);

    [[nodiscard]] const QVector<Content> &content() const { return m_content; }
    void setContent(QVector<Content> content);

private:
    QVector<Identifier> m_identifier;
    QString m_status;
    CodableConcept m_type;
    QVector<Content> m_content;
};

} // namespace domain
