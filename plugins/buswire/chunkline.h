#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <variant>

class QJsonValue;

namespace buswire {

/// Reads one line as a chunk, which is a JSON object. Otherwise gives the reason why it is none.
[[nodiscard]] std::variant<QJsonObject, QString> parseChunk(const QByteArray &line);

/// The chunk, any JSON value, as compact JSON with a line feed behind it.
[[nodiscard]] QByteArray chunkLine(const QJsonValue &chunk);

/// `{"error": reason}` as a line.
[[nodiscard]] QByteArray errorLine(const QString &reason);

} // namespace buswire
