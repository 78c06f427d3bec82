#pragma once

#include <QString>

#include <optional>
#include <sys/types.h>

/// The number of the user of this name. Empty if there is none, or if the system cannot tell, with the reason
/// in `why`. May ask a directory service over the network.
[[nodiscard]] std::optional<uid_t> userOfName(const QString &name, QString &why);

/// The name of the user of this number; null if there is none, or if the system cannot tell. May ask as well.
[[nodiscard]] QString nameOfUser(uid_t user);
