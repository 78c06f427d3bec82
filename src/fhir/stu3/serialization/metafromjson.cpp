#include "metafromjson.h"

#include "codingfromjson.h"
#include "fhir/stu3/meta.h"
#include "qdatetimefromjson.h"

#include <QJsonArray>
#include <QJsonObject>

namespace fhir::stu3 {

static QVector<domain::Coding> codingsOf(const QJsonArray &array)
{
    QVector<domain::Coding> codings;
    for (const QJsonValue &element : array) {
        domain::Coding coding;
        CodingFromJson(coding, element.toObject()).parse();
        codings.append(coding);
    }
    return codings;
}

MetaFromJson::MetaFromJson(domain::Meta &meta, QJsonObject &json)
    : m_meta(meta)
    , m_json(json)
{
}

void MetaFromJson::parse()
{
    m_meta.setVersionId(m_json[QLatin1String("versionId")].toString());
    m_meta.setLastUpdated(QDateTimeFromJson(m_json[QLatin1String("lastUpdated")].toString()).parse());
    m_meta.setProfile(m_json[QLatin1String("profile")].toString());
    m_meta.setSecurity(codingsOf(m_json[QLatin1String("security")].toArray()));
    m_meta.setTag(codingsOf(m_json[QLatin1String("tag")].toArray()));
}

} // namespace fhir::stu3
