#include "constants/jsonobject.h"

#include "constants/textconstant.h"

namespace constants::structure::jsonobject::credentialvariable {

TEXT_CONSTANT(serviceKeyName, "service")
TEXT_CONSTANT(idKeyName, "id")
TEXT_CONSTANT(secondaryIdsKeyName, "secondaryIds")
TEXT_CONSTANT(keyKeyName, "key")
TEXT_CONSTANT(certKeyName, "cert")
TEXT_CONSTANT(keyPassKeyName, "keyPass")
TEXT_CONSTANT(tokenKeyName, "token")
TEXT_CONSTANT(caCertsKeyName, "caCerts")

} // namespace constants::structure::jsonobject::credentialvariable

namespace constants::structure::jsonobject::message {

TEXT_CONSTANT(identifierKeyName, "id")
TEXT_CONSTANT(typeKeyName, "type")
TEXT_CONSTANT(typeMomentaryValue, "momentary")
TEXT_CONSTANT(typeCustomLifeTimeValue, "customlifetime")
TEXT_CONSTANT(typePersistentValue, "persistent")
TEXT_CONSTANT(titleKeyName, "title")
TEXT_CONSTANT(subtitleKeyName, "subtitle")
TEXT_CONSTANT(textKeyName, "text")
TEXT_CONSTANT(timestampKeyName, "timestamp")
TEXT_CONSTANT(lifetimeKeyName, "lifetime")

} // namespace constants::structure::jsonobject::message

namespace constants::structure::jsonobject::searchparameter {

TEXT_CONSTANT(firstNameKeyName, "firstname")
TEXT_CONSTANT(lastNameKeyName, "lastname")
TEXT_CONSTANT(ahvNumberKeyName, "ahvnumber")

} // namespace constants::structure::jsonobject::searchparameter
