#include "constants/vexoform.h"

#include "constants/textconstant.h"

namespace constants::VexoForm::configuration {

TEXT_CONSTANT(groupName, "ch.tessel.vexo-service.form")
TEXT_CONSTANT(saveToFolderName, "saveToDiskPath")

} // namespace constants::VexoForm::configuration
