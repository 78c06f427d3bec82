#pragma once

#include "chunkbehaviour.h"

class CardService;

/**
 * Source "veka": writes the XML that belongs to an insurance card to the file "vkc_NUMBER.xml", as
 * exportCard() tells. The number is the one that the card service has for the cardholder of the text, so that
 * the file goes with that of the card; it is empty for a cardholder that is not known.
 */
class WriteVekaToXmlBehaviour final : public ChunkBehaviour
{
public:
    explicit WriteVekaToXmlBehaviour(CardService &cardService);

    void onChunk(const QJsonValue &chunk) override;

private:
    CardService &m_cardService;
};
