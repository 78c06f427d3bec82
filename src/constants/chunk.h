#pragma once

#include <QString>

/// Keys and fixed values of chunks: the envelope, then one group for each chunk of a fixed form.
namespace constants::structure::chunk {
[[nodiscard]] QString bodyKeyName();
[[nodiscard]] QString dataName();
[[nodiscard]] QString eventName();
[[nodiscard]] QString exchangeKeyName();
[[nodiscard]] QString sourceName();
} // namespace constants::structure::chunk

namespace constants::structure::chunk::addmatchingitems {
[[nodiscard]] QString exchangeValue();
[[nodiscard]] QString matchingItemsKeyName();
[[nodiscard]] QString filterKeyName();
} // namespace constants::structure::chunk::addmatchingitems

namespace constants::structure::chunk::addmessage {
[[nodiscard]] QString exchangeValue();
[[nodiscard]] QString messagesKeyName();
} // namespace constants::structure::chunk::addmessage

namespace constants::structure::chunk::getfile {
[[nodiscard]] QString exchangeValue();
[[nodiscard]] QString propertiesKeyName();
[[nodiscard]] QString correlationIdKeyName();
[[nodiscard]] QString replyToKeyName();
[[nodiscard]] QString contextIdKeyName();
[[nodiscard]] QString referenceKeyName();
} // namespace constants::structure::chunk::getfile

namespace constants::structure::chunk::newcontext {
[[nodiscard]] QString eventValue();
} // namespace constants::structure::chunk::newcontext

namespace constants::structure::chunk::contextchanged {
[[nodiscard]] QString eventValue();
[[nodiscard]] QString versionValue();
[[nodiscard]] QString contextKeyName();
[[nodiscard]] QString versionKeyName();
[[nodiscard]] QString contextIdKeyName();
[[nodiscard]] QString updateChunkDataKeyName();
} // namespace constants::structure::chunk::contextchanged

namespace constants::structure::chunk::contextcreated {
[[nodiscard]] QString exchangeValue();
[[nodiscard]] QString contextIdKeyName();
} // namespace constants::structure::chunk::contextcreated

namespace constants::structure::chunk::contextremoved {
[[nodiscard]] QString exchangeValue();
[[nodiscard]] QString contextIdKeyName();
} // namespace constants::structure::chunk::contextremoved
