#pragma once

#include "structure/content/messageupdate.h"

#include <QJsonArray>

class QJsonDocument;
class QLoggingCategory;

namespace structure::request {

/// An update as JSON: an array of messages (jsonobject::Message). To read one, parse() the document and, if
/// that is true, fill().
class MessageUpdate final
{
public:
    [[nodiscard]] static QJsonDocument create(const content::MessageUpdate &update);

    /// Whether `document` is an array, which is then kept.
    [[nodiscard]] bool parse(const QJsonDocument &document);

    /// Appends the messages of the array in order; whatever is no message is passed over.
    void fill(content::MessageUpdate &update) const;

private:
    QJsonArray m_messages;
};

/// The category "ch.tessel.vexo.vexo-uilib.util.structure.request.messageupdate".
const QLoggingCategory &MessageUpdateLogging();

} // namespace structure::request
