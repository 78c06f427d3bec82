#pragma once

class QJsonObject;
class QLoggingCategory;

/**
 * Whether `context` holds everything that `filter` asks for; what the filter does not name plays no part.
 *
 * - Objects: every key of the filter must be in the context with a value that overlaps. Keys are taken in
 *   ascending order, and a key that is null on both sides ends the comparison of these two objects with true.
 * - Arrays: every element of the filter must overlap some element of the context, in any order.
 * - Texts, booleans and numbers must be equal.
 *
 * Values of different types never overlap; each such pair that is met is warned of in the category that
 * `logging` returns. The time taken for two arrays is the product of their sizes.
 */
[[nodiscard]] bool overlap(const QJsonObject &filter, const QJsonObject &context,
                           const QLoggingCategory &(*logging)());
