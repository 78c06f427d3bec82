#pragma once

class ChunkServiceProxy;
class QJsonValue;

/**
 * Answers the request `chunk` on the bus, if there is one, with
 * `{"exchange": ..., "properties": {"correlation-id": ...}, "body": body}`.
 *
 * "exchange" is "reply-to" of the request's "properties" without its first 9 characters, which are not looked
 * at; "correlation-id" is copied as it stands, of whatever type, and left out if the request has none. A
 * request that gives neither is answered all the same.
 */
void publishRpcReply(const ChunkServiceProxy &chunkServiceProxy, const QJsonValue &chunk,
                     const QJsonValue &body);
