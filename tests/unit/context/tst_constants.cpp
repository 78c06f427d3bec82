#include "constants/constants.h"

#include <QtTest>

namespace {

using TextConstant = QString (*)();

struct Row
{
    const char *name;
    TextConstant function;
    const char *value;
};

// clang-format off
#define ROW(function, value) {#function, &constants::function, value}

const Row rows[] = {
    ROW(structure::chunk::bodyKeyName, "body"),
    ROW(structure::chunk::dataName, "data"),
    ROW(structure::chunk::eventName, "event"),
    ROW(structure::chunk::exchangeKeyName, "exchange"),
    ROW(structure::chunk::sourceName, "source"),
    ROW(structure::chunk::addmatchingitems::exchangeValue, "vexo-context-add-matching-items"),
    ROW(structure::chunk::addmatchingitems::matchingItemsKeyName, "matchingItems"),
    ROW(structure::chunk::addmatchingitems::filterKeyName, "filter"),
    ROW(structure::chunk::addmessage::exchangeValue, "vexo-context-add-messages"),
    ROW(structure::chunk::addmessage::messagesKeyName, "messages"),
    ROW(structure::chunk::getfile::exchangeValue, "vexo-context-rpc-get-files"),
    ROW(structure::chunk::getfile::propertiesKeyName, "properties"),
    ROW(structure::chunk::getfile::correlationIdKeyName, "correlation-id"),
    ROW(structure::chunk::getfile::replyToKeyName, "reply-to"),
    ROW(structure::chunk::getfile::contextIdKeyName, "context"),
    ROW(structure::chunk::getfile::referenceKeyName, "reference"),
    ROW(structure::chunk::newcontext::eventValue, "new-context"),
    ROW(structure::chunk::contextchanged::eventValue, "context-changed"),
    ROW(structure::chunk::contextchanged::versionValue, "1.1.2"),
    ROW(structure::chunk::contextchanged::contextKeyName, "context"),
    ROW(structure::chunk::contextchanged::versionKeyName, "version"),
    ROW(structure::chunk::contextchanged::contextIdKeyName, "id"),
    ROW(structure::chunk::contextchanged::updateChunkDataKeyName, "data"),
    ROW(structure::chunk::contextcreated::exchangeValue, "context-created"),
    ROW(structure::chunk::contextcreated::contextIdKeyName, "contextId"),
    ROW(structure::chunk::contextremoved::exchangeValue, "context-removed"),
    ROW(structure::chunk::contextremoved::contextIdKeyName, "contextId"),
    ROW(structure::context::actionRequestsKeyName, "actionRequests"),
    ROW(structure::context::idKeyName, "_id"),
    ROW(structure::context::inboxKeyName, "inbox"),
    ROW(structure::jsonobject::credentialvariable::serviceKeyName, "service"),
    ROW(structure::jsonobject::credentialvariable::idKeyName, "id"),
    ROW(structure::jsonobject::credentialvariable::secondaryIdsKeyName, "secondaryIds"),
    ROW(structure::jsonobject::credentialvariable::keyKeyName, "key"),
    ROW(structure::jsonobject::credentialvariable::certKeyName, "cert"),
    ROW(structure::jsonobject::credentialvariable::keyPassKeyName, "keyPass"),
    ROW(structure::jsonobject::credentialvariable::tokenKeyName, "token"),
    ROW(structure::jsonobject::credentialvariable::caCertsKeyName, "caCerts"),
    ROW(structure::jsonobject::message::identifierKeyName, "id"),
    ROW(structure::jsonobject::message::typeKeyName, "type"),
    ROW(structure::jsonobject::message::typeMomentaryValue, "momentary"),
    ROW(structure::jsonobject::message::typeCustomLifeTimeValue, "customlifetime"),
    ROW(structure::jsonobject::message::typePersistentValue, "persistent"),
    ROW(structure::jsonobject::message::titleKeyName, "title"),
    ROW(structure::jsonobject::message::subtitleKeyName, "subtitle"),
    ROW(structure::jsonobject::message::textKeyName, "text"),
    ROW(structure::jsonobject::message::timestampKeyName, "timestamp"),
    ROW(structure::jsonobject::message::lifetimeKeyName, "lifetime"),
    ROW(structure::jsonobject::searchparameter::firstNameKeyName, "firstname"),
    ROW(structure::jsonobject::searchparameter::lastNameKeyName, "lastname"),
    ROW(structure::jsonobject::searchparameter::ahvNumberKeyName, "ahvnumber"),
    ROW(structure::qstring::timestamp::formatString, "yyyy-MM-ddTHH:mm:ss"),
    ROW(structure::qstring::lifetime::formatString, "HH:mm:ss"),
    ROW(structure::request::palliacarelogin::nameKeyName, "name"),
    ROW(structure::request::palliacarelogin::passwordKeyName, "password"),
    ROW(structure::request::searchpatients::searchParameterKeyName, "parameter"),
    ROW(structure::request::searchpatients::orgIdsKeyName, "orgIds"),
    ROW(structure::response::palliacarestatus::loginOutcomeKeyName, "loginoutcome"),
    ROW(k7PluginADSwiss::name, "k7-plugin-adswiss"),
    ROW(k7PluginMediWinCB::name, "k7-plugin-mediwin-cb"),
    ROW(k7PluginPalliacare::name, "k7-plugin-palliacare"),
    ROW(k7PluginMediWinCB::configuration::groupName, "ch.tessel.vexo-service.mediwincb"),
    ROW(k7PluginMediWinCB::configuration::softwareStatusName, "softwarestatus"),
    ROW(k7PluginMediWinCB::configuration::statusMediWinCBFoundValue, "mediwincbfound"),
    ROW(k7PluginMediWinCB::configuration::statusMediWinCBNotFoundValue, "mediwincbnotfound"),
    ROW(k7PluginMediWinCB::configuration::communicationStatusName, "communicationstatus"),
    ROW(k7PluginMediWinCB::configuration::statusNotConfiguredValue, "notconfigured"),
    ROW(k7PluginMediWinCB::configuration::statusCommunicationFolderNotFoundValue, "communicationfoldernotfound"),
    ROW(k7PluginMediWinCB::configuration::statusCommunicationFolderNotReadableWritableValue, "communicationfoldernotreadablewritable"),
    ROW(k7PluginMediWinCB::configuration::statusCommunicationFolderFoundAutomaticValue, "communicationfolderfoundautomatic"),
    ROW(k7PluginMediWinCB::configuration::statusCommunicationFilesIncompleteValue, "communicationfilesincomplete"),
    ROW(k7PluginMediWinCB::configuration::statusCommunicationFilesInstalledValue, "communicationfilesinstalled"),
    ROW(k7PluginMediWinCB::configuration::communicationFolderName, "communicationfolder"),
    ROW(k7PluginMediWinCB::configuration::inputFolderName, "inputfolder"),
    ROW(k7PluginMediWinCB::configuration::outputFolderName, "outputfolder"),
    ROW(k7PluginMediWinCB::communication::contextFileName, "context.json"),
    ROW(VexoForm::configuration::groupName, "ch.tessel.vexo-service.form"),
    ROW(VexoForm::configuration::saveToFolderName, "saveToDiskPath"),
    ROW(mediWinCB::configuration::registry::path, "HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432Node\\AEK"),
    ROW(mediWinCB::configuration::registry::CB8::programFolderName, "CBROOTFOLDER"),
    ROW(mediWinCB::configuration::registry::CB10::programFolderName, "Network_PgFolder"),
    ROW(mediWinCB::configuration::standard::communicationFolderName, "AEKCOM"),
    ROW(mediWinCB::configuration::standard::vexoInputFolderName, "vexoform-input"),
    ROW(mediWinCB::configuration::standard::vexoOutputFolderName, "vexoform-output"),
    ROW(mediWinCB::ezuweisung::statusSubmittedValue, "submitted"),
};
// clang-format on

} // namespace

