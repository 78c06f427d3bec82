#pragma once

#include <chrono>
#include <cstdint>

namespace http::server {

/// What a client may send and how long it may take, with what it is told beyond that.
struct Limits
{
    std::int64_t maxTargetBytes = 16384; ///< the request target; 414
    std::int64_t maxHeaderBytes = 65536; ///< the whole header block, and the trailers of a body; 431
    std::int64_t maxBodyBytes = 67108864; ///< the decoded body; 413
    std::chrono::milliseconds headerTimeout{
        10000}; ///< first byte of a request to the end of its headers; 408
    std::chrono::milliseconds bodyTimeout{60000}; ///< a body without progress; 408
    std::chrono::milliseconds idleTimeout{60000}; ///< between requests, or an answer without progress; close
    int maxConnections = 16384; ///< open at once; 503 and close
};

} // namespace http::server
