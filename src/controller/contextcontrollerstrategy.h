#pragma once

#include "contextchangerouter.h"

#include <k7-plugin-api/controllerstrategy.h>

#include <QByteArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

class ChunkService;
class ContextService;

/**
 * The plug-in's route table, and the memory that its long polls share.
 *
 * Matches the whole URL, its query included, so that a request with a query reaches none of the routes but
 * that of a file's name, for which the path alone is matched, percent-decoded:
 *
 *     POST               /context                   ContextCreateController
 *     GET, PUT, DELETE   /context/{id}              ContextController, unless the Content-Type is set and
 *                                                   is not exactly "application/json"
 *     GET, DELETE        /context/{id}/event        ContextEventController
 *     GET, DELETE        /context/{id}/file/{name}  ContextFileGetController, with the query items
 *                                                   "download", set if it is "true", and "filename"
 *     POST               /context/{id}/file         ContextFilePostController
 *
 * An id consists of ASCII letters and digits, and one trailing slash is allowed. A decoded name consists of
 * these and of "_", "-", "." and "%"; it is decoded once more for the controller. Event-loop thread only.
 */
class ContextControllerStrategy final : public http::ControllerStrategy
{
public:
    /// Keeps the reference; it is used while requests are served, and may be gone when the strategy is
    /// destroyed.
    explicit ContextControllerStrategy(ContextService &contextService);
    ~ContextControllerStrategy() override;
    Q_DISABLE_COPY_MOVE(ContextControllerStrategy)

    [[nodiscard]] http::Controller *createController(QSharedPointer<http::server::Request> request) override;

    /// The bus for controllers that publish; null until there is one. It is kept, and not owned, from then
    /// on.
    void setChunkService(ChunkService *chunkService);

    /// For each id, the context as a long poll last delivered it, to whichever client. Entries are never
    /// removed, not even with their context.
    [[nodiscard]] QMap<QString, QJsonObject> &lastSentContexts();

    /// What a long poll on `id` waits for.
    [[nodiscard]] const ContextChanges *changesOf(const QString &id) { return m_changeRouter.changesOf(id); }

    /// `context` as indented JSON. The last text is kept, so that all polls which one change wakes share it.
    [[nodiscard]] QByteArray indentedJson(const QJsonObject &context);

private:
    [[nodiscard]] http::Controller *createForGetOrDelete(const http::server::Request &request,
                                                         const QString &url);
    [[nodiscard]] http::Controller *createForPost(const QString &url);

    ContextService &m_contextService;
    ChunkService *m_chunkService = nullptr;
    QMap<QString, QJsonObject> m_lastSentContexts;
    ContextChangeRouter m_changeRouter;
    QJsonObject m_lastObject;
    QByteArray m_lastText;
};
