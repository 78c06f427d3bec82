#pragma once

#include "pluginset.h"
#include "startfailure.h"

#include <QStringList>

#include <functional>
#include <variant>

/// Tells whether the setting with this full key, such as "ch.tessel.vexo-service/http.listen", is set.
using SettingIsSet = std::function<bool(const QString &key)>;

/**
 * Loads plug-ins: first `files` in the order given, then all libraries of each of `directories` in the order
 * of their names. A file that is reached twice is loaded once, at its first place. Nothing is initialized.
 *
 * A plug-in that names a setting as "enabledBySetting" in its metadata is optional: a directory yields it
 * only if that setting is set, whatever the value. Named as a file it is always loaded.
 *
 * The first file that cannot be loaded is a failure that names it and says why, and so is a directory that
 * does not exist, or no plug-in at all; what was loaded up to then is destroyed.
 */
[[nodiscard]] std::variant<PluginSet, StartFailure> loadPlugins(
    const QStringList &files, const QStringList &directories,
    const SettingIsSet &isSet = [](const QString & /*key*/) { return false; });
