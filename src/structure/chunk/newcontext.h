#pragma once

#include <QJsonObject>
#include <QJsonValue>

class QLoggingCategory;

namespace structure::chunk {

/**
 * The chunk with which another plug-in announces a context that is to be made:
 * `{"source": "k7-plugin-mediwin-cb", "data": {"event": "new-context", "data": {…}}}`.
 *
 * To read one, parse() the chunk and, if that is true, find() the context. Any thread, one object a chunk.
 */
class NewContext final
{
public:
    /// A chunk with this context. Deliberately from the same source, whoever calls.
    [[nodiscard]] static QJsonValue create(const QJsonObject &context);

    /// Whether `chunk` is of this kind; its context is then kept. "exchange" and "source" are not looked at.
    [[nodiscard]] bool parse(const QJsonValue &chunk);

    /// Gives the context, which may be empty. Always true.
    [[nodiscard]] bool find(QJsonObject &context) const;

private:
    QJsonObject m_context;
};

/// The category "ch.tessel.vexo.api.chunk.structure.newcontext".
const QLoggingCategory &NewContextLogging();

} // namespace structure::chunk
