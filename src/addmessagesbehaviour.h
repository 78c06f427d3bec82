#pragma once

#include "chunkbehaviour.h"

class MessageService;
class QLoggingCategory;

/// "vexo-context-add-messages" (structure::chunk::AddMessage): queues the messages of the chunk in order.
class AddMessagesBehaviour final : public ChunkBehaviour
{
public:
    explicit AddMessagesBehaviour(MessageService &messageService);

    void onChunk(const QJsonValue &chunk) override;

private:
    MessageService &m_messageService;
};

/// The category "ch.tessel.vexo-service.context.addmessagesbehaviour".
const QLoggingCategory &addMessagesBehaviourLogging();
