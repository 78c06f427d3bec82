#include "measuredstore.h"

MeasuredStore::MeasuredStore(int contextCount)
{
    m_proxy.setChunkService(&m_bus);
    for (int number = 0; number < contextCount; ++number)
        m_contexts.setContext(id(number), context(number));
}

QString MeasuredStore::id(int number)
{
    return QString::number(number);
}

QJsonObject MeasuredStore::context(int number)
{
    const QJsonObject patient{{QStringLiteral("id"), QStringLiteral("patient-%1").arg(number)},
                              {QStringLiteral("gender"), QStringLiteral("female")},
                              {QStringLiteral("birthDate"), QStringLiteral("1970-01-01")}};
    QJsonObject context{
        {QStringLiteral("_id"), id(number)},
        {QStringLiteral("patient"), patient},
        {QStringLiteral("tags"), QJsonArray{QStringLiteral("a"), QStringLiteral("b"), number}}};
    for (int field = 0; field < 10; ++field)
        context.insert(QStringLiteral("field-%1").arg(field), QString(70, QLatin1Char('x')));
    return context;
}

QJsonArray MeasuredStore::resources(int first, int count)
{
    QJsonArray resources;
    for (int number = first; number < first + count; ++number) {
        resources.append(QJsonObject{{QStringLiteral("id"), QStringLiteral("resource-%1").arg(number)},
                                     {QStringLiteral("resourceType"), QStringLiteral("Observation")},
                                     {QStringLiteral("status"), QStringLiteral("final")},
                                     {QStringLiteral("value"), number}});
    }
    return resources;
}
