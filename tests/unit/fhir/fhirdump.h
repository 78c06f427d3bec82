#pragma once

#include "fhir/stu3/documentreference.h"

#include <QJsonArray>
#include <QJsonObject>

/// Every field of a value as JSON under the name of its getter, empty fields included; a null time as null.
/// @{
inline QJsonValue dump(const QDateTime &time)
{
    if (time.isNull())
        return {};
    return time.isValid() ? time.toString(Qt::ISODateWithMs) : QStringLiteral("invalid");
}

inline QJsonObject dump(const domain::Coding &coding)
{
    return {{QStringLiteral("system"), coding.system()},
            {QStringLiteral("version"), coding.version()},
            {QStringLiteral("code"), coding.code()},
            {QStringLiteral("display"), coding.display()},
            {QStringLiteral("userSelected"), coding.userSelected()}};
}

inline QJsonObject dump(const domain::CodableConcept &type)
{
    return {{QStringLiteral("coding"), dump(type.coding())}, {QStringLiteral("text"), type.text()}};
}

inline QJsonObject dump(const domain::Period &period)
{
    return {{QStringLiteral("start"), dump(period.start())}, {QStringLiteral("end"), dump(period.end())}};
}

inline QJsonObject dump(const domain::Identifier &identifier)
{
    return {{QStringLiteral("use"), identifier.use()},
            {QStringLiteral("type"), dump(identifier.type())},
            {QStringLiteral("system"), identifier.system()},
            {QStringLiteral("value"), identifier.value()},
            {QStringLiteral("period"), dump(identifier.period())}};
}

inline QJsonObject dump(const domain::Attachment &attachment)
{
    return {{QStringLiteral("contentType"), attachment.contentType()},
            {QStringLiteral("language"), attachment.language()},
            {QStringLiteral("data"), QString::fromLatin1(attachment.data())},
            {QStringLiteral("url"), attachment.url()},
            {QStringLiteral("size"), attachment.size()},
            {QStringLiteral("hash"), QString::fromLatin1(attachment.hash())},
            {QStringLiteral("title"), attachment.title()},
            {QStringLiteral("creation"), dump(attachment.creation())}};
}

inline QJsonObject dump(const domain::DocumentReference::Content &content)
{
    return {{QStringLiteral("attachment"), dump(content.attachment())},
            {QStringLiteral("coding"), dump(content.coding())}};
}

template <typename Value>
QJsonArray dump(const QVector<Value> &values)
{
    QJsonArray array;
    for (const Value &value : values)
        array.append(dump(value));
    return array;
}

inline QJsonObject dump(const domain::Meta &meta)
{
    return {{QStringLiteral("versionId"), meta.versionId()},
            {QStringLiteral("lastUpdated"), dump(meta.lastUpdated())},
            {QStringLiteral("profile"), meta.profile()},
            {QStringLiteral("security"), dump(meta.security())},
            {QStringLiteral("tag"), dump(meta.tag())}};
}

inline QJsonObject dump(const domain::Resource &resource)
{
    return {{QStringLiteral("resourceType"), static_cast<int>(resource.resourceType())},
            {QStringLiteral("id"), resource.id()},
            {QStringLiteral("meta"), dump(resource.meta())},
            {QStringLiteral("implicitRules"), resource.implicitRules()},
            {QStringLiteral("language"), resource.language()}};
}

inline QJsonObject dump(const domain::DocumentReference &reference)
{
    QJsonObject object = dump(static_cast<const domain::Resource &>(reference));
    object.insert(QStringLiteral("identifier"), dump(reference.identifier()));
    object.insert(QStringLiteral("status"), reference.status());
    object.insert(QStringLiteral("type"), dump(reference.type()));
    object.insert(QStringLiteral("content"), dump(reference.content()));
    return object;
}
/// @}
