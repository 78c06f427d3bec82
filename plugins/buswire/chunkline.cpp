#include "chunkline.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace buswire {

std::variant<QJsonObject, QString> parseChunk(const QByteArray &line)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    if (document.isObject())
        return document.object();
    // Bare values are no documents for Qt, and which error it names for them differs.
    const bool isJson = document.isArray() || !QJsonDocument::fromJson('[' + line + ']').isNull();
    if (isJson)
        return QStringLiteral("A chunk is a JSON object.");
    return QStringLiteral("No JSON: %1 at byte %2.").arg(error.errorString()).arg(error.offset);
}

QByteArray chunkLine(const QJsonValue &chunk)
{
    if (chunk.isObject())
        return QJsonDocument(chunk.toObject()).toJson(QJsonDocument::Compact) + '\n';
    // A document holds no bare value.
    const QByteArray wrapped = QJsonDocument(QJsonArray{chunk}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2) + '\n';
}

QByteArray errorLine(const QString &reason)
{
    return chunkLine(QJsonObject{{QStringLiteral("error"), reason}});
}

} // namespace buswire
