#include "attachment.h"

namespace domain {

Attachment::Attachment() = default;
Attachment::~Attachment() = default;
Attachment::Attachment(const Attachment &other) = default;
Attachment &Attachment::operator=(const Attachment &other) = default;

void Attachment::setContentType(const QString &contentType)
{
    m_contentType = contentType;
}

void Attachment::setLanguage(const QString &language)
{
    m_language = language;
}

void Attachment::setData(const QByteArray &data)
{
    m_data = data;
}

void Attachment::setUrl(const QString &url)
{
    m_url = url;
}

void Attachment::setSize(int size)
{
    m_size = size;
}

void Attachment::setHash(const QByteArray &hash)
{
    m_hash = hash;
}

void Attachment::setTitle(const QString &title)
{
    m_title = title;
}

void Attachment::setCreation(const QDateTime &creation)
{
    m_creation = creation;
}

} // namespace domain
