#include "overlap.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonObject>
#include <QLoggingCategory>

using Logging = const QLoggingCategory &(*)();

static bool overlap(const QJsonValue &filter, const QJsonValue &context, Logging logging);

// Every element of the filter is tried, also after one has failed: each pair of different types is warned of.
static bool overlap(const QJsonArray &filter, const QJsonArray &context, Logging logging)
{
    int found = 0;
    for (const QJsonValue &wanted : filter) {
        for (const QJsonValue &present : context) {
            if (overlap(wanted, present, logging)) {
                ++found;
                break;
            }
        }
    }
    return found == filter.size();
}

static bool overlap(const QJsonValue &filter, const QJsonValue &context, Logging logging)
{
    if (filter.isNull() || context.isNull())
        return filter.isNull() && context.isNull();
    if (filter.type() == context.type()) {
        switch (filter.type()) {
        case QJsonValue::Object: return overlap(filter.toObject(), context.toObject(), logging);
        case QJsonValue::Array: return overlap(filter.toArray(), context.toArray(), logging);
        case QJsonValue::String: return filter.toString() == context.toString();
        case QJsonValue::Bool: return filter.toBool() == context.toBool();
        case QJsonValue::Double: return filter.toDouble() == context.toDouble();
        case QJsonValue::Null:
        case QJsonValue::Undefined: break;
        }
    }
    qCWarning(logging) << "Value type comparison not defined.";
    qCDebug(logging) << filter;
    qCDebug(logging) << context;
    return false;
}

bool overlap(const QJsonObject &filter, const QJsonObject &context, Logging logging)
{
    for (auto it = filter.constBegin(); it != filter.constEnd(); ++it) {
        const QJsonValue wanted = it.value();
        const QJsonValue present = context.value(it.key());
        // Null on both sides deliberately ends the test: the keys after it are not compared.
        if (present.isNull() || present.isUndefined())
            return present.isNull() && wanted.isNull();
        if (!overlap(wanted, present, logging))
            return false;
    }
    return true;
}
