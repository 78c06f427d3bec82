#include "writecardtoxmlbehaviour.h"

#include "cardexport.h"

#include <QRegularExpression>

void WriteCardToXmlBehaviour::onChunk(const QJsonValue &chunk)
{
    static const QRegularExpression idPattern(
        QStringLiteral("<vk-adm:insuredPersonNumber>([0-9]+)</vk-adm:insuredPersonNumber>"));
    static const CardExport kind{QLatin1String("Vexo"), idPattern, QStringLiteral("adm_%1.xml")};
    exportCard(chunk, kind, [](const QString &number) { return number; });
}
