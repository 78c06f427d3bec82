#pragma once

#include <QLatin1String>

class ContextService;
class QJsonValue;
class QLoggingCategory;

/// What tells one kind of resource from another: the words of its chunks and of its log lines.
struct ResourceKind
{
    QLatin1String exchange;
    QLatin1String key; ///< of the bundle in the chunk's "body", and of the array in the context
    const char *acceptedText; ///< stands before the number of entries of an accepted chunk
    const char *existingText; ///< stands before the number of resources gathered so far
    bool logsPatients; ///< whether "patient" of filter and context is logged at debug level
    bool warnsOfMissingIds; ///< whether a resource without "id" is warned of
    const QLoggingCategory &(*logging)();
};

/**
 * Takes a chunk of this kind, `{"exchange": ..., "source": ..., "body": {"filter": {}, KEY: {"entry":
 * [{"resource": {}}]}}}`, and merges its resources (ResourceBundle) into the array KEY of every context that
 * overlaps the filter (overlap()). A chunk without "filter" is refused with a warning; a filter that is no
 * object counts as empty, and an empty one fits every context. Other chunks are ignored.
 */
void addResources(ContextService &contextService, const QJsonValue &chunk, const ResourceKind &kind);
