#include "constants/request.h"

#include "constants/textconstant.h"

namespace constants::structure::request::palliacarelogin {

TEXT_CONSTANT(nameKeyName, "name")
TEXT_CONSTANT(passwordKeyName, "password")

} // namespace constants::structure::request::palliacarelogin

namespace constants::structure::request::searchpatients {

TEXT_CONSTANT(searchParameterKeyName, "parameter")
TEXT_CONSTANT(orgIdsKeyName, "orgIds")

} // namespace constants::structure::request::searchpatients
