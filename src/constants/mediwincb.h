#pragma once

#include <QString>

/// Registry and folder names of the practice software.
namespace constants::mediWinCB::configuration::registry {
[[nodiscard]] QString path();
} // namespace constants::mediWinCB::configuration::registry

namespace constants::mediWinCB::configuration::registry::CB8 {
[[nodiscard]] QString programFolderName();
} // namespace constants::mediWinCB::configuration::registry::CB8

namespace constants::mediWinCB::configuration::registry::CB10 {
[[nodiscard]] QString programFolderName();
} // namespace constants::mediWinCB::configuration::registry::CB10

namespace constants::mediWinCB::configuration::standard {
[[nodiscard]] QString communicationFolderName();
[[nodiscard]] QString vexoInputFolderName();
[[nodiscard]] QString vexoOutputFolderName();
} // namespace constants::mediWinCB::configuration::standard

namespace constants::mediWinCB::ezuweisung {
[[nodiscard]] QString statusSubmittedValue();
} // namespace constants::mediWinCB::ezuweisung
