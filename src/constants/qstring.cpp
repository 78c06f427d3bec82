#include "constants/qstring.h"

#include "constants/textconstant.h"

namespace constants::structure::qstring::timestamp {

TEXT_CONSTANT(formatString, "yyyy-MM-ddTHH:mm:ss")

} // namespace constants::structure::qstring::timestamp

namespace constants::structure::qstring::lifetime {

TEXT_CONSTANT(formatString, "HH:mm:ss")

} // namespace constants::structure::qstring::lifetime
