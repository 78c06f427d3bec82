#pragma once

class QJsonObject;

/**
 * What an object that is a context holds of the clients' data: every key but the derived ones,
 * "matchingItems", "actionRequests", "inbox" and "attachments".
 */
namespace contextdata {

/// The data keys of `next` whose value differs from that in `old`, with their new values. A removed key is no
/// change, nor is a new key whose value is null.
[[nodiscard]] QJsonObject changedKeys(const QJsonObject &old, const QJsonObject &next);

/// `current` with each key of `update`, derived ones included, set to its value there, one level deep. Holds
/// no bytes of the values that it replaces.
[[nodiscard]] QJsonObject merged(const QJsonObject &current, const QJsonObject &update);

} // namespace contextdata
