#include "structure/content/message.h"

#include <utility>

namespace structure::content {

Message Message::createEmptyMessage()
{
    return {};
}

bool Message::isValid() const
{
    return !m_identifier.isEmpty() && !m_title.isEmpty() && !m_text.isEmpty();
}

void Message::setIdentifier(QString identifier)
{
    m_identifier = std::move(identifier);
}

void Message::setMomentary()
{
    m_type = Momentary;
}

void Message::setCustomLifeTime(Timespan customLifeTime)
{
    m_type = CustomLifeTime;
    m_customLifeTime = customLifeTime;
}

void Message::setPersistent()
{
    m_type = Persistent;
}

void Message::setTitle(QString title)
{
    m_title = std::move(title);
}

void Message::setSubtitle(QString subtitle)
{
    m_subtitle = std::move(subtitle);
}

void Message::setText(QString text)
{
    m_text = std::move(text);
}

void Message::setTimestamp(QDateTime timestamp)
{
    m_timestamp = std::move(timestamp);
}

} // namespace structure::content
