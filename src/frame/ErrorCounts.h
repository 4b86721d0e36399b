#pragma once

#include <cstdint>
#include <limits>

namespace kestrane {

/// Events counted over the whole run, with the limits that end it. One record per process.
struct ErrorCounts {
    std::int32_t fatals = 0;
    std::int32_t errors = 0;
    std::int32_t warnings = 0;
    std::int32_t errorLimit = std::numeric_limits<std::int32_t>::max();
    std::int32_t warningLimit = std::numeric_limits<std::int32_t>::max();
};

}  // namespace kestrane
