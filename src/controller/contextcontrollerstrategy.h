#pragma once

#include "contextchangerouter.h"

#include <k7-plugin-api/controllerstrategy.h>

#include <QByteArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

class ChunkService;
class ContextService;
class MessageService;

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
 *     POST               /context/{id}$form         ContextFormController, as for /context/{id}; the id may
 *                                                   have a slash behind it
 *     POST               /context/{id}/credentials  ContextCredentialsController, as for /context/{id}
 *     POST               /message                   MessageController, as for /context/{id}
 *     GET, DELETE        /message/event             MessageEventController
 *
 * An id consists of ASCII letters and digits, and one trailing slash is allowed except behind $form and the
 * routes of messages. A decoded name consists of these and of "_", "-", "." and "%"; it is decoded once more
 * for the controller. Event-loop thread only.
 */
class ContextControllerStrategy final : public http::ControllerStrategy
{
public:
    /// Keeps the references; they are used while requests are served, and may be gone when the strategy is
    /// destroyed.
    ContextControllerStrategy(ContextService &contextService, MessageService &messageService);
    ~ContextControllerStrategy() override;
    Q_DISABLE_COPY_MOVE(ContextControllerStrategy)

    [[nodiscard]] http::Controller *createController(QSharedPointer<http::server::Request> request) override;

    /// The bus for controllers that publish; null until there is one. It is kept, and not owned, from then
    /// on, and given to every such controller even after the bus has gone. If the store's proxy holds it now,
    /// the controllers ask the proxy before they touch it.
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
    [[nodiscard]] http::Controller *createForPost(const http::server::Request &request, const QString &url);
    [[nodiscard]] http::Controller *createCredentialsController(const http::server::Request &request,
                                                                const QString &contextId);

    ContextService &m_contextService;
    MessageService &m_messageService;
    ChunkService *m_chunkService = nullptr;
    QMap<QString, QJsonObject> m_lastSentContexts;
    bool m_chunkServiceIsProxied = false;
    ContextChangeRouter m_changeRouter;
    QJsonObject m_lastObject;
    QByteArray m_lastText;
};
