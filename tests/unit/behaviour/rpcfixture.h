#pragma once

#include "contextstore.h"
#include "logcapture.h"

#include <QtTest>

/// A request whose answer goes to "answers", with `body` as JSON text; no "body" if that is empty.
inline QJsonValue request(const QString &exchange, const QString &body)
{
    QJsonObject chunk{{QStringLiteral("exchange"), exchange},
                      {QStringLiteral("properties"),
                       QJsonObject{{QStringLiteral("reply-to"), QStringLiteral("123456789answers")},
                                   {QStringLiteral("correlation-id"), 7}}}};
    if (!body.isEmpty())
        chunk.insert(QStringLiteral("body"), json(body));
    return chunk;
}

/// The answer to such a request, as JSON text.
inline QString answer(const QString &body)
{
    return QStringLiteral(R"({"body":%1,"exchange":"answers","properties":{"correlation-id":7}})").arg(body);
}

/// What has been published, as JSON texts.
inline QStringList published(const ContextStore &store)
{
    QStringList texts;
    for (const QJsonValue &chunk : store.bus.chunks)
        texts.append(jsonText(chunk));
    return texts;
}

/// Ids and values of all contexts, as JSON text; reads no unknown id.
inline QString contents(ContextStore &store)
{
    QJsonObject object;
    const QStringList ids = store.contexts.getContextKeys();
    for (const QString &id : ids)
        object.insert(id, store.contexts.getContext(id));
    return jsonText(object);
}

/// Gives the behaviour chunks that are not for it, each of which would otherwise be valid.
template <typename Behaviour>
void checkIgnoresOtherChunks(const QString &exchange, const QString &body, const char *category)
{
    const QString envelope = QStringLiteral(R"({%1:%2,"body":%3})");
    const QString key = QStringLiteral("\"exchange\"");
    const QString valid = QStringLiteral("\"%1\"").arg(exchange);
    const QStringList chunks{
        envelope.arg(key, QStringLiteral("5"), body),
        envelope.arg(key, QStringLiteral("null"), body),
        envelope.arg(key, QStringLiteral("[%1]").arg(valid), body),
        envelope.arg(key, QLatin1Char('"') + exchange.left(1).toUpper() + exchange.mid(1) + QLatin1Char('"'),
                     body),
        envelope.arg(key, QLatin1Char('"') + exchange + QLatin1String(" \""), body),
        envelope.arg(key, QStringLiteral("\"vexo-context-add-file\""), body),
        envelope.arg(QStringLiteral("\"Exchange\""), valid, body),
        QLatin1Char('[') + envelope.arg(key, valid, body) + QLatin1Char(']'),
        valid,
        QStringLiteral("{}"),
        QStringLiteral("5"),
        QStringLiteral("true"),
        QStringLiteral("null"),
    };
    const LogCapture log(category);
    ContextStore store;
    store.contexts.setContext(QStringLiteral("a"), json(QStringLiteral(R"({"x":1})")));
    store.bus.chunks.clear();
    Behaviour behaviour(store.proxy, store.contexts);
    for (const QString &chunk : chunks) {
        behaviour.onChunk(json(chunk));
        QVERIFY2(store.bus.chunks.isEmpty(), qPrintable(chunk));
        QCOMPARE(contents(store), QStringLiteral(R"({"a":{"x":1}})"));
    }
    behaviour.onChunk(QJsonValue(QJsonValue::Undefined));
    QVERIFY(store.bus.chunks.isEmpty());
    QVERIFY(log.lines().isEmpty());

    behaviour.onChunk(json(envelope.arg(key, valid, body)));
    QVERIFY(!store.bus.chunks.isEmpty());
}
