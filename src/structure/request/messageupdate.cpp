#include "structure/request/messageupdate.h"

#include "structure/jsonobject/message.h"

#include <QJsonDocument>
#include <QLoggingCategory>

namespace structure::request {

const QLoggingCategory &MessageUpdateLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.vexo-uilib.util.structure.request.messageupdate");
    return category;
}

QJsonDocument MessageUpdate::create(const content::MessageUpdate &update)
{
    QJsonArray messages;
    for (const content::Message &message : update.messages)
        messages.append(jsonobject::Message::create(message));
    return QJsonDocument(messages);
}

bool MessageUpdate::parse(const QJsonDocument &document)
{
    if (!document.isArray())
        return false;
    m_messages = document.array();
    return true;
}

void MessageUpdate::fill(content::MessageUpdate &update) const
{
    for (const QJsonValue &element : m_messages) {
        content::Message message = content::Message::createEmptyMessage();
        if (jsonobject::Message::parseAndFind(element.toObject(), message))
            update.messages.append(message);
    }
}

} // namespace structure::request
