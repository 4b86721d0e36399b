#pragma once

#include <span>

#include "equil/EOSolver.h"

namespace kestrane {

/// How the Newton iteration of a step in gravity ended.
enum GravityEnd : int {
    GRAVITY_CONVERGED,
    GRAVITY_K_BOUNDS,     ///< ratios of mole fractions left the range of numbers
    GRAVITY_P_BOUNDS,     ///< the pressure did
    GRAVITY_UNCONVERGED,  ///< no solution in the rounds allowed
};

/// What the rounds of the Newton iteration for one step in gravity share.
struct EOSolver::GravityNewton {
    GravityNewton(WorkStack& work, std::size_t n);
    bool is_absent(std::size_t i) const { return z[i] <= TINY_AMOUNT; }

    std::span<const double> z;  ///< n: composition at the reference
    double P_ref = 0.0;         ///< Pa
    double ln_P_ref = 0.0;
    double damping = 1.0;
    std::span<double> R;      ///< n: target
    std::span<double> w;      ///< n: unknowns
    std::span<double> r, r1;  ///< n: residuals, present and previous
    std::span<double> v;      ///< n: d ln phi/d ln P
    std::span<double> step;   ///< n: last change of w
    std::span<double> M;      ///< packed: Hessian

    double q = 0.0, q_step = 0.0;  ///< ln(P/P_ref) and its last change
    double Z = 1.0;
    double spread = 0.0;  ///< of w
    double sigma = 0.0;   ///< sum t_i r_i
    double res = 0.0, res_prev = BIG;
    double tolerance = 0.0;
    double least = BIG;  ///< of the largest residual met
    int round = 0, halvings = 0, substitutions = 0, stalled = 0;
    int end = GRAVITY_UNCONVERGED;
    SolverCounters counters{};
};

}  // namespace kestrane
