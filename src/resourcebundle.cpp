#include "resourcebundle.h"

static QString idOf(const QJsonValue &resource)
{
    return resource[QLatin1String("id")].toString();
}

ResourceBundle::ResourceBundle(const QJsonObject &bundle)
{
    const QJsonArray entries = bundle.value(QLatin1String("entry")).toArray();
    m_entryCount = entries.size();
    for (const QJsonValue &entry : entries) {
        const QJsonValue value = entry[QLatin1String("resource")];
        if (value.isUndefined())
            continue;
        const QJsonObject resource = value.toObject();
        if (!resource.contains(QLatin1String("id")))
            m_resourcesWithoutId.append(resource);
        if (resource.isEmpty())
            continue;
        m_resources.append(resource);
        m_ids.insert(idOf(resource));
    }
}

QJsonArray ResourceBundle::mergedWith(const QJsonArray &stored) const
{
    QJsonArray merged = m_resources;
    QSet<QString> storedIds;
    for (const QJsonValue &element : stored) {
        const QString id = idOf(element);
        if (m_ids.contains(id) || storedIds.contains(id))
            continue;
        storedIds.insert(id);
        merged.append(element);
    }
    return merged;
}
