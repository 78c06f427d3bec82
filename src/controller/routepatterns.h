#pragma once

#include <QRegularExpression>

/**
 * The paths that the plug-in serves, each a pattern for a whole text, built on first use. Capture 1 is the id
 * of the context, of ASCII letters and digits; only the pattern of a file's name has a capture 2. One slash
 * at the end is allowed where nothing else is said. Event-loop thread only.
 */
namespace routepatterns {

/// /context
[[nodiscard]] QRegularExpression contextRegularExpression();
/// /context/{id}
[[nodiscard]] QRegularExpression contextInstanceRegularExpression();
/// /context/{id}/event
[[nodiscard]] QRegularExpression contextInstanceEventRegularExpression();
/// /context/{id}/file
[[nodiscard]] QRegularExpression contextInstanceFileRegularExpression();
/// /context/{id}/file/{name}, the name of ASCII letters, digits, "_", "-", "." and "%".
[[nodiscard]] QRegularExpression contextInstanceFileWithNameRegularExpression();
/// /context/{id}$form, with or without a slash behind the id, and no slash at the end.
[[nodiscard]] QRegularExpression contextActionFormRegularExpression();
/// /context/{id}/credentials
[[nodiscard]] QRegularExpression contextCredentialsRegularExpression();
/// /message/event, deliberately without the trailing slash that the paths of contexts may have.
[[nodiscard]] QRegularExpression messageEventRegularExpression();
/// /message, without one likewise.
[[nodiscard]] QRegularExpression messageRegularExpression();

} // namespace routepatterns
