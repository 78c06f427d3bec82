#include "attachmentfromjson.h"

#include "fhir/stu3/attachment.h"
#include "qdatetimefromjson.h"

#include <QJsonObject>

namespace domain {

AttachmentFromJson::AttachmentFromJson(Attachment &attachment, const QJsonObject &json)
    : m_attachment(attachment)
    , m_json(json)
{
}

void AttachmentFromJson::parse()
{
    const auto text = [this](QLatin1String key) { return m_json[key].toString(); };
    if (const QLatin1String key("contentType"); m_json.contains(key))
        m_attachment.setContentType(text(key));
    if (const QLatin1String key("language"); m_json.contains(key))
        m_attachment.setLanguage(text(key));
    if (const QLatin1String key("data"); m_json.contains(key))
        m_attachment.setData(text(key).toLatin1());
    if (const QLatin1String key("url"); m_json.contains(key))
        m_attachment.setUrl(text(key));
    if (const QLatin1String key("size"); m_json.contains(key))
        m_attachment.setSize(m_json[key].toInt(0));
    if (const QLatin1String key("hash"); m_json.contains(key))
        m_attachment.setHash(text(key).toLatin1());
    if (const QLatin1String key("title"); m_json.contains(key))
        m_attachment.setTitle(text(key));
    if (const QLatin1String key("creation"); m_json.contains(key))
        m_attachment.setCreation(fhir::stu3::QDateTimeFromJson(text(key)).parse());
}

} // namespace domain
