#include "messageservice.h"

#include "structure/content/messageconsumption.h"
#include "structure/content/messageupdate.h"
#include "structure/request/messageupdate.h"

#include <QJsonDocument>
#include <QLoggingCategory>

#include <utility>

using structure::content::Message;

const QLoggingCategory &MessageServiceLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.messageservice");
    return category;
}

MessageService::MessageService() = default;

MessageService::~MessageService() = default;

bool MessageService::hasMessages() const
{
    return !m_messages.isEmpty();
}

void MessageService::addMessage(Message message)
{
    qCDebug(MessageServiceLogging) << "Adding message with title " << message.title();
    const QString identifier = message.identifier();
    m_outstandingIdentifiers.insert(identifier);
    m_messages[identifier] = std::move(message);
    m_indentedUpdate.clear();
    Q_EMIT messagesAvailable();
}

void MessageService::applyMessageConsumption(const structure::content::MessageConsumption &consumption)
{
    for (const QString &identifier : consumption.identifiers) {
        m_outstandingIdentifiers.remove(identifier);
        m_messages.remove(identifier);
    }
    m_indentedUpdate.clear();
}

QJsonDocument MessageService::createMessageUpdate() const
{
    structure::content::MessageUpdate update;
    update.messages.reserve(m_outstandingIdentifiers.size());
    for (const QString &identifier : m_outstandingIdentifiers) {
        const auto message = m_messages.constFind(identifier);
        if (message != m_messages.constEnd())
            update.messages.append(*message);
    }
    return structure::request::MessageUpdate::create(update);
}

QByteArray MessageService::indentedUpdate()
{
    if (m_indentedUpdate.isNull())
        m_indentedUpdate = createMessageUpdate().toJson();
    return m_indentedUpdate;
}
