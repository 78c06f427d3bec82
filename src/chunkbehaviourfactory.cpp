#include "chunkbehaviourfactory.h"

#include "addactionrequestsbehaviour.h"
#include "addmatchingitemsbehaviour.h"
#include "addmessagesbehaviour.h"
#include "behaviour/newcontextbehaviour.h"
#include "pluginsettings.h"
#include "removeattachmentsbehaviour.h"
#include "rpccreatecontextbehaviour.h"
#include "rpcdeletecontextbehaviour.h"
#include "rpcgetfilebehaviour.h"
#include "rpcsetcontextbehaviour.h"
#include "rpcupdatecontextbehaviour.h"
#include "writecardtoxmlbehaviour.h"
#include "writefiletocontextbehaviour.h"
#include "writevekatoxmlbehaviour.h"

#include <initializer_list>

ChunkBehaviourFactory::ChunkBehaviourFactory(CardService &cardService, ChunkServiceProxy &chunkServiceProxy,
                                             ContextService &contextService, MessageService &messageService)
    : m_cardService(cardService)
    , m_chunkServiceProxy(chunkServiceProxy)
    , m_contextService(contextService)
    , m_messageService(messageService)
{
}

std::vector<ChunkBehaviour *> ChunkBehaviourFactory::createBehaviours()
{
    std::vector<ChunkBehaviour *> behaviours;
    // Also with an empty text: that means the current directory.
    if (readXmlDirectory().isValid())
        behaviours = {new WriteCardToXmlBehaviour, new WriteVekaToXmlBehaviour(m_cardService)};
    const std::initializer_list<ChunkBehaviour *> always{
        new WriteFileToContextBehaviour(m_contextService),
        new RpcCreateContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcDeleteContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcGetFileBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcSetContextBehaviour(m_chunkServiceProxy, m_contextService),
        new RpcUpdateContextBehaviour(m_chunkServiceProxy, m_contextService),
        new AddMatchingItemsBehaviour(m_contextService),
        new AddMessagesBehaviour(m_messageService),
        new AddActionRequestsBehaviour(m_contextService),
        new RemoveAttachmentsBehaviour(m_contextService),
        new NewContextBehaviour(m_contextService),
    };
    behaviours.insert(behaviours.end(), always);
    return behaviours;
}
