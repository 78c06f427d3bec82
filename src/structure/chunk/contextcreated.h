#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

class QLoggingCategory;

namespace structure::chunk {

/**
 * The chunk that announces a new context:
 * `{"exchange": "context-created", "data": {"contextId": id}}`.
 *
 * To read one, parse() the chunk and, if that is true, find() the id. Any thread, one object a chunk.
 */
class ContextCreated final
{
public:
    [[nodiscard]] static QJsonValue create(const QString &id);

    /// Whether `chunk` is of this kind; its "data" is then kept. The "contextId" is not looked at.
    [[nodiscard]] bool parse(const QJsonValue &chunk);

    /// Gives the id, which may be empty. False, and `id` as it was, if "contextId" is no string.
    [[nodiscard]] bool find(QString &id) const;

private:
    QJsonObject m_data;
};

/// The category "ch.tessel.vexo.api.chunk.structure.contextcreated".
const QLoggingCategory &ContextCreatedLogging();

} // namespace structure::chunk
