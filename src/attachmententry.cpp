#include "attachmententry.h"

#include "fhir/stu3/coding.h"
#include "fhir/stu3/serialization/codingtojson.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QUrl>

namespace attachmententry {

QJsonObject create(const QString &id, const QString &fileName, const domain::Coding &coding)
{
    const QString url = QStringLiteral("/context/%1/file/%2").arg(id, fileName);
    const QJsonObject attachment{{QStringLiteral("url"), url}};
    const QJsonArray codings{fhir::stu3::CodingToJson(coding).toJson()};
    // The status is deliberately the same for every file, new or not.
    return {{QStringLiteral("resourceType"), QStringLiteral("DocumentReference")},
            {QStringLiteral("status"), QStringLiteral("superseded")},
            {QStringLiteral("type"), QJsonObject{{QStringLiteral("coding"), codings}}},
            {QStringLiteral("content"), QJsonObject{{QStringLiteral("attachment"), attachment}}}};
}

QString fileName(const QJsonValue &entry)
{
    const QJsonValue url = entry[QLatin1String("content")][QLatin1String("attachment")][QLatin1String("url")];
    return QUrl::fromUserInput(url.toString()).fileName(QUrl::FullyDecoded);
}

} // namespace attachmententry
