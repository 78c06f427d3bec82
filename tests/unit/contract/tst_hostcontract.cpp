#include "chunkbehaviour.h"
#include "vtableslot.h"

#include <http/server/request.h>
#include <http/server/response.h>
#include <k7-plugin-api/chunkservice.h>
#include <k7-plugin-api/chunkupdatelistener.h>
#include <k7-plugin-api/controller.h>
#include <k7-plugin-api/controllerstrategy.h>
#include <k7-plugin-api/vexoserviceinterface.h>

#include <QJsonValue>
#include <QtTest>

#include <type_traits>

using http::server::Request;
using http::server::Response;

static_assert(std::has_virtual_destructor_v<VexoServicePlugin>);
static_assert(std::has_virtual_destructor_v<http::ControllerStrategy>);
static_assert(std::has_virtual_destructor_v<ChunkBehaviour>);
static_assert(!std::has_virtual_destructor_v<http::Controller>);
static_assert(!std::has_virtual_destructor_v<ChunkUpdateListener>);
static_assert(!std::has_virtual_destructor_v<ChunkService>);
static_assert(!std::is_polymorphic_v<Request> && !std::is_polymorphic_v<Response>);

// The numbers are part of the contract.
static_assert(static_cast<int>(Request::HttpMethod::Delete) == 0);
static_assert(static_cast<int>(Request::HttpMethod::Get) == 1);
static_assert(static_cast<int>(Request::HttpMethod::Head) == 2);
static_assert(static_cast<int>(Request::HttpMethod::Post) == 3);
static_assert(static_cast<int>(Request::HttpMethod::Put) == 4);
static_assert(static_cast<int>(Request::HttpMethod::Connect) == 5);
static_assert(static_cast<int>(Request::HttpMethod::Options) == 6);
static_assert(static_cast<int>(Request::HttpMethod::Trace) == 7);
static_assert(static_cast<int>(Request::HttpMethod::Patch) == 28);
static_assert(static_cast<int>(Request::HttpMethod::Unknown) == 255);

static_assert(std::is_same_v<decltype(&Request::method), Request::HttpMethod (Request::*)() const>);
static_assert(std::is_same_v<decltype(&Request::url), const QUrl &(Request::*)() const>);
static_assert(std::is_same_v<decltype(&Request::header), QString (Request::*)(const QString &) const>);
static_assert(std::is_same_v<decltype(&Request::body), const QByteArray &(Request::*)() const>);
static_assert(
    std::is_same_v<decltype(&Response::setHeader), void (Response::*)(const QString &, const QString &)>);
static_assert(std::is_same_v<decltype(&Response::writeHead), void (Response::*)(int)>);
static_assert(std::is_same_v<decltype(&Response::end), void (Response::*)(const QByteArray &)>);

/// What plug-ins built elsewhere rely on, down to the layout of the interfaces.
class HostContractTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void operationsStandInTheirOrder_data();
    void operationsStandInTheirOrder();
    void interfaceIsNamed();
};

void HostContractTest::operationsStandInTheirOrder_data()
{
    QTest::addColumn<int>("slot");
    QTest::addColumn<int>("expected");

    QTest::newRow("plug-in: initialize") << slotOf(&VexoServicePlugin::initialize) << 2;
    QTest::newRow("plug-in: getControllers") << slotOf(&VexoServicePlugin::getControllers) << 3;
    QTest::newRow("plug-in: attachChunkService") << slotOf(&VexoServicePlugin::attachChunkService) << 4;
    QTest::newRow("plug-in: detachChunkService") << slotOf(&VexoServicePlugin::detachChunkService) << 5;
    QTest::newRow("plug-in: pluginTranslator") << slotOf(&VexoServicePlugin::pluginTranslator) << 6;
    QTest::newRow("strategy: createController") << slotOf(&http::ControllerStrategy::createController) << 2;
    QTest::newRow("controller: release") << slotOf(&http::Controller::release) << 0;
    QTest::newRow("controller: setRequest") << slotOf(&http::Controller::setRequest) << 1;
    QTest::newRow("controller: setResponse") << slotOf(&http::Controller::setResponse) << 2;
    QTest::newRow("controller: onNewRequest") << slotOf(&http::Controller::onNewRequest) << 3;
    QTest::newRow("listener: onChunkUpdated") << slotOf(&ChunkUpdateListener::onChunkUpdated) << 0;
    QTest::newRow("bus: publishChunk") << slotOf(&ChunkService::publishChunk) << 0;
    QTest::newRow("bus: attachChunkListener") << slotOf(&ChunkService::attachChunkListener) << 1;
    QTest::newRow("behaviour: onChunk") << slotOf(&ChunkBehaviour::onChunk) << 2;
}

void HostContractTest::operationsStandInTheirOrder()
{
    QFETCH(int, slot);
    QFETCH(int, expected);
    QCOMPARE(slot, expected);
}

void HostContractTest::interfaceIsNamed()
{
    QCOMPARE(qobject_interface_iid<VexoServicePlugin *>(), "ch.tessel.vexo-service.plugin");
}

QTEST_GUILESS_MAIN(HostContractTest)
#include "tst_hostcontract.moc"
