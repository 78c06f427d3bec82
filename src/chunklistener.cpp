#include "chunklistener.h"

#include "cardservice.h"
#include "contextservice.h"

ChunkListener::ChunkListener(CardService &cardService, ContextService &contextService)
    : m_cardService(cardService)
    , m_contextService(contextService)
{
}

void ChunkListener::onChunkUpdated(const QJsonValue &chunk)
{
    m_cardService.pushChunk(chunk);
    m_contextService.pushChunk(chunk);
}
