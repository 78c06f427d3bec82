#include "contextservice.h"

#include <http/server/request.h>
#include <k7-plugin-api/vexoserviceinterface.h>

int countContexts(const ContextService &service);

int countContexts(const ContextService &service)
{
    return service.getContextKeys().size();
}
