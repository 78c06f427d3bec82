#include "constants/k7pluginmediwincb.h"

#include "constants/textconstant.h"

namespace constants::k7PluginMediWinCB {

TEXT_CONSTANT(name, "k7-plugin-mediwin-cb")

} // namespace constants::k7PluginMediWinCB

namespace constants::k7PluginMediWinCB::configuration {

TEXT_CONSTANT(groupName, "ch.tessel.vexo-service.mediwincb")
TEXT_CONSTANT(softwareStatusName, "softwarestatus")
TEXT_CONSTANT(statusMediWinCBFoundValue, "mediwincbfound")
TEXT_CONSTANT(statusMediWinCBNotFoundValue, "mediwincbnotfound")
TEXT_CONSTANT(communicationStatusName, "communicationstatus")
TEXT_CONSTANT(statusNotConfiguredValue, "notconfigured")
TEXT_CONSTANT(statusCommunicationFolderNotFoundValue, "communicationfoldernotfound")
TEXT_CONSTANT(statusCommunicationFolderNotReadableWritableValue, "communicationfoldernotreadablewritable")
TEXT_CONSTANT(statusCommunicationFolderFoundAutomaticValue, "communicationfolderfoundautomatic")
TEXT_CONSTANT(statusCommunicationFilesIncompleteValue, "communicationfilesincomplete")
TEXT_CONSTANT(statusCommunicationFilesInstalledValue, "communicationfilesinstalled")
TEXT_CONSTANT(communicationFolderName, "communicationfolder")
TEXT_CONSTANT(inputFolderName, "inputfolder")
TEXT_CONSTANT(outputFolderName, "outputfolder")

QStringList communicationFileCollection()
{
    static const QStringList files{QLatin1String("vexoform.cti"), QLatin1String("vexoform.cto")};
    return files;
}

} // namespace constants::k7PluginMediWinCB::configuration

namespace constants::k7PluginMediWinCB::communication {

TEXT_CONSTANT(contextFileName, "context.json")

int rewatchTimerTimeoutMiliseconds()
{
    return 50;
}

} // namespace constants::k7PluginMediWinCB::communication
