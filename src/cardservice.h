#pragma once

#include <QMap>
#include <QString>

class QJsonValue;

/**
 * Remembers, for each cardholder, the number of the insured person on the insurance card seen last. In memory
 * only; cards belong to no context and never expire. Event-loop thread only.
 */
class CardService final
{
public:
    CardService();

    /// Takes the card out of a chunk whose "source" is "Vexo" and whose "data" is the card's XML as text;
    /// ignores any other. A text that lacks either number deliberately enters an empty number under the empty
    /// identifier.
    void pushChunk(const QJsonValue &chunk);

    /// The number for a cardholder; empty for one that is not known, who is deliberately entered with it.
    [[nodiscard]] QString getInitialCard(const QString &cardholderId);

private:
    friend struct CardServiceProbe;

    QMap<QString, QString> m_cards;
};
