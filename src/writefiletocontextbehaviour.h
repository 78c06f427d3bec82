#pragma once

#include "chunkbehaviour.h"

class ContextService;

/**
 * "vexo-context-add-file": adds the file "filename", whose bytes stand in base64 under "content", to the
 * context "context" of "body"; "type" is its FHIR Coding. Nothing is required: what is missing or of another
 * type counts as empty, and of broken base64 the bytes are taken that can be. Writes nothing to disk.
 */
class WriteFileToContextBehaviour final : public ChunkBehaviour
{
public:
    explicit WriteFileToContextBehaviour(ContextService &contextService);

    void onChunk(const QJsonValue &chunk) override;

private:
    ContextService &m_contextService;
};
