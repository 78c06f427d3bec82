#include "chunkbehaviourfactory.h"

#include "addactionrequestsbehaviour.h"
#include "addmatchingitemsbehaviour.h"
#include "addmessagesbehaviour.h"
#include "behaviour/newcontextbehaviour.h"
#include "rpccreatecontextbehaviour.h"
#include "rpcdeletecontextbehaviour.h"
#include "rpcsetcontextbehaviour.h"
#include "rpcupdatecontextbehaviour.h"

ChunkBehaviourFactory::ChunkBehaviourFactory(ChunkServiceProxy &chunkServiceProxy,
                                             ContextService &contextService, MessageService &messageService)
    : m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
    , m_messageService(messageService)
{
}

std::vector<ChunkBehaviour *> ChunkBehaviourFactory::createBehaviours()
{
    return {
        new RpcCreateContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcDeleteContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcSetContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcUpdateContextBehaviour(m_chunkServiceProxy, m_contextService),
        new AddMatchingItemsBehaviour(m_contextService),
        new AddMessagesBehaviour(m_messageService),
        new AddActionRequestsBehaviour(m_contextService),
        new NewContextBehaviour(m_contextService),
    };
}
