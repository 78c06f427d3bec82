#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace domain {

/// Content of a format that FHIR does not know, or where it lies: the data type Attachment of FHIR STU3
/// (http://hl7.org/fhir/STU3/datatypes.html#Attachment). Every field is empty until it is set.
class Attachment final
{
public:
    Attachment();
    ~Attachment();
    /// Copied member by member, also where it could be moved.
    Attachment(const Attachment &other);
    Attachment &operator=(const Attachment &other);

    /// The media type.
    [[nodiscard]] const QString &contentType() const { return m_contentType; }
    void setContentType(const QString &contentType);

    [[nodiscard]] const QString &language() const { return m_language; }
    void setLanguage(const QString &language);

    /// The content as it stands in JSON, in Base64.
    [[nodiscard]] const QByteArray &data() const { return m_data; }
    void setData(const QByteArray &data);

    [[nodiscard]] const QString &url() const { return m_url; }
    void setUrl(const QString &url);

    /// The number of bytes of the content, 0 until it is set.
    [[nodiscard]] int size() const { return m_size; }
    void setSize(int size);

    /// The SHA-1 of the content as it stands in JSON, in Base64.
    [[nodiscard]] const QByteArray &hash() const { return m_hash; }
    void setHash(const QByteArray &hash);

    [[nodiscard]] const QString &title() const { return m_title; }
    void setTitle(const QString &title);

    [[nodiscard]] const QDateTime &creation() const { return m_creation; }
    void setCreation(const QDateTime &creation);

private:
    QString m_contentType;
    QString m_language;
    QByteArray m_data;
    QString m_url;
    int m_size = 0;
    QByteArray m_hash;
    QString m_title;
    QDateTime m_creation;
};

} // namespace domain
