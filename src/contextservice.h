#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QJsonValue>
#include <QMap>
#include <QObject>
#include <QStringList>

#include <vector>

class ChunkBehaviour;
class ChunkServiceProxy;
class FileService;
class QJsonObject;
class QTimer;

namespace domain {
class Coding;
}

/**
 * Keeps the contexts: JSON values under ids, in memory only. Every write ends in setContext(), which decides
 * what counts as a change, tells the bus and wakes those who wait. The bytes of their files are in the
 * FileService; a context holds an entry under "attachments" for each of them, see attachmententry.h.
 *
 * To every reader a JSON null means that there is no such context. Nothing here fails; any string is an id.
 * Event-loop thread only; setContext() may be re-entered from the bus or from a slot.
 */
class ContextService final : public QObject
{
    Q_OBJECT

public:
    /// Keeps both references. They may be gone before the service is destroyed. If the setting
    /// "ch.tessel.vexo-service.context/ttl" is an integer, it is read once, here, and contexts that are not
    /// used for so many minutes, at least one, are deleted.
    ContextService(ChunkServiceProxy &chunkServiceProxy, FileService &fileService);
    ~ContextService() override;
    Q_DISABLE_COPY_MOVE(ContextService)

    /// Where the service gets the bus from; as given to the constructor.
    [[nodiscard]] const ChunkServiceProxy &chunkServiceProxy() const { return m_chunkServiceProxy; }

    /// Takes over the behaviours; those held already are deleted first, from the last to the first.
    void setBehaviours(std::vector<ChunkBehaviour *> &&behaviours);

    /// Makes a new id, 16 letters and digits, and announces it with a "context-created" chunk. The id becomes
    /// a context only with setContext(). Ids come from a generator seeded with the second of the clock, so
    /// that a second call within one second waits, without pause, for the next one.
    [[nodiscard]] QString createContext();

    /// Removes the context and publishes a "context-removed" chunk, also for an unknown id. Files stay.
    void deleteContext(const QString &id);

    /// The context, null for an unknown id. A read counts as use, and deliberately leaves a null entry for an
    /// unknown id, which getContextKeys() then lists.
    [[nodiscard]] QJsonValue getContext(const QString &id);

    /// All ids in ascending order, those of null entries included.
    [[nodiscard]] QStringList getContextKeys() const;

    /// Replaces the context by `value`. If keys other than "matchingItems", "actionRequests", "inbox" and
    /// "attachments" differ, "matchingItems" becomes empty and a "context-changed" chunk goes out; if
    /// anything stored differs, contextChanged() follows. Null deletes the context.
    void setContext(const QString &id, QJsonValue value);

    /// Merges the keys of `update` into the context, one level deep, and stores it with setContext(). An
    /// unknown id takes `update` as it is. Returns the merge as given to setContext(), or null if either side
    /// is not an object, in which case nothing changes.
    QJsonValue updateContext(const QString &id, const QJsonValue &update);

    /// Stores a file and, if there is none of this id and name yet, appends its entry to the context's
    /// "attachments", and the key "_id" if that is missing; an unknown id becomes a context. If there is one
    /// already, its bytes alone are replaced: `coding` is dropped and nobody is told. A context that is no
    /// object takes no entry.
    void addFile(const QString &id, const QString &fileName, const QByteArray &bytes, domain::Coding coding);

    /// Removes every entry whose URL ends in this name, and the file if there was such an entry.
    void removeFile(const QString &id, const QString &fileName);

    /// The bytes, shared and not copied; null if there is no such file. Does not count as use, and finds
    /// files whose context is gone as well.
    [[nodiscard]] QByteArray getFile(const QString &id, const QString &fileName);

    /// Offers the chunk to every behaviour in order.
    void pushChunk(const QJsonValue &chunk);

    /// One element for each pair of `first` and `second`: that of `second` where the "id"s are equal as text,
    /// else that of `first`. If one array is empty, the other one.
    [[nodiscard]] QJsonArray updateResourceArrays(const QJsonArray &first, const QJsonArray &second);

Q_SIGNALS:
    /// What is stored under `id` has changed to `value`. Never emitted for a removal as such; `value` is null
    /// if the bus removed the context from inside the change.
    void contextChanged(const QString &id, const QJsonValue &value);

private:
    friend struct ContextServiceProbe;

    [[nodiscard]] static QString getRandomString();
    void deleteBehaviours();
    /// Puts `value` under the id, tells in `update` what changed of its data, and returns what was there.
    QJsonValue store(const QString &id, QJsonValue &&value, QJsonObject &update);
    void publishChange(const QString &id, const QJsonObject &update);

    QTimer *m_gcTimer = nullptr;
    QMap<QString, QDateTime> m_lastUse;
    ChunkServiceProxy &m_chunkServiceProxy;
    FileService &m_fileService;
    QMap<QString, QJsonValue> m_contexts;
    std::vector<ChunkBehaviour *> m_behaviours;
};
