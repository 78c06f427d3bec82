#pragma once

#include "fhir/stu3/documentreference.h"

class QJsonObject;

namespace domain {

/// Reads a DocumentReference. Keeps references to both arguments.
class DocumentReferenceFromJson final
{
public:
    /// Reads one element of "content". Keeps references to both arguments.
    class ContentFromJson final
    {
    public:
        ContentFromJson(DocumentReference::Content &content, const QJsonObject &json);

        /// Sets the attachment if there is an object under "attachment", and the coding if there is one under
        /// "format".
        void parse();

    private:
        DocumentReference::Content &m_content;
        const QJsonObject &m_json;
    };

    DocumentReferenceFromJson(DocumentReference &documentReference, const QJsonObject &json);

    /// Sets every field but the type, which is set only if there is an object under "type"; a key that is
    /// missing or of another type empties its field. Elements of lists that are no objects are left out.
    /// "content" may be a list, as FHIR has it, or a single object.
    void parse();

private:
    DocumentReference &m_documentReference;
    const QJsonObject &m_json;
};

} // namespace domain
