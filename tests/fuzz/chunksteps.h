#pragma once

#include "parkedpolls.h"

inline QJsonObject parsed(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).object();
}

/// What comes over the bus, each as a step: the text is the body of the chunk, and tells the context if it
/// does not.
class ChunkSteps final
{
public:
    /// With debug lines, the log of matching items reads "patient" and so enters it.
    ChunkSteps(WatchedStore &store, ParkedPolls &polls, bool logsDebug)
        : m_store(store)
        , m_polls(polls)
        , m_logsDebug(logsDebug)
    {
    }

    void set(const QString &id, const QByteArray &text)
    {
        QJsonObject body = parsed(text);
        if (!body.contains(QLatin1String("_id")))
            body.insert(QStringLiteral("_id"), id);
        const QString target = body.value(QLatin1String("_id")).toString();
        m_store.begin(body);
        m_store.deliver("vexo-context-rpc-set", body);
        body.remove(QStringLiteral("_id"));
        if (!target.isEmpty())
            m_store.expectWrite(target, plainMembers(body));
        if (m_polls.settle())
            require(m_store.others.size() == (target.isEmpty() ? 0 : 1), "A set is answered otherwise.");
    }

    void update(const QString &id, const QByteArray &text)
    {
        QJsonObject body = parsed(text);
        if (!body.contains(QLatin1String("_id")))
            body.insert(QStringLiteral("_id"), id);
        const QString target = body.value(QLatin1String("_id")).toString();
        m_store.begin(body);
        m_store.deliver("vexo-context-rpc-update", body);
        body.remove(QStringLiteral("_id"));
        QStringList targets{target};
        if (target == QLatin1String("*"))
            targets = m_store.idsBefore();
        targets.removeAll(QString());
        for (const QString &each : qAsConst(targets))
            m_store.expectUpdate(each, plainMembers(body));
        if (!m_polls.settle())
            return;
        require(m_store.others.size() == (target.isEmpty() ? 0 : 1), "An update is answered otherwise.");
        if (!target.isEmpty())
            require(plainText(m_store.others.constFirst().value(QLatin1String("body"))) == plainText(body),
                    "An update is answered with another body.");
    }

    void addMatchingItems(const QByteArray &text)
    {
        addResources("vexo-context-add-matching-items", QStringLiteral("matchingItems"), parsed(text),
                     m_logsDebug);
    }

    void addActionRequests(const QByteArray &text)
    {
        addResources("vexo-context-add-action-requests", QStringLiteral("actionRequests"), parsed(text),
                     false);
    }

    void addFile(const QString &id, const QByteArray &text)
    {
        QJsonObject body = parsed(text);
        body.insert(QStringLiteral("context"), id);
        const QString name = body.value(QLatin1String("filename")).toString();
        const QByteArray content =
            QByteArray::fromBase64(body.value(QLatin1String("content")).toString().toLocal8Bit());
        m_store.begin(body);
        const bool isThere = m_store.files->hasFile(id + QLatin1Char('_') + name);
        m_store.deliver("vexo-context-add-file", body);
        const QJsonObject stored = m_store.stored(id).toObject();
        if (!isThere) {
            // The entry is taken from what is stored, and looked at by itself.
            const QJsonObject was = m_store.was(id).toObject();
            QJsonArray entries = was.value(QLatin1String("attachments")).toArray();
            const QJsonObject entry = stored.value(QLatin1String("attachments")).toArray().last().toObject();
            entries.append(entry);
            PlainMembers update{{QStringLiteral("attachments"), plainText(entries)}};
            if (!was.contains(QLatin1String("_id")))
                update.insert(QStringLiteral("_id"), plainText(id));
            m_store.expectUpdate(id, update);
            const QJsonValue url = QJsonValue(
                entry)[QLatin1String("content")][QLatin1String("attachment")][QLatin1String("url")];
            require(url == QLatin1String("/context/") + id + QLatin1String("/file/") + name,
                    "A file is described otherwise.");
        }
        m_polls.settle();
        require(m_store.contexts.getFile(id, name) == content, "Another file is stored.");
    }

    /// The text is the name of the file.
    void removeFile(const QString &id, const QByteArray &name)
    {
        const QJsonArray names{QString::fromUtf8(name)};
        m_store.begin();
        m_store.deliver("vexo-context-attachments-remove",
                        {{QStringLiteral("context"), id}, {QStringLiteral("attachments"), names}});
        const QString key = QStringLiteral("attachments");
        const QJsonArray kept = m_store.stored(id).toObject().value(key).toArray();
        m_store.expectUpdate(id, {{key, plainText(kept)}});
        // Whatever a URL is taken for, what is kept stays in its order.
        int found = 0;
        for (const QJsonValue &entry : m_store.was(id).toObject().value(key).toArray()) {
            if (found < kept.size() && kept.at(found) == entry)
                ++found;
        }
        require(found == kept.size(), "Other attachments are there.");
        m_polls.settle();
    }

private:
    void addResources(const char *exchange, const QString &key, const QJsonObject &body, bool readsPatient)
    {
        m_store.begin(body);
        m_store.deliver(exchange, body);
        const bool hasFilter = body.contains(QLatin1String("filter"));
        const QStringList ids = hasFilter && m_store.isPlainStep() ? m_store.idsBefore() : QStringList();
        for (const QString &id : ids) {
            QJsonObject context = m_store.was(id).toObject();
            const QJsonArray stored = context.value(key).toArray();
            if (readsPatient && !context.contains(QLatin1String("patient")))
                context.insert(QStringLiteral("patient"), QJsonValue::Null);
            if (!plainlyOverlap(body.value(QLatin1String("filter")).toObject(), context))
                continue;
            const QJsonArray gathered = plainlyGathered(body.value(key).toObject(), stored);
            m_store.expectUpdate(id, {{key, plainText(gathered)}});
        }
        m_polls.settle();
        require(m_store.others.isEmpty(), "Resources are answered.");
    }

    WatchedStore &m_store;
    ParkedPolls &m_polls;
    bool m_logsDebug;
};
