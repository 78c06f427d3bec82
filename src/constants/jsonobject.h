#pragma once

#include <QString>

/// Keys and fixed values of the JSON objects that the plug-in family shares.
namespace constants::structure::jsonobject::credentialvariable {
[[nodiscard]] QString serviceKeyName();
[[nodiscard]] QString idKeyName();
[[nodiscard]] QString secondaryIdsKeyName();
[[nodiscard]] QString keyKeyName();
[[nodiscard]] QString certKeyName();
[[nodiscard]] QString keyPassKeyName();
[[nodiscard]] QString tokenKeyName();
[[nodiscard]] QString caCertsKeyName();
} // namespace constants::structure::jsonobject::credentialvariable

namespace constants::structure::jsonobject::message {
[[nodiscard]] QString identifierKeyName();
[[nodiscard]] QString typeKeyName();
[[nodiscard]] QString typeMomentaryValue();
[[nodiscard]] QString typeCustomLifeTimeValue();
[[nodiscard]] QString typePersistentValue();
[[nodiscard]] QString titleKeyName();
[[nodiscard]] QString subtitleKeyName();
[[nodiscard]] QString textKeyName();
[[nodiscard]] QString timestampKeyName();
[[nodiscard]] QString lifetimeKeyName();
} // namespace constants::structure::jsonobject::message

namespace constants::structure::jsonobject::searchparameter {
[[nodiscard]] QString firstNameKeyName();
[[nodiscard]] QString lastNameKeyName();
[[nodiscard]] QString ahvNumberKeyName();
} // namespace constants::structure::jsonobject::searchparameter
