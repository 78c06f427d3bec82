#pragma once

#include "structure/content/message.h"

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>

class QJsonDocument;
class QLoggingCategory;

namespace structure::content {
struct MessageConsumption;
} // namespace structure::content

/**
 * Keeps the messages for the user under their identifiers, in memory only, until a client reports that it has
 * dealt with them. Takes any message and never ends one by itself, whatever lifetime the message asks for.
 * Event-loop thread only; may be re-entered from a slot.
 */
class MessageService final : public QObject
{
    Q_OBJECT

public:
    MessageService();
    ~MessageService() override;
    Q_DISABLE_COPY_MOVE(MessageService)

    [[nodiscard]] bool hasMessages() const;

    /// Adds the message, in place of one of the same identifier, and tells with messagesAvailable().
    void addMessage(structure::content::Message message);

    /// Removes the messages that the report names; unknown identifiers are passed over.
    void applyMessageConsumption(const structure::content::MessageConsumption &consumption);

    /// All messages as a JSON array (structure::request::MessageUpdate), in no order that has a meaning.
    /// Consumes nothing.
    [[nodiscard]] QJsonDocument createMessageUpdate() const;

    /// That as indented JSON. The text is kept until the messages change, so that all polls share it which
    /// one message wakes, or which come while nobody consumes it.
    [[nodiscard]] QByteArray indentedUpdate();

Q_SIGNALS:
    /// A message has been added or replaced.
    void messagesAvailable();

private:
    // The two hold the same identifiers at any time.
    QSet<QString> m_outstandingIdentifiers;
    QMap<QString, structure::content::Message> m_messages;
    QByteArray m_indentedUpdate; ///< null if it is to be made anew
};

/// The category "ch.tessel.vexo-service.context.messageservice".
const QLoggingCategory &MessageServiceLogging();