Q_DECLARE_METATYPE(TextConstant)

class ConstantsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textsAreExact_data() { addRows(); }
    void textsAreExact()
    {
        QFETCH(TextConstant, function);
        QFETCH(QString, value);
        QCOMPARE(function(), value);
    }

    void textsAreSharedLiterals_data() { addRows(); }
    void textsAreSharedLiterals()
    {
        QFETCH(TextConstant, function);
        QString first = function();
        QString second = function();
        QCOMPARE(first, second);
        QCOMPARE(first.constData(), second.constData());
        QVERIFY(first.data_ptr()->ref.isStatic());
    }

    void changingACopyDoesNotChangeTheConstant()
    {
        QString text = constants::structure::chunk::dataName();
        text.append(QLatin1Char('!'));
        QCOMPARE(constants::structure::chunk::dataName(), QStringLiteral("data"));
    }

    void fileCollectionHasTwoEntriesInOrder()
    {
        using constants::k7PluginMediWinCB::configuration::communicationFileCollection;
        QCOMPARE(communicationFileCollection(),
                 (QStringList{QStringLiteral("vexoform.cti"), QStringLiteral("vexoform.cto")}));
        QVERIFY(communicationFileCollection().isSharedWith(communicationFileCollection()));
    }

    void rewatchTimeoutIsAnInteger()
    {
        using constants::k7PluginMediWinCB::communication::rewatchTimerTimeoutMiliseconds;
        static_assert(std::is_same_v<decltype(rewatchTimerTimeoutMiliseconds()), int>);
        QCOMPARE(rewatchTimerTimeoutMiliseconds(), 50);
    }

private:
    static void addRows()
    {
        QTest::addColumn<TextConstant>("function");
        QTest::addColumn<QString>("value");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.function << QString::fromLatin1(row.value);
    }
};

QTEST_GUILESS_MAIN(ConstantsTest)
#include "tst_constants.moc"
