#include "writefiletocontextbehaviour.h"

#include "chunkexchange.h"
#include "contextservice.h"
#include "fhir/stu3/coding.h"
#include "fhir/stu3/serialization/codingfromjson.h"

#include <QJsonObject>

WriteFileToContextBehaviour::WriteFileToContextBehaviour(ContextService &contextService)
    : m_contextService(contextService)
{
}

void WriteFileToContextBehaviour::onChunk(const QJsonValue &chunk)
{
    if (!hasExchange(chunk, QLatin1String("vexo-context-add-file")))
        return;
    const QJsonValue body = chunk[QLatin1String("body")];
    const QByteArray bytes = QByteArray::fromBase64(body[QLatin1String("content")].toString().toLocal8Bit());
    const QJsonObject type = body[QLatin1String("type")].toObject();
    domain::Coding coding;
    fhir::stu3::CodingFromJson(coding, type).parse();
    m_contextService.addFile(body[QLatin1String("context")].toString(),
                             body[QLatin1String("filename")].toString(), bytes, coding);
}
