#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

#include <algorithm>

/// What a write leaves of a context and tells of it, worked out on text: each member is the one spelling that
/// its value has in plainText().
using PlainMembers = QMap<QString, QString>;

/// A value with its keys in ascending order and its numbers to the last bit.
inline QString plainText(const QJsonValue &value)
{
    QStringList parts;
    switch (value.type()) {
    case QJsonValue::Object: {
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            parts.append(plainText(it.key()) + QLatin1Char(':') + plainText(it.value()));
        std::sort(parts.begin(), parts.end());
        return QLatin1Char('{') + parts.join(QLatin1Char(',')) + QLatin1Char('}');
    }
    case QJsonValue::Array: {
        const QJsonArray array = value.toArray();
        for (const QJsonValue &element : array)
            parts.append(plainText(element));
        return QLatin1Char('[') + parts.join(QLatin1Char(',')) + QLatin1Char(']');
    }
    case QJsonValue::String: {
        const QString text = value.toString();
        return QString::number(text.size()) + QLatin1Char('"') + text;
    }
    // Zero has no sign here: the two are equal.
    case QJsonValue::Double: return QString::number(value.toDouble() + 0.0, 'g', 17);
    case QJsonValue::Bool: return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QJsonValue::Null: return QStringLiteral("null");
    case QJsonValue::Undefined: break;
    }
    return {};
}

inline PlainMembers plainMembers(const QJsonObject &object)
{
    PlainMembers members;
    for (auto it = object.begin(); it != object.end(); ++it)
        members.insert(it.key(), plainText(it.value()));
    return members;
}

/// False for what Qt neither finds again nor reads back for certain: keys that come twice or that it sorts by
/// how the document spells them, and text that begins with a byte order mark.
inline bool isPlain(const QJsonValue &value)
{
    const auto isMarked = [](const QString &text) { return text.startsWith(QChar(QChar::ByteOrderMark)); };
    if (value.isString())
        return !isMarked(value.toString());
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        return std::all_of(array.begin(), array.end(), [](const QJsonValue &v) { return isPlain(v); });
    }
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        const bool isAscending = it == object.begin() || (it - 1).key() < it.key();
        if (!isAscending || isMarked(it.key()) || object.constFind(it.key()) != it || !isPlain(it.value()))
            return false;
    }
    return true;
}

/// Whether Qt and the text agree on what differs between two objects. They do not on integers beyond 2^53, on
/// 1 and 1.0 within a value, and the like.
inline bool isCertain(const QJsonObject &one, const QJsonObject &other)
{
    const PlainMembers ones = plainMembers(one);
    const PlainMembers others = plainMembers(other);
    const QStringList keys = one.keys() + other.keys();
    return (ones != others) == (one != other)
           && std::all_of(keys.begin(), keys.end(), [&](const QString &key) {
                  return (ones.value(key) != others.value(key)) == (one.value(key) != other.value(key));
              });
}

/// What stores `next` where `old` was, null if nothing was: what is then stored, and the changed data.
struct PlainWrite
{
    PlainWrite(const QJsonValue &old, const PlainMembers &next)
        : stored(next)
        , changed(next)
        , isSignalled(true)
    {
        if (old.isNull())
            return;
        const PlainMembers before = plainMembers(old.toObject());
        for (const char *derived : {"matchingItems", "actionRequests", "inbox", "attachments"})
            changed.remove(QLatin1String(derived));
        for (const QString &key : changed.keys()) {
            if (before.value(key, QStringLiteral("null")) == next.value(key))
                changed.remove(key);
        }
        if (!changed.isEmpty())
            stored.insert(QStringLiteral("matchingItems"), QStringLiteral("[]"));
        isSignalled = stored != before;
    }

    PlainMembers stored;
    PlainMembers changed;
    bool isSignalled;
};

inline PlainMembers plainMerge(PlainMembers members, const PlainMembers &update)
{
    for (auto it = update.begin(); it != update.end(); ++it)
        members.insert(it.key(), it.value());
    return members;
}

/// Whether a context holds what a filter asks for.
inline bool plainlyOverlap(const QJsonValue &filter, const QJsonValue &context)
{
    if (filter.isNull() || context.isNull() || filter.type() != context.type())
        return filter.isNull() && context.isNull();
    if (filter.isArray()) {
        const QJsonArray wanted = filter.toArray();
        const QJsonArray present = context.toArray();
        return std::all_of(wanted.begin(), wanted.end(), [&](const QJsonValue &a) {
            return std::any_of(present.begin(), present.end(),
                               [&](const QJsonValue &b) { return plainlyOverlap(a, b); });
        });
    }
    if (!filter.isObject())
        return plainText(filter) == plainText(context);
    const QJsonObject wanted = filter.toObject();
    for (const QString &key : wanted.keys()) {
        const QJsonValue present = context.toObject().value(key);
        if (present.isNull() || present.isUndefined())
            return present.isNull() && wanted.value(key).isNull();
        if (!plainlyOverlap(wanted.value(key), present))
            return false;
    }
    return true;
}

/// The resources of a bundle in front of those that are stored, each element told by its "id" alone.
inline QJsonArray plainlyGathered(const QJsonObject &bundle, const QJsonArray &stored)
{
    const auto idOf = [](const QJsonValue &v) { return v.toObject().value(QLatin1String("id")).toString(); };
    QJsonArray gathered;
    for (const QJsonValue &entry : bundle.value(QLatin1String("entry")).toArray()) {
        const QJsonObject resource = entry.toObject().value(QLatin1String("resource")).toObject();
        if (!resource.isEmpty())
            gathered.append(resource);
    }
    for (const QJsonValue &element : stored) {
        const bool isThere = std::any_of(gathered.begin(), gathered.end(),
                                         [&](const QJsonValue &v) { return idOf(v) == idOf(element); });
        if (!isThere)
            gathered.append(element);
    }
    return gathered;
}
