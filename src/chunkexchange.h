#pragma once

#include <QLatin1String>

class QJsonValue;

/// Whether `chunk` is an object whose "exchange" is exactly the text `exchange`. `exchange` is not empty.
[[nodiscard]] bool hasExchange(const QJsonValue &chunk, QLatin1String exchange);
