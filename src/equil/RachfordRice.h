#pragma once

#include <span>

namespace kestrane {

/// Work and results of one Rachford-Rice solution. All arrays have n elements and belong to the
/// caller; nothing is allocated.
struct RachfordRiceState {
    std::span<const double> z;  ///< feed mole fractions
    std::span<double> ln_K;     ///< in; shifted if all K lie on one side of 1 and `companion` is given
    std::span<double> K;        ///< out
    std::span<double> companion;  ///< shifted with ln_K; may be empty
    std::span<double> xi;       ///< out: 1/(1 + (K - 1) V)
    std::span<double> x, y;     ///< out: phase compositions, not renormalized
    std::span<double> work_a, work_b, work_c;  ///< K - 1 and the two asymptotes' base arrays

    double L = 1.0, V = 0.0;    ///< in: start; out: phase fractions, either may be outside [0, 1]
    double slope = 0.0;         ///< out: D = sum z (K - 1)^2 xi^2
    std::size_t i_min = 0, i_max = 0;  ///< out: smallest and largest ln K, first of equals
    bool in_range = true;       ///< out: ln K within [LN_MIN, LN_MAX]
    bool trivial = false;       ///< out: no split
    int hyperbola_steps = 0, bisections = 0;  ///< out: counts of the two kinds of step
};

/// Solves sum z (K - 1)/(1 + (K - 1) V) = 0 for V between the asymptotes, working from the nearer
/// one so that neither end loses digits.
///   tolerance          on |g| (|L| + |V|); at least NUM_EPS is used
///   trivial_tolerance  on the spread of ln K; <= 0: the cube root of the tolerance
///   snap               try V = 0 or V = 1 where the solution cannot be told from it
/// Returns the number of evaluations, negative if 500 did not suffice; 0 if trivial or out of range.
int rachford_rice(RachfordRiceState& state, double tolerance, double trivial_tolerance, bool snap);

}  // namespace kestrane
