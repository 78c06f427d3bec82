#include "constants/mediwincb.h"

#include "constants/textconstant.h"

namespace constants::mediWinCB::configuration::registry {

TEXT_CONSTANT(path, "HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432Node\\AEK")

} // namespace constants::mediWinCB::configuration::registry

namespace constants::mediWinCB::configuration::registry::CB8 {

TEXT_CONSTANT(programFolderName, "CBROOTFOLDER")

} // namespace constants::mediWinCB::configuration::registry::CB8

namespace constants::mediWinCB::configuration::registry::CB10 {

TEXT_CONSTANT(programFolderName, "Network_PgFolder")

} // namespace constants::mediWinCB::configuration::registry::CB10

namespace constants::mediWinCB::configuration::standard {

TEXT_CONSTANT(communicationFolderName, "AEKCOM")
TEXT_CONSTANT(vexoInputFolderName, "vexoform-input")
TEXT_CONSTANT(vexoOutputFolderName, "vexoform-output")

} // namespace constants::mediWinCB::configuration::standard

namespace constants::mediWinCB::ezuweisung {

TEXT_CONSTANT(statusSubmittedValue, "submitted")

} // namespace constants::mediWinCB::ezuweisung
