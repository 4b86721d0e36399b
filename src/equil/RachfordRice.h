#pragma once

#include <cstddef>
#include <span>

namespace kestrane {

/// Evaluations allowed to one Rachford-Rice solution.
inline constexpr int RACHFORD_RICE_LIMIT = 500;

/// Work and results of one Rachford-Rice solution. All arrays have n elements and belong to the
/// caller; nothing is allocated. After a trivial or out-of-range return only the fields from i_min
/// on, and a shift of ln_K, are set.
struct RachfordRiceState {
    std::span<const double> z;  ///< feed mole fractions
    std::span<double> ln_K;  ///< in; shifted if all K lie on one side of 1 and `companion` is given
    std::span<double> K;     ///< out
    std::span<double> companion;  ///< shifted with ln_K; may be empty
    std::span<double> xi;         ///< out: 1/(1 + (K - 1) V), at least DOUBLE_MIN
    std::span<double> x, y;       ///< out: phase compositions, not renormalized, above 0
    std::span<double> work_a, work_b, work_c;  ///< K - 1 and the two asymptotes' base arrays

    double L = 1.0, V = 0.0;  ///< in: start; out: phase fractions, either may be outside [0, 1]
    double slope = 0.0;       ///< out: D = sum z (K - 1)^2 xi^2
    std::size_t i_min = 0, i_max = 0;         ///< out: smallest and largest ln K, first of equals
    bool in_range = true;                     ///< out: ln K within (LN_MIN, LN_MAX)
    bool trivial = false;                     ///< out: no split
    int hyperbola_steps = 0, bisections = 0;  ///< out: counts of the two kinds of step
};

/// Solves g(V) = sum z (K - 1)/(1 + (K - 1) V) = 0 for V between the asymptotes
/// -1/(K_max - 1) < V < 1/(1 - K_min), where every mole fraction is positive. Phase fractions
/// outside [0, 1] (a negative flash; Whitson & Michelsen, Fluid Phase Equilib. 53 (1989) 51) are
/// solutions like any other.
///
/// The unknown is the distance from the nearer asymptote, u = V - V_min or w = V_max - V, so that
/// neither end loses digits. Each step fits p + q/u to value and slope: g is a concave increasing
/// function of 1/u, so from the side of g < 0 the steps approach the root monotonically with second
/// order; a step that leaves the bracket gives way to the bracket's end or middle.
///   tolerance          on |g| (|L| + |V|); at least NUM_EPS is used
///   trivial_tolerance  on the spread of ln K; <= 0: the cube root of the tolerance
///   snap               try V = 0 or V = 1 where the solution cannot be told from it
/// The iteration also ends where |g| is below the rounding of its own sum, or where the bracket
/// holds no further point: with |V| large the tolerance can lie below both.
/// Returns the number of evaluations, negative if RACHFORD_RICE_LIMIT did not suffice (the last
/// point is left); 0 if trivial or out of range. A ln K that is not a number is out of range.
int rachford_rice(RachfordRiceState& state, double tolerance, double trivial_tolerance, bool snap);

}  // namespace kestrane
