#pragma once

#include "listenaddress.h"
#include "startfailure.h"

#include <QStringList>

#include <optional>
#include <variant>

/// The command line of the service.
struct HostOptions
{
    enum class Task { Serve, ShowHelp, ShowVersion };

    Task task = Task::Serve;
    std::optional<ListenAddress> listen; ///< `--listen`
    QStringList plugins; ///< `--plugin`, in the order given
    QStringList pluginDirectories; ///< `--plugin-dir`, in the order given
    QString portFile; ///< `--port-file`; empty for none

    /// Reads the arguments, the first of which is the program. Wrong options are a failure with status 2.
    [[nodiscard]] static std::variant<HostOptions, StartFailure> parse(const QStringList &arguments);

    /// What `--help` prints.
    [[nodiscard]] static QString helpText();
};
