#pragma once

#include "structure/content/message.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMultiMap>

/// A message with these texts, and momentary.
inline structure::content::Message message(const char *identifier, const char *title = "t",
                                           const char *text = "x")
{
    structure::content::Message message = structure::content::Message::createEmptyMessage();
    message.setIdentifier(QString::fromUtf8(identifier));
    message.setTitle(QString::fromUtf8(title));
    message.setText(QString::fromUtf8(text));
    return message;
}

/// The texts of the messages in an update, by identifier; the order of an update means nothing.
inline QMultiMap<QString, QString> textsOf(const QJsonDocument &update)
{
    QMultiMap<QString, QString> texts;
    const QJsonArray messages = update.array();
    for (const QJsonValue &element : messages)
        texts.insert(element[QLatin1String("id")].toString(), element[QLatin1String("text")].toString());
    return texts;
}
