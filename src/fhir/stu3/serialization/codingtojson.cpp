#include "codingtojson.h"

#include "fhir/stu3/coding.h"

#include <QJsonObject>

namespace fhir::stu3 {

static void insertText(QJsonObject &json, QLatin1String key, const QString &text)
{
    if (!text.isEmpty())
        json.insert(key, text);
}

CodingToJson::CodingToJson(const domain::Coding &coding)
    : m_coding(coding)
{
}

QJsonObject CodingToJson::toJson() const
{
    QJsonObject json;
    insertText(json, QLatin1String("system"), m_coding.system());
    insertText(json, QLatin1String("version"), m_coding.version());
    insertText(json, QLatin1String("code"), m_coding.code());
    insertText(json, QLatin1String("display"), m_coding.display());
    if (m_coding.userSelected())
        json.insert(QLatin1String("userSelected"), true);
    return json;
}

} // namespace fhir::stu3
