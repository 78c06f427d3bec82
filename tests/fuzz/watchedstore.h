#pragma once

#include "cardservice.h"
#include "chunkbehaviourfactory.h"
#include "chunklistener.h"
#include "chunkserviceproxy.h"
#include "contextserviceprobe.h"
#include "fileservice.h"
#include "messageservice.h"
#include "plaincontext.h"
#include "recordingchunkservice.h"
#include "require.h"

#include <QVector>

#include <optional>

/// A store with all its behaviours, of which begin() keeps what is there before a step. Then the step tells
/// what it is to bring about, and settle() requires that of what is stored, published and signalled.
class WatchedStore final
{
public:
    struct Signal
    {
        QString id;
        QJsonObject value;
    };

    WatchedStore()
    {
        m_proxy.setChunkService(&m_bus);
        contexts.setBehaviours(
            ChunkBehaviourFactory(m_cards, m_proxy, contexts, messages).createBehaviours());
        QObject::connect(&contexts, &ContextService::contextChanged, &contexts,
                         [this](const QString &id, const QJsonValue &value) {
                             raised.append({id, value.toObject()});
                         });
    }
    Q_DISABLE_COPY_MOVE(WatchedStore)

    /// Leaves no context and no file.
    void reset()
    {
        for (const QString &id : contexts.getContextKeys())
            contexts.deleteContext(id);
        // In place, where those who keep a reference find them.
        files.emplace();
    }

    /// A step follows that sends `sent`. Only if that and all contexts are plain, anything is required of it.
    void begin(const QJsonObject &sent = {})
    {
        m_before = snapshot();
        m_left = m_before;
        m_writes.clear();
        m_bus.chunks.clear();
        raised.clear();
        m_isPlain = isPlain(sent) && std::all_of(m_before.begin(), m_before.end(), [](const QJsonValue &v) {
                        return isPlain(v);
                    });
    }

    void deliver(const char *exchange, const QJsonObject &body)
    {
        const QJsonObject properties{{QStringLiteral("reply-to"), QStringLiteral("123456789here")}};
        m_listener.onChunkUpdated(QJsonObject{{QStringLiteral("exchange"), QLatin1String(exchange)},
                                              {QStringLiteral("properties"), properties},
                                              {QStringLiteral("body"), body}});
    }

    void expectRead(const QString &id) { m_left.insert(id, was(id)); }
    void expectRemoval(const QString &id) { m_left.remove(id); }
    /// In the order of the writes, at most one for each context.
    void expectWrite(const QString &id, const PlainMembers &next)
    {
        m_writes.append({id, next});
        m_left.remove(id);
    }
    void expectUpdate(const QString &id, const PlainMembers &update)
    {
        expectWrite(id, plainMerge(plainMembers(was(id).toObject()), update));
    }

    /// Gives the chunks that do not tell of changes. Null if nothing is certain.
    bool settle()
    {
        const Contexts now = snapshot();
        others.clear();
        QVector<QJsonObject> changes;
        for (const QJsonValue &chunk : qAsConst(m_bus.chunks)) {
            const QJsonObject object = chunk.toObject();
            (object.contains(QLatin1String("source")) ? changes : others).append(object);
        }
        if (!m_isPlain)
            return false;
        Contexts left = now;
        QStringList signalled;
        for (const Write &write : qAsConst(m_writes)) {
            const QJsonValue stored = left.take(write.id);
            require(stored.isObject(), "What was written is not there.");
            if (!isPlain(stored) || !isCertain(was(write.id).toObject(), stored.toObject()))
                return false;
            const PlainWrite plain(was(write.id), write.next);
            require(plainMembers(stored.toObject()) == plain.stored, "Another object is stored.");
            if (!plain.changed.isEmpty()) {
                require(!changes.isEmpty(), "A change was not published.");
                requireChange(changes.takeFirst(), write.id, plain);
            }
            if (plain.isSignalled)
                signalled.append(write.id);
        }
        require(left == m_left, "A context has changed that nobody wrote to.");
        require(changes.isEmpty(), "More was published than has changed.");
        QStringList signalledNow;
        for (const Signal &signal : qAsConst(raised))
            signalledNow.append(signal.id);
        require(signalledNow == signalled, "Other changes are signalled.");
        return true;
    }

    /// What is there now, null for nothing. Unlike getContext() it enters nothing.
    [[nodiscard]] QJsonValue stored(const QString &id)
    {
        return contexts.getContextKeys().contains(id) ? contexts.getContext(id) : QJsonValue();
    }
    /// What begin() found, null for nothing.
    [[nodiscard]] QJsonValue was(const QString &id) const { return m_before.value(id, QJsonValue::Null); }
    [[nodiscard]] QStringList idsBefore() const { return m_before.keys(); }
    [[nodiscard]] bool isPlainStep() const { return m_isPlain; }

private:
    using Contexts = QMap<QString, QJsonValue>;
    struct Write
    {
        QString id;
        PlainMembers next;
    };

    Contexts snapshot()
    {
        Contexts found;
        const QStringList ids = contexts.getContextKeys();
        for (const QString &id : ids)
            found.insert(id, contexts.getContext(id));
        require(ContextServiceProbe::lastUse(contexts).keys() == ids,
                "The times of use are those of other contexts.");
        return found;
    }

    static void requireChange(const QJsonObject &chunk, const QString &id, const PlainWrite &plain)
    {
        const QJsonObject event = chunk.value(QLatin1String("data")).toObject();
        require(chunk.size() == 3
                    && chunk.value(QLatin1String("source")) == QLatin1String("k7-plugin-context")
                    && chunk.value(QLatin1String("version")) == QLatin1String("1.1.2") && event.size() == 4
                    && event.value(QLatin1String("event")) == QLatin1String("context-changed")
                    && event.value(QLatin1String("id")) == id,
                "A change is published in another form.");
        require(plainMembers(event.value(QLatin1String("data")).toObject()) == plain.changed
                    && plainMembers(event.value(QLatin1String("context")).toObject()) == plain.stored,
                "Another change is published.");
    }

    RecordingChunkService m_bus;
    ChunkServiceProxy m_proxy;
    CardService m_cards;
    Contexts m_before;
    Contexts m_left;
    QVector<Write> m_writes;
    bool m_isPlain = true;

public:
    std::optional<FileService> files{std::in_place};
    MessageService messages;
    ContextService contexts{m_proxy, *files};
    QVector<Signal> raised; ///< since begin()
    QVector<QJsonObject> others; ///< published since begin() and not about changes

private:
    ChunkListener m_listener{m_cards, contexts};
};
