#pragma once

#include "structure/content/message.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QVector>

class QLoggingCategory;

namespace structure::chunk {

/**
 * The chunk that brings messages for the user, with jsonobject::Message as their form:
 * `{"source": "k7-plugin-adswiss", "exchange": "vexo-context-add-messages", "messages": [{"id": …}, …]}`.
 *
 * To read one, parse() the chunk and, if that is true, fill(). Any thread, one object a chunk.
 */
class AddMessage final
{
public:
    /// A chunk with this one message. Deliberately from the same source, whoever calls.
    [[nodiscard]] static QJsonValue create(const content::Message &message);

    /// Whether `chunk` is of this kind; its messages are then kept. "source" is not looked at. Tells at debug
    /// level if only the "messages" are no array.
    [[nodiscard]] bool parse(const QJsonValue &chunk);

    /// Appends the messages in order; whatever is none is passed over.
    void fill(QVector<content::Message> &messages) const;

private:
    QJsonArray m_messages;
};

/// The category "ch.tessel.vexo.k7.common.structure.chunk.addmessage".
const QLoggingCategory &AddMessageLogging();

} // namespace structure::chunk
