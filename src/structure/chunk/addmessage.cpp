#include "structure/chunk/addmessage.h"

#include "constants/chunk.h"
#include "constants/k7pluginadswiss.h"
#include "structure/jsonobject/message.h"

#include <QJsonObject>
#include <QLoggingCategory>

namespace structure::chunk {

namespace envelope = constants::structure::chunk;
namespace words = constants::structure::chunk::addmessage;

const QLoggingCategory &AddMessageLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.k7.common.structure.chunk.addmessage");
    return category;
}

QJsonValue AddMessage::create(const content::Message &message)
{
    return QJsonObject{{envelope::sourceName(), constants::k7PluginADSwiss::name()},
                       {envelope::exchangeKeyName(), words::exchangeValue()},
                       {words::messagesKeyName(), QJsonArray{jsonobject::Message::create(message)}}};
}

bool AddMessage::parse(const QJsonValue &chunk)
{
    if (!chunk.isObject())
        return false;
    const QJsonObject object = chunk.toObject();
    if (object.value(envelope::exchangeKeyName()) != QJsonValue(words::exchangeValue()))
        return false;
    const QJsonValue messages = object.value(words::messagesKeyName());
    if (!messages.isArray()) {
        qCDebug(AddMessageLogging) << "Expected message array in chunk was not an array: " << messages;
        return false;
    }
    m_messages = messages.toArray();
    return true;
}

void AddMessage::fill(QVector<content::Message> &messages) const
{
    for (const QJsonValue &element : m_messages) {
        content::Message message = content::Message::createEmptyMessage();
        if (element.isObject() && jsonobject::Message::parseAndFind(element.toObject(), message))
            messages.append(message);
    }
}

} // namespace structure::chunk
