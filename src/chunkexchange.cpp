#include "chunkexchange.h"

#include <QJsonValue>

bool hasExchange(const QJsonValue &chunk, QLatin1String exchange)
{
    return chunk[QLatin1String("exchange")].toString() == exchange;
}
