#include "writevekatoxmlbehaviour.h"

#include "cardexport.h"
#include "cardservice.h"

#include <QRegularExpression>

WriteVekaToXmlBehaviour::WriteVekaToXmlBehaviour(CardService &cardService)
    : m_cardService(cardService)
{
}

void WriteVekaToXmlBehaviour::onChunk(const QJsonValue &chunk)
{
    static const QRegularExpression idPattern(QStringLiteral("<unique_id>([0-9]+)</unique_id>"));
    static const CardExport kind{QLatin1String("veka"), idPattern, QStringLiteral("vkc_%1.xml")};
    exportCard(chunk, kind,
               [this](const QString &cardholderId) { return m_cardService.getInitialCard(cardholderId); });
}
