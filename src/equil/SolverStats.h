#pragma once

#include <array>
#include <string_view>

namespace kestrane {

/// What one solver call did. The places are shared by all iterations; each uses those it has.
enum SolverCounter : std::size_t {
    COUNT_ROUNDS,           ///< rounds or evaluations
    COUNT_DERIVATIVES,      ///< evaluations of composition derivatives
    COUNT_NEWTON,           ///< Newton steps; hyperbola steps of Rachford-Rice
    COUNT_TIE_LINE,         ///< two-parameter steps along the tie-line
    COUNT_TWO_TERM,         ///< accelerations from three residuals
    COUNT_ONE_TERM,         ///< accelerations from two residuals
    COUNT_ONE_TERM_CAPPED,  ///< the same at their largest factor
    COUNT_SUBSTITUTION,     ///< successive substitution steps
    COUNT_LIMITED,          ///< limited steps; bisections of Rachford-Rice
    COUNT_HALVINGS,         ///< steps halved after their evaluation
    COUNT_COLLAPSES,        ///< one-phase collapses; changes to the other root
    COUNT_FAILURES,         ///< ends without convergence
    COUNTER_COUNT
};
using SolverCounters = std::array<int, COUNTER_COUNT>;

/// Sum and maximum of the counters over all calls of one outcome.
struct SolverStats {
    std::string_view name;
    int calls = 0;
    SolverCounters sum{};
    SolverCounters largest{};

    void add(const SolverCounters& counters);
    /// One counter of a call.
    void count(SolverCounter counter, int value) {
        sum[counter] += value;
        if (largest[counter] < value) largest[counter] = value;
    }
};

/// The statistics of a run, by heading and outcome.
struct SolverStatistics {
    // Split Statistics
    SolverStats trivial_splits{"Trivial Splits"};
    SolverStats negative_splits{"Negative Flash Splits"};
    SolverStats two_phase_splits{"Two-Phase Splits"};
    // Rachford-Rice Statistics
    SolverStats rachford_rice{"Calculations"};
    // Stability Test Statistics
    SolverStats trivial_tests{"Trivial Tests"};
    SolverStats stable_tests{"Stable Tests"};
    SolverStats unstable_tests{"Unstable Tests"};
    // Saturation Pressure Statistics
    SolverStats trivial_satps{"Trivial SatPs"};
    SolverStats nontrivial_satps{"Nontrivial SatPs"};
    // Segregation Statistics
    SolverStats segregations{"Calculations"};
};

/// One record per process; it counts over the whole run.
SolverStatistics& solver_statistics();

}  // namespace kestrane
