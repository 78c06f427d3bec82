#pragma once

#include <k7-plugin-api/controller.h>

#include <QObject>
#include <QPointer>

/// Owns a controller from ControllerStrategy::createController() on and ends it with exactly one release(). A
/// controller that is a QObject may have destroyed itself by then, and is not touched again.
class OwnedController final
{
public:
    /// `controller` is not null.
    explicit OwnedController(http::Controller *controller);
    OwnedController(OwnedController &&other) noexcept;
    OwnedController &operator=(OwnedController &&) = delete;
    OwnedController(const OwnedController &) = delete;
    OwnedController &operator=(const OwnedController &) = delete;
    ~OwnedController();

    /// Whether the controller may end itself.
    [[nodiscard]] bool isObject() const { return m_isObject; }

    http::Controller *operator->() const { return m_controller; }

private:
    http::Controller *m_controller;
    bool m_isObject = false;
    QPointer<QObject> m_object;
};
