#pragma once

#include "pluginset.h"
#include "startfailure.h"

#include <QStringList>

#include <variant>

/**
 * Loads plug-ins: first `files` in the order given, then all libraries of each of `directories` in the order
 * of their names. A file that is reached twice is loaded once, at its first place. Nothing is initialized.
 *
 * The first file that cannot be loaded is a failure that names it and says why, and so is a directory that
 * does not exist, or no plug-in at all; what was loaded up to then is destroyed.
 */
[[nodiscard]] std::variant<PluginSet, StartFailure> loadPlugins(const QStringList &files,
                                                                const QStringList &directories);
