#pragma once

#include <QString>
#include <QStringList>

/// The plug-in "k7-plugin-mediwin-cb": settings, the status words it reports, and its files.
namespace constants::k7PluginMediWinCB {
[[nodiscard]] QString name();
} // namespace constants::k7PluginMediWinCB

namespace constants::k7PluginMediWinCB::configuration {
[[nodiscard]] QString groupName();
[[nodiscard]] QString softwareStatusName();
[[nodiscard]] QString statusMediWinCBFoundValue();
[[nodiscard]] QString statusMediWinCBNotFoundValue();
[[nodiscard]] QString communicationStatusName();
[[nodiscard]] QString statusNotConfiguredValue();
[[nodiscard]] QString statusCommunicationFolderNotFoundValue();
[[nodiscard]] QString statusCommunicationFolderNotReadableWritableValue();
[[nodiscard]] QString statusCommunicationFolderFoundAutomaticValue();
[[nodiscard]] QString statusCommunicationFilesIncompleteValue();
[[nodiscard]] QString statusCommunicationFilesInstalledValue();
[[nodiscard]] QString communicationFolderName();
[[nodiscard]] QString inputFolderName();
[[nodiscard]] QString outputFolderName();
/// File names, in this order: vexoform.cti, vexoform.cto.
[[nodiscard]] QStringList communicationFileCollection();
} // namespace constants::k7PluginMediWinCB::configuration

namespace constants::k7PluginMediWinCB::communication {
[[nodiscard]] QString contextFileName();
[[nodiscard]] int rewatchTimerTimeoutMiliseconds();
} // namespace constants::k7PluginMediWinCB::communication
