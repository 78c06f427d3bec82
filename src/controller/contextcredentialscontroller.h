#pragma once

#include <k7-plugin-api/controller.h>

#include <http/server/request.h>

#include <QString>

class ChunkService;
class ChunkServiceProxy;
class QJsonObject;
class QLoggingCategory;

/**
 * Answers POST on /context/{id}/credentials, from inside onNewRequest(): publishes the credentials of the
 * body, a JSON array of objects, and looks at no context; the id is a label.
 *
 * First a chunk "credentialreset-published" goes out, whatever the body is, then a "credential-published" for
 * each entry, which it holds whole. An entry needs a "service", and an "id" as well if it has a
 * "keystore_ref"; the first that lacks one ends the list, deliberately without an error. The answer is always
 * 200 with an empty body.
 */
class ContextCredentialsController final : public http::Controller
{
public:
    /// Without a bus nothing is published, and the rest is as usual. Any method but POST leaves the response
    /// untouched.
    ContextCredentialsController(ChunkService *chunkService, http::server::Request::HttpMethod method,
                                 const QString &contextId);
    Q_DISABLE_COPY_MOVE(ContextCredentialsController)

    /// From now on the bus counts as gone, and is not touched, when `proxy` does not hold it. `proxy` must
    /// outlive the controller.
    void setChunkServiceProxy(const ChunkServiceProxy &proxy) { m_chunkServiceProxy = &proxy; }

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    /// Throws std::runtime_error if the id is empty, which no route lets happen.
    void onNewRequest() override;

private:
    [[nodiscard]] ChunkService *bus() const;
    void publishReset();
    /// False if the entry is incomplete.
    bool publishCredential(const QJsonObject &entry);

    ChunkService *m_chunkService;
    http::server::Request::HttpMethod m_method;
    QString m_contextId;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
    const ChunkServiceProxy *m_chunkServiceProxy = nullptr;
};

/// The category "ch.tessel.vexo-service.context.credentials.controller". Its debug lines deliberately hold
/// the credentials.
const QLoggingCategory &contextCredentialsControllerLogging();
