#pragma once

#include <chrono>
#include <cstdint>

#include <sys/types.h>

/// What another process has used so far, from /proc. Both throw std::runtime_error when it is gone.
namespace processusage {

/// User and system time, in the kernel's ticks of 10 ms.
[[nodiscard]] std::chrono::duration<double> cpuTime(pid_t process);

/// Resident memory, shared pages included.
[[nodiscard]] std::int64_t residentBytes(pid_t process);

} // namespace processusage
