#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the input as a failure that says `what`, unless `holds`.
inline void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}
