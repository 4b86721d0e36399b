#include "equil/SolverStats.h"

#include <algorithm>

namespace kestrane {

void SolverStats::add(const SolverCounters& counters) {
    ++calls;
    for (std::size_t i = 0; i < COUNTER_COUNT; ++i) {
        sum[i] += counters[i];
        largest[i] = std::max(largest[i], counters[i]);
    }
}

SolverStatistics& solver_statistics() {
    static SolverStatistics statistics;
    return statistics;
}

}  // namespace kestrane
