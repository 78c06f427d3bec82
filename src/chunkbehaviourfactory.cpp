#include "chunkbehaviourfactory.h"

#include "addactionrequestsbehaviour.h"
#include "addmatchingitemsbehaviour.h"
#include "rpccreatecontextbehaviour.h"
#include "rpcdeletecontextbehaviour.h"
#include "rpcgetfilebehaviour.h"
#include "rpcsetcontextbehaviour.h"
#include "rpcupdatecontextbehaviour.h"

ChunkBehaviourFactory::ChunkBehaviourFactory(ChunkServiceProxy &chunkServiceProxy,
                                             ContextService &contextService)
    : m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
{
}

std::vector<ChunkBehaviour *> ChunkBehaviourFactory::createBehaviours()
{
    return {
        new RpcCreateContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcDeleteContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcGetFileBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcSetContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcUpdateContextBehaviour(m_chunkServiceProxy, m_contextService),
        new AddMatchingItemsBehaviour(m_contextService),
        new AddActionRequestsBehaviour(m_contextService),
    };
}
