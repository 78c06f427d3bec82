#include "constants/context.h"

#include "constants/textconstant.h"

namespace constants::structure::context {

TEXT_CONSTANT(actionRequestsKeyName, "actionRequests")
TEXT_CONSTANT(idKeyName, "_id")
TEXT_CONSTANT(inboxKeyName, "inbox")

} // namespace constants::structure::context
