#include "addmessagesbehaviour.h"

#include "messageservice.h"
#include "structure/chunk/addmessage.h"

#include <QLoggingCategory>

const QLoggingCategory &addMessagesBehaviourLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.addmessagesbehaviour");
    return category;
}

AddMessagesBehaviour::AddMessagesBehaviour(MessageService &messageService)
    : m_messageService(messageService)
{
    qCDebug(addMessagesBehaviourLogging) << "Add messages behaviour created";
}

void AddMessagesBehaviour::onChunk(const QJsonValue &chunk)
{
    structure::chunk::AddMessage addMessage;
    if (!addMessage.parse(chunk))
        return;
    qCDebug(addMessagesBehaviourLogging) << "Chunk received";
    QVector<structure::content::Message> messages;
    addMessage.fill(messages);
    for (const structure::content::Message &message : qAsConst(messages))
        m_messageService.addMessage(message);
}
