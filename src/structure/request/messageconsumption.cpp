#include "structure/request/messageconsumption.h"

#include <QJsonDocument>
#include <QLoggingCategory>

namespace structure::request {

const QLoggingCategory &MessageConsummationLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.vexo-uilib.messageconsummation");
    return category;
}

QJsonDocument MessageConsumption::create(const content::MessageConsumption &consumption)
{
    QJsonArray identifiers;
    for (const QString &identifier : consumption.identifiers)
        identifiers.append(identifier);
    return QJsonDocument(identifiers);
}

bool MessageConsumption::parse(const QJsonDocument &document)
{
    if (!document.isArray())
        return false;
    m_identifiers = document.array();
    return true;
}

void MessageConsumption::fill(content::MessageConsumption &consumption) const
{
    for (const QJsonValue &identifier : m_identifiers) {
        if (identifier.isString())
            consumption.identifiers.append(identifier.toString());
    }
}

} // namespace structure::request
