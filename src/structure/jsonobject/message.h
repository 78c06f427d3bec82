#pragma once

#include "structure/content/message.h"

#include <QJsonObject>

class QLoggingCategory;

namespace structure::jsonobject {

/**
 * A message as a JSON object:
 *
 *     {"id": "…", "title": "…", "subtitle": "…", "text": "…", "timestamp": "2026-01-31T12:00:00",
 *      "type": "customlifetime", "lifetime": "3600"}
 *
 * "id", "title" and "text" are required. "type" is "momentary", "customlifetime" or "persistent"; "lifetime",
 * a text of seconds, goes with "customlifetime" only. For the form of "timestamp" see qstring::Timestamp.
 */
class Message final
{
public:
    /// Writes a momentary message without "type", and texts also where they are empty.
    [[nodiscard]] static QJsonObject create(const content::Message &message);

    /// Fills `message`, a fresh one. False if "id", "title" or "text" is no string, with what stands before
    /// it in this order already filled; empty strings are fine. Whatever else cannot be used leaves its
    /// default.
    [[nodiscard]] static bool parseAndFind(const QJsonObject &object, content::Message &message);
};

/// The category "ch.tessel.vexo.vexo-service.context.util.structure.jsonobject.message".
const QLoggingCategory &MessageLogging();

} // namespace structure::jsonobject
