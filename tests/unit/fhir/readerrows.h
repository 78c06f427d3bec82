#pragma once

#include "fhirdump.h"
#include "fullvalues.h"
#include "jsontext.h"

#include <QtTest>

/// Rows for a reader: the object that it reads into a full value, and what that changes against `{}`, as
/// fields of the dump.
inline void addReaderColumns()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QJsonObject>("change");
}

inline void addReaderRow(const char *name, const QString &object, const QString &change)
{
    QTest::newRow(name) << json(object).toObject() << json(change).toObject();
}

/// A row for a value of each JSON type but `right` under the key.
inline void addWrongTypeRows(const QString &key, QJsonValue::Type right,
                             const QString &change = QStringLiteral("{}"))
{
    const char *const values[] = {
        "null",
        "true",
        "5",
        "\"x\"",
        R"([{"code":"x","value":"x","url":"x"},"x"])",
        R"({"code":"x","value":"x","url":"x"})",
    };
    for (const char *text : values) {
        const QJsonValue value = json(QString::fromLatin1(text));
        if (value.type() != right)
            QTest::addRow("%s: %s", qPrintable(key), text)
                << QJsonObject{{key, value}} << json(change).toObject();
    }
}

/// `object` with the fields of `change` in place of its own.
inline QJsonObject changed(const QJsonObject &object, const QJsonObject &change)
{
    QJsonObject result = object;
    for (auto field = change.begin(); field != change.end(); ++field)
        result.insert(field.key(), field.value());
    return result;
}

/// Reads `object` into `value` and compares with what `{}` leaves of it, `afterNothing`, and the row's
/// change.
template <typename Reader, typename Value>
void compareRead(Value value, QJsonObject object, const QJsonObject &afterNothing, const QJsonObject &change)
{
    Reader(value, object).parse();
    QCOMPARE(jsonText(dump(value)), jsonText(changed(afterNothing, change)));
}
