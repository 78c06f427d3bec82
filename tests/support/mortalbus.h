#pragma once

#include "recordingchunkservice.h"

#include <cstring>
#include <new>
#include <utility>

/// A bus that can go away, and whose memory then makes any use of it crash.
class MortalBus final
{
public:
    MortalBus() { begin(); }
    ~MortalBus() { end(); }
    Q_DISABLE_COPY_MOVE(MortalBus)

    /// The bus, while there is one.
    [[nodiscard]] RecordingChunkService &bus() { return *m_bus; }

    void end()
    {
        if (m_bus == nullptr)
            return;
        std::exchange(m_bus, nullptr)->~RecordingChunkService();
        std::memset(m_memory, 0xff, sizeof m_memory);
    }
    /// A new bus in the place of the one that has gone.
    void begin() { m_bus = new (m_memory) RecordingChunkService; }

private:
    alignas(RecordingChunkService) unsigned char m_memory[sizeof(RecordingChunkService)];
    RecordingChunkService *m_bus = nullptr;
};
