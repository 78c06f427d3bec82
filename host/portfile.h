#pragma once

#include "startfailure.h"

#include <optional>

/// Writes `port` in decimal and a line feed into the file, which appears complete or not at all.
[[nodiscard]] std::optional<StartFailure> writePortFile(const QString &file, quint16 port);
