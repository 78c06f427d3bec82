#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QString>

/// The JSON value that `text` spells, of any type.
inline QJsonValue json(const QString &text)
{
    const QByteArray array = '[' + text.toUtf8() + ']';
    const QJsonDocument document = QJsonDocument::fromJson(array);
    Q_ASSERT(document.array().size() == 1);
    return document.array().at(0);
}

/// Compact JSON of a value of any type; "undefined" for no value.
inline QString jsonText(const QJsonValue &value)
{
    if (value.isUndefined())
        return QStringLiteral("undefined");
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}
