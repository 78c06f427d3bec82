#pragma once

class QJsonObject;
class QJsonValue;
class QString;

namespace domain {
class Coding;
}

/**
 * The elements of a context's "attachments". Each describes one file of the context and is shaped like a
 * DocumentReference of FHIR STU3 (http://hl7.org/fhir/STU3/documentreference.html), except that "content" is
 * an object and not an array.
 */
namespace attachmententry {

/// The entry for a file of the type `coding`. Its "url" is the path of the file over HTTP, with id and name
/// as given: nothing is percent-encoded.
[[nodiscard]] QJsonObject create(const QString &id, const QString &fileName, const domain::Coding &coding);

/// The last segment of the entry's "url", decoded; empty if there is none. Not every name that create() takes
/// comes back: what stands up to a slash and blanks at the end are lost.
[[nodiscard]] QString fileName(const QJsonValue &entry);

} // namespace attachmententry
