#pragma once

#include <k7-plugin-api/controller.h>

#include <QString>

class ContextService;

/**
 * Answers GET on /context/{id}/file/{name} with the bytes of one file, from inside onNewRequest(). The method
 * is not looked at: a DELETE is served in the same way and removes nothing.
 *
 * - 404 with "Context not found." or "File not found.".
 * - 501 if the Accept header holds "application/fhir+json".
 * - 200 in Base64 if the Accept-Encoding header holds "base64".
 * - 200 with the bytes: as an "application/octet-stream" to be saved if they are to be downloaded, as
 *   "application/pdf" if the name ends with ".pdf", else without a Content-Type.
 *
 * Header values are looked through with their case.
 */
class ContextFileGetController final : public http::Controller
{
public:
    /// `desiredFileName` is what a downloaded file is to be called, empty for no wish. It goes into the
    /// Content-Disposition header as it stands.
    ContextFileGetController(ContextService &contextService, QString contextId, QString fileName,
                             bool download, QString desiredFileName);
    Q_DISABLE_COPY_MOVE(ContextFileGetController)

    void release() override;
    void setRequest(QSharedPointer<http::server::Request> request) override;
    void setResponse(QSharedPointer<http::server::Response> response) override;
    /// Throws std::runtime_error if the id or the name is empty. No route lets an empty id happen, but a name
    /// may be empty once it is decoded: that of a byte order mark alone.
    void onNewRequest() override;

private:
    void answerWith(const QByteArray &bytes);
    void offerForDownload();
    void answer(int status, const QByteArray &body);

    ContextService &m_contextService;
    QString m_contextId;
    QString m_fileName;
    bool m_download;
    QString m_desiredFileName;
    QSharedPointer<http::server::Request> m_request;
    QSharedPointer<http::server::Response> m_response;
};
