#include "ownedcontroller.h"

#include "thrownby.h"

#include <QLoggingCategory>

#include <utility>

static const QLoggingCategory &controllerLogging()
{
    static const QLoggingCategory category("ch.tessel.vexo-service.controller");
    return category;
}

OwnedController::OwnedController(http::Controller *controller)
    : m_controller(controller)
    , m_object(dynamic_cast<QObject *>(controller))
{
    m_isObject = !m_object.isNull();
}

OwnedController::OwnedController(OwnedController &&other) noexcept
    : m_controller(std::exchange(other.m_controller, nullptr))
    , m_isObject(other.m_isObject)
    , m_object(std::move(other.m_object))
{
}

OwnedController::~OwnedController()
{
    if (m_controller == nullptr || (m_isObject && m_object.isNull()))
        return;
    if (const auto thrown = thrownBy([this] { m_controller->release(); }))
        qCWarning(controllerLogging) << "A controller has thrown when it was released:" << *thrown;
}
