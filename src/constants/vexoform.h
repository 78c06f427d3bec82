#pragma once

#include <QString>

/// Settings of the form plug-in.
namespace constants::VexoForm::configuration {
[[nodiscard]] QString groupName();
[[nodiscard]] QString saveToFolderName();
} // namespace constants::VexoForm::configuration
