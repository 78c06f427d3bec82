#pragma once

#include "chunkbehaviour.h"

/// Source "Vexo": writes the XML of an insurance card to the file "adm_NUMBER.xml", with the number of the
/// insured person, as exportCard() tells.
class WriteCardToXmlBehaviour final : public ChunkBehaviour
{
public:
    void onChunk(const QJsonValue &chunk) override;
};
