#pragma once

class QJsonArray;

/// One element for each pair of `first` and `second`: that of `second` where the "id"s are equal as text,
/// else that of `first`. If one array is empty, the other one.
[[nodiscard]] QJsonArray pairedResources(const QJsonArray &first, const QJsonArray &second);
