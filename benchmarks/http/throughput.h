#pragma once

struct Options;

/// Prints requests_per_second, cpu_us_per_request of the server and driver_busy, the driver's own share of a
/// processor: a figure near 1 says that the driver was the limit.
void measureThroughput(const Options &options);
