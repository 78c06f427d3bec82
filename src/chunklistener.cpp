#include "chunklistener.h"

#include "contextservice.h"

ChunkListener::ChunkListener(ContextService &contextService)
    : m_contextService(contextService)
{
}

void ChunkListener::onChunkUpdated(const QJsonValue &chunk)
{
    m_contextService.pushChunk(chunk);
}
