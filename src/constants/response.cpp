#include "constants/response.h"

#include "constants/textconstant.h"

namespace constants::structure::response::palliacarestatus {

TEXT_CONSTANT(loginOutcomeKeyName, "loginoutcome")

} // namespace constants::structure::response::palliacarestatus
