#include "contextservice.h"

#include "attachmententry.h"
#include "chunkbehaviour.h"
#include "chunkserviceproxy.h"
#include "contextcollector.h"
#include "contextdata.h"
#include "fhir/stu3/coding.h"
#include "fileservice.h"
#include "pairedresources.h"
#include "structure/chunk/contextcreated.h"
#include "structure/chunk/contextremoved.h"

#include <k7-plugin-api/chunkservice.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QTimer>

#include <utility>

static const QLoggingCategory &contextServiceLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.contextservice");
    return category;
}

template <typename Json>
static QString jsonText(const Json &json)
{
    return QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact));
}

static void logSetting(const QString &id, const QJsonValue &value)
{
    if (value.isObject()) {
        qCDebug(contextServiceLogging)
            << "Setting context" << id << "to object" << jsonText(value.toObject());
    } else if (value.isArray()) {
        qCDebug(contextServiceLogging) << "Setting context" << id << "to array" << jsonText(value.toArray());
    } else {
        qCDebug(contextServiceLogging) << "Setting context" << id << "to unknown" << value;
    }
}

static QString fileKey(const QString &id, const QString &fileName)
{
    return id + QLatin1Char('_') + fileName;
}

ContextService::ContextService(ChunkServiceProxy &chunkServiceProxy, FileService &fileService)
    : m_chunkServiceProxy(chunkServiceProxy)
    , m_fileService(fileService)
{
    m_gcTimer = contextcollector::start(*this, m_lastUse);
}

ContextService::~ContextService()
{
    if (m_gcTimer != nullptr) {
        m_gcTimer->stop();
        m_gcTimer->deleteLater();
    }
    deleteBehaviours();
}

void ContextService::setBehaviours(std::vector<ChunkBehaviour *> &&behaviours)
{
    deleteBehaviours();
    m_behaviours = std::move(behaviours);
}

void ContextService::deleteBehaviours()
{
    while (!m_behaviours.empty()) {
        const ChunkBehaviour *last = m_behaviours.back();
        m_behaviours.pop_back();
        delete last;
    }
}

// Seeding on every call is deliberate: within one second of the clock all calls give the same text.
QString ContextService::getRandomString()
{
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    constexpr int alphabetLength = sizeof(alphabet) - 1;
    constexpr int idLength = 16;
    QString text(idLength, Qt::Uninitialized);
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qsrand(QDateTime::currentDateTime().toTime_t());
    for (QChar &character : text)
        character = QLatin1Char(alphabet[qrand() % alphabetLength]);
    QT_WARNING_POP
    return text;
}

QString ContextService::createContext()
{
    QString id = getRandomString();
    // The busy wait for the clock's next second is deliberate, and so is that only stored ids are avoided.
    while (m_contexts.contains(id))
        id = getRandomString();
    if (ChunkService *chunkService = m_chunkServiceProxy.getChunkService())
        chunkService->publishChunk(structure::chunk::ContextCreated::create(id));
    m_lastUse[id] = QDateTime::currentDateTime();
    return id;
}

void ContextService::deleteContext(const QString &id)
{
    m_contexts.remove(id);
    m_lastUse.remove(id);
    if (ChunkService *chunkService = m_chunkServiceProxy.getChunkService())
        chunkService->publishChunk(structure::chunk::ContextRemoved::create(id));
}

QJsonValue ContextService::getContext(const QString &id)
{
    m_lastUse[id] = QDateTime::currentDateTime();
    // Entering a null for an unknown id is deliberate: getContextKeys() lists it, createContext() avoids it.
    return m_contexts[id];
}

QStringList ContextService::getContextKeys() const
{
    return m_contexts.keys();
}

void ContextService::setContext(const QString &id, QJsonValue value)
{
    logSetting(id, value);
    if (value.isNull()) {
        deleteContext(id);
        return;
    }
    QJsonObject update;
    const QJsonValue old = store(id, std::move(value), update);
    m_lastUse[id] = QDateTime::currentDateTime();
    publishChange(id, update);
    // Read afresh: the bus may have called back and have changed or removed the context.
    const QJsonValue current = m_contexts.value(id);
    if (old != current)
        Q_EMIT contextChanged(id, current);
}

