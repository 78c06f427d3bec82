#pragma once

#include "structure/content/messageconsumption.h"

#include <QJsonArray>

class QJsonDocument;
class QLoggingCategory;

namespace structure::request {

/// A consumption report as JSON: an array of identifiers, `["a", "b"]`. To read one, parse() the document
/// and, if that is true, fill().
class MessageConsumption final
{
public:
    [[nodiscard]] static QJsonDocument create(const content::MessageConsumption &consumption);

    /// Whether `document` is an array, which is then kept.
    [[nodiscard]] bool parse(const QJsonDocument &document);

    /// Appends the texts of the array in order; whatever is no text is passed over.
    void fill(content::MessageConsumption &consumption) const;

private:
    QJsonArray m_identifiers;
};

/// The category "ch.tessel.vexo.vexo-uilib.messageconsummation". Both names are spelled so on purpose.
const QLoggingCategory &MessageConsummationLogging();

} // namespace structure::request
