#include "contextfilepostcontroller.h"

#include "contextservice.h"
#include "fhir/stu3/coding.h"
#include "multipartfiles.h"

#include <http/server/request.h>
#include <http/server/response.h>

#include <QLoggingCategory>

#include <stdexcept>
#include <utility>

static const QLoggingCategory &contextFilePostControllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.context.file.post.controller");
    return category;
}

// The same for every file, whatever it is.
static domain::Coding documentType()
{
    domain::Coding coding;
    coding.setCode(QStringLiteral("55107-7"));
    coding.setDisplay(QStringLiteral("Addendum Document"));
    coding.setSystem(QStringLiteral("http://hl7.org/fhir/ValueSet/c80-doc-typecodes"));
    return coding;
}

ContextFilePostController::ContextFilePostController(ContextService &contextService, QString contextId)
    : m_contextService(contextService)
    , m_contextId(std::move(contextId))
{
}

void ContextFilePostController::release()
{
    delete this;
}

void ContextFilePostController::setRequest(QSharedPointer<http::server::Request> request)
{
    m_request = std::move(request);
}

void ContextFilePostController::setResponse(QSharedPointer<http::server::Response> response)
{
    m_response = std::move(response);
}

void ContextFilePostController::onNewRequest()
{
    if (m_contextId.isEmpty())
        throw std::runtime_error("Context id required.");
    qCDebug(contextFilePostControllerLogging) << "Uploading file to context" << m_contextId << ".";
    // What stands behind the mark is taken as it is: quotes and parameters deliberately belong to the
    // boundary.
    const QStringList pieces = m_request->header(QStringLiteral("Content-Type"))
                                   .split(QStringLiteral("boundary="), Qt::KeepEmptyParts);
    if (pieces.size() > 1)
        addFiles(QStringLiteral("--") + pieces.at(1));
    m_response->writeHead(204);
    m_response->end({});
}

void ContextFilePostController::addFiles(const QString &boundary)
{
    const domain::Coding coding = documentType();
    const QMap<QString, QByteArray> files = MultipartFiles(boundary, m_request->body()).getFiles();
    for (auto file = files.constBegin(); file != files.constEnd(); ++file)
        m_contextService.addFile(m_contextId, file.key(), file.value(), coding);
}