QJsonValue ContextService::store(const QString &id, QJsonValue &&value, QJsonObject &update)
{
    QJsonValue &stored = m_contexts[id];
    if (!stored.isObject()) {
        update = value.toObject();
        return std::exchange(stored, std::move(value));
    }
    // A value that is no object deliberately leaves an empty one.
    QJsonObject next = value.toObject();
    update = contextdata::changedKeys(stored.toObject(), next);
    if (!update.isEmpty()) {
        qCDebug(contextServiceLogging) << update.keys() << "keys changed. Delete matching items.";
        next.insert(QStringLiteral("matchingItems"), QJsonArray());
    }
    qCDebug(contextServiceLogging) << "Context changed. Current keys:" << next.keys();
    return std::exchange(stored, std::move(next));
}

void ContextService::publishChange(const QString &id, const QJsonObject &update)
{
    ChunkService *chunkService = m_chunkServiceProxy.getChunkService();
    if (chunkService == nullptr || update.isEmpty())
        return;
    const QJsonObject event{{QStringLiteral("event"), QStringLiteral("context-changed")},
                            {QStringLiteral("id"), id},
                            {QStringLiteral("data"), update},
                            {QStringLiteral("context"), m_contexts.value(id)}};
    const QJsonObject chunk{{QStringLiteral("source"), QStringLiteral("k7-plugin-context")},
                            {QStringLiteral("version"), QStringLiteral("1.1.2")},
                            {QStringLiteral("data"), event}};
    qCDebug(contextServiceLogging) << "Notifying context" << id << "changed. Update:" << jsonText(update);
    chunkService->publishChunk(chunk);
}

QJsonValue ContextService::updateContext(const QString &id, const QJsonValue &update)
{
    const QJsonValue current = getContext(id);
    if (current.isNull()) {
        setContext(id, update);
        return update;
    }
    if (!current.isObject() || !update.isObject())
        return QJsonValue::Null;
    const QJsonObject result = contextdata::merged(current.toObject(), update.toObject());
    setContext(id, result);
    return result;
}

void ContextService::addFile(const QString &id, const QString &fileName, const QByteArray &bytes,
                             domain::Coding coding) // NOLINT(performance-unnecessary-value-param)
{
    const QString key = fileKey(id, fileName);
    if (m_fileService.hasFile(key)) {
        qCDebug(contextServiceLogging) << "File already exists, overwrite content only.";
        m_fileService.setFile(key, bytes);
        return;
    }
    const QJsonObject context = m_contexts.value(id).toObject();
    QJsonArray attachments = context.value(QLatin1String("attachments")).toArray();
    attachments.append(attachmententry::create(id, fileName, coding));
    QJsonObject update{{QStringLiteral("attachments"), attachments}};
    if (!context.contains(QLatin1String("_id")))
        update.insert(QStringLiteral("_id"), id);
    m_fileService.setFile(key, bytes);
    updateContext(id, update);
}

void ContextService::removeFile(const QString &id, const QString &fileName)
{
    const QJsonArray attachments = getContext(id).toObject().value(QLatin1String("attachments")).toArray();
    QJsonArray kept;
    for (const QJsonValue &entry : attachments) {
        if (attachmententry::fileName(entry) == fileName) {
            m_fileService.removeFile(fileKey(id, fileName));
        } else {
            kept.append(entry);
        }
    }
    updateContext(id, QJsonObject{{QStringLiteral("attachments"), kept}});
}

QByteArray ContextService::getFile(const QString &id, const QString &fileName)
{
    const QString key = fileKey(id, fileName);
    return m_fileService.hasFile(key) ? m_fileService.getFile(key) : QByteArray();
}

void ContextService::pushChunk(const QJsonValue &chunk)
{
    for (ChunkBehaviour *behaviour : m_behaviours)
        behaviour->onChunk(chunk);
}

QJsonArray ContextService::updateResourceArrays(const QJsonArray &first, const QJsonArray &second)
{
    return pairedResources(first, second);
}
