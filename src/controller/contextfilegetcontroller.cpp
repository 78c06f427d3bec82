#include "contextfilegetcontroller.h"

#include "contextservice.h"

#include <http/server/request.h>
#include <http/server/response.h>

#include <QLoggingCategory>

#include <stdexcept>
#include <utility>

static const QLoggingCategory &contextFileGetControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.file.get.controller");
    return category;
}

ContextFileGetController::ContextFileGetController(ContextService &contextService, QString contextId,
                                                   QString fileName, bool download, QString desiredFileName)
    : m_contextService(contextService)
    , m_contextId(std::move(contextId))
    , m_fileName(std::move(fileName))
    , m_download(download)
    , m_desiredFileName(std::move(desiredFileName))
{
}

void ContextFileGetController::release()
{
    delete this;
}

void ContextFileGetController::setRequest(QSharedPointer<http::server::Request> request)
{
    m_request = std::move(request);
}

void ContextFileGetController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

void ContextFileGetController::onNewRequest()
{
    if (m_contextId.isEmpty())
        throw std::runtime_error("Context id required.");
    if (m_fileName.isEmpty())
        throw std::runtime_error("Filename required.");
    qCDebug(contextFileGetControllerLogging)
        << "Accessing file" << m_fileName << "within context" << m_contextId << ".";
    if (m_contextService.getContext(m_contextId).isNull()) {
        answer(404, "Context not found.");
        return;
    }
    const QByteArray bytes = m_contextService.getFile(m_contextId, m_fileName);
    if (bytes.isNull()) {
        answer(404, "File not found.");
    } else if (m_request->header(QStringLiteral("Accept")).contains(QLatin1String("application/fhir+json"))) {
        // The misspelling is what clients know.
        answer(501, "Fhir file reprensentation not implemented.");
    } else {
        answerWith(bytes);
    }
}

void ContextFileGetController::answerWith(const QByteArray &bytes)
{
    if (m_request->header(QStringLiteral("Accept-Encoding")).contains(QLatin1String("base64"))) {
        m_response->setHeader(QStringLiteral("Content-Encoding"), QStringLiteral("base64"));
        answer(200, bytes.toBase64());
        return;
    }
    if (m_download) {
        offerForDownload();
    } else if (m_fileName.endsWith(QLatin1String(".pdf"))) {
        m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/pdf"));
    }
    answer(200, bytes);
}

void ContextFileGetController::offerForDownload()
{
    m_response->setHeader(QStringLiteral("Content-Type"), QStringLiteral("application/octet-stream"));
    qCDebug(contextFileGetControllerLogging) << "m_desiredFileName: " << m_desiredFileName;
    // Deliberately neither quoted nor escaped, and with a semicolon behind it.
    m_response->setHeader(QStringLiteral("Content-Disposition"),
                          m_desiredFileName.isEmpty()
                              ? QStringLiteral("attachment")
                              : QStringLiteral("attachment; filename=%1;").arg(m_desiredFileName));
}

void ContextFileGetController::answer(int status, const QByteArray &body)
{
    m_response->writeHead(status);
    m_response->end(body);
}
