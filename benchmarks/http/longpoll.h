#pragma once

struct Options;

/// Prints p50_us and p99_us from the sending of a change to the whole answer of the one poll that waits for
/// it, and how many changes were measured.
void measureWake(const Options &options);

/// Prints fanout_ms, the median time from the sending of one change to the last answer of all polls,
/// cpu_us_per_answer, and resident_bytes_per_poll of the server, its connection included.
void measureFanout(const Options &options);
