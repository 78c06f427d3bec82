#include "cardservice.h"

#include <QJsonValue>
#include <QRegularExpression>

static const QRegularExpression &cardHolderVexoPattern()
{
    static const QRegularExpression pattern(
        QStringLiteral("<vk-adm:cardholderIdentifier>([0-9]+)</vk-adm:cardholderIdentifier>"));
    return pattern;
}

static const QRegularExpression &insuranceCardVexoPattern()
{
    static const QRegularExpression pattern(
        QStringLiteral("<vk-adm:insuredPersonNumber>([0-9]+)</vk-adm:insuredPersonNumber>"));
    return pattern;
}

CardService::CardService() = default;

void CardService::pushChunk(const QJsonValue &chunk)
{
    if (chunk[QLatin1String("source")] != QLatin1String("Vexo"))
        return;
    const QString xml = chunk[QLatin1String("data")].toString();
    if (xml.isEmpty())
        return;
    const QRegularExpressionMatch cardholder = cardHolderVexoPattern().match(xml);
    const QRegularExpressionMatch number = insuranceCardVexoPattern().match(xml);
    // The entry of a text without a card is deliberate: lookups go by digits, so that it does no harm.
    const bool hasCard = cardholder.hasMatch() && number.hasMatch();
    m_cards.insert(hasCard ? cardholder.captured(1) : QString(), hasCard ? number.captured(1) : QString());
}

QString CardService::getInitialCard(const QString &cardholderId)
{
    return m_cards[cardholderId];
}
