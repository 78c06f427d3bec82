#include "structure/chunk/newcontext.h"

#include "constants/chunk.h"
#include "constants/k7pluginmediwincb.h"

#include <QLoggingCategory>

namespace structure::chunk {

namespace envelope = constants::structure::chunk;
namespace words = constants::structure::chunk::newcontext;

const QLoggingCategory &NewContextLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo.api.chunk.structure.newcontext");
    return category;
}

QJsonValue NewContext::create(const QJsonObject &context)
{
    const QJsonObject event{{envelope::eventName(), words::eventValue()}, {envelope::dataName(), context}};
    return QJsonObject{{envelope::sourceName(), constants::k7PluginMediWinCB::name()},
                       {envelope::dataName(), event}};
}

bool NewContext::parse(const QJsonValue &chunk)
{
    // What is no object reads as an empty one, and fails at the event.
    const QJsonObject event = chunk.toObject().value(envelope::dataName()).toObject();
    const QJsonValue context = event.value(envelope::dataName());
    if (event.value(envelope::eventName()).toString() != words::eventValue() || !context.isObject())
        return false;
    m_context = context.toObject();
    return true;
}

bool NewContext::find(QJsonObject &context) const
{
    context = m_context;
    return true;
}

} // namespace structure::chunk
