#pragma once

#include <QString>

#include <exception>
#include <optional>

/// Runs `function`, which calls into a plug-in or what else may throw, and keeps what it throws from going
/// further. Returns what was thrown, for the log, or nothing if all went well.
template <typename Function>
[[nodiscard]] std::optional<QString> thrownBy(Function &&function)
{
    try {
        function();
        return {};
    } catch (const std::exception &exception) {
        return QString::fromUtf8(exception.what());
    } catch (...) {
        return QStringLiteral("something that is no std::exception");
    }
}
