#pragma once

#include <QString>

namespace buswire {

/// Where the socket lies: the path that the setting "ch.tessel.vexo-service.buswire/socket" gives, or, if it
/// is absent or empty, "buswire.sock" in the directory XDG_RUNTIME_DIR. Empty if there is neither.
[[nodiscard]] QString socketPath();

} // namespace buswire
