#include "constants/chunk.h"

#include "constants/textconstant.h"

namespace constants::structure::chunk {

TEXT_CONSTANT(bodyKeyName, "body")
TEXT_CONSTANT(dataName, "data")
TEXT_CONSTANT(eventName, "event")
TEXT_CONSTANT(exchangeKeyName, "exchange")
TEXT_CONSTANT(sourceName, "source")

} // namespace constants::structure::chunk

namespace constants::structure::chunk::addmatchingitems {

TEXT_CONSTANT(exchangeValue, "vexo-context-add-matching-items")
TEXT_CONSTANT(matchingItemsKeyName, "matchingItems")
TEXT_CONSTANT(filterKeyName, "filter")

} // namespace constants::structure::chunk::addmatchingitems

namespace constants::structure::chunk::addmessage {

TEXT_CONSTANT(exchangeValue, "vexo-context-add-messages")
TEXT_CONSTANT(messagesKeyName, "messages")

} // namespace constants::structure::chunk::addmessage

namespace constants::structure::chunk::getfile {

TEXT_CONSTANT(exchangeValue, "vexo-context-rpc-get-files")
TEXT_CONSTANT(propertiesKeyName, "properties")
TEXT_CONSTANT(correlationIdKeyName, "correlation-id")
TEXT_CONSTANT(replyToKeyName, "reply-to")
TEXT_CONSTANT(contextIdKeyName, "context")
TEXT_CONSTANT(referenceKeyName, "reference")

} // namespace constants::structure::chunk::getfile

namespace constants::structure::chunk::newcontext {

TEXT_CONSTANT(eventValue, "new-context")

} // namespace constants::structure::chunk::newcontext

namespace constants::structure::chunk::contextchanged {

TEXT_CONSTANT(eventValue, "context-changed")
TEXT_CONSTANT(versionValue, "1.1.2")
TEXT_CONSTANT(contextKeyName, "context")
TEXT_CONSTANT(versionKeyName, "version")
TEXT_CONSTANT(contextIdKeyName, "id")
TEXT_CONSTANT(updateChunkDataKeyName, "data")

} // namespace constants::structure::chunk::contextchanged

namespace constants::structure::chunk::contextcreated {

TEXT_CONSTANT(exchangeValue, "context-created")
TEXT_CONSTANT(contextIdKeyName, "contextId")

} // namespace constants::structure::chunk::contextcreated

namespace constants::structure::chunk::contextremoved {

TEXT_CONSTANT(exchangeValue, "context-removed")
TEXT_CONSTANT(contextIdKeyName, "contextId")

} // namespace constants::structure::chunk::contextremoved
