#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

/// What the chunks that announce a context have in common: `{"exchange": exchange, "data": {key: id}}`.
namespace structure::chunk::contextannouncement {

[[nodiscard]] QJsonValue create(const QString &exchange, const QString &key, const QString &id);

/// Whether `chunk` has this exchange and an object as "data", which `data` then becomes.
[[nodiscard]] bool parse(const QJsonValue &chunk, const QString &exchange, QJsonObject &data);

/// Gives the id. False, and `id` as it was, if what stands under `key` is no string.
[[nodiscard]] bool find(const QJsonObject &data, const QString &key, QString &id);

} // namespace structure::chunk::contextannouncement
