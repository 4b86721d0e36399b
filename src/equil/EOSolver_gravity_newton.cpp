// Newton's method for the fluid at another height: unknowns w and ln P.
//
// With d the damping factor and z the composition at the reference, the fluid at height h has
//     t_i = z_i exp(d w_i),  sum t_i = 1,  w_i = R_i - ln phi_i(t, P) - ln(P/P_ref),
//     R_i = ln phi_i(z, P_ref) - M_i g h/(R T),
// with volume translation in ln phi. For d = 1 these are the equations of equilibrium in gravity
// (Gibbs; Schulte, SPE 9235, 1980). For every d they keep sum t_i dw_i = 0 along the column, so
// that with the Gibbs-Duhem equation dP = -density g dh. Steps add up, and reverse.

#include <algorithm>
#include <cmath>

#include "equil/EOSolver.h"
#include "equil/EOSolver_gravity.h"
#include "equil/PackedLDL.h"
#include "fluid/Charzation.h"

namespace kestrane {

namespace {

constexpr int ROUND_LIMIT = 200;
constexpr int HALVING_LIMIT = 12;
constexpr int SUBSTITUTIONS_PER_CYCLE = 5;  ///< the last of them is an acceleration
constexpr double DOUBLE_SPACING = 2.220446049250313e-16;
/// Residuals that fall no more are rounding if they are below this.
constexpr double ROUNDING = 1e-11;
constexpr int STALLED_ROUNDS = 4;
constexpr double LARGEST_LN_P_STEP = 4.0;
constexpr double LARGEST_LN_T_STEP = 3.0;  ///< of d w
constexpr double NEWTON_RANGE = 1.0;       ///< of the residual

}  // namespace

EOSolver::GravityNewton::GravityNewton(WorkStack& work, std::size_t n) {
    for (std::span<double>* array : {&R, &w, &r, &r1, &v, &step}) *array = work.take(n);
    M = work.take(n * (n + 1) / 2);
    std::ranges::fill(w, 0.0);
    std::ranges::fill(r, 0.0);
    std::ranges::fill(step, 0.0);
}

/// The reference, which is the feed's record at the cell's pressure, and the target at that height
/// over it.
void EOSolver::gravity_target(GravityNewton& s, double height) {
    const double P = s.P_ref;
    s.ln_P_ref = std::log(P);
    std::ranges::copy(s.z, feed_.comps);
    eos_.set_pressure(*feed_.c_parms, P);
    evaluate(feed_, 0);
    eos_.add_volume_term(*feed_.c_parms, ln_phi(feed_), 1.0);
    const double h = height * GRAVITY / (GAS_CONSTANT * cell_.temperature.value);
    for (std::size_t i = 0; i < n_; ++i) s.R[i] = feed_.ln_phi[i] - h * charz_.comps[i].mw;
}

/// Hydrostatic with the density of the reference, which a gas follows in ln P and a liquid, under
/// more pressure, in P.
void EOSolver::gravity_first_pressure(GravityNewton& s, double height) const {
    double mass = 0.0;
    for (std::size_t i = 0; i < n_; ++i) mass += s.z[i] * charz_.comps[i].mw;
    const double Z = eos_.z_factor(*feed_.c_parms);
    const double first =
        -height * GRAVITY * mass / (GAS_CONSTANT * cell_.temperature.value * std::max(Z, 0.01));
    s.q = first > 0.5 && Z < 1.0 ? std::log1p(first) : first;
    s.q = std::clamp(s.q, LN_MIN + 1.0 - s.ln_P_ref, LN_MAX - 1.0 - s.ln_P_ref);
}

int EOSolver::gravity_newton(GravityNewton& s) {
    s.end = GRAVITY_UNCONVERGED;
    bool converged = false;
    while (gravity_trial(s)) {
        converged = gravity_converged(s);
        if (converged || ++s.round > ROUND_LIMIT) break;
        gravity_pressure_step(s);
        if (s.end == GRAVITY_P_BOUNDS) break;
        if (!gravity_newton_step(s)) gravity_substitution(s);
        gravity_limit(s);
        s.q += s.q_step;
        for (std::size_t i = 0; i < n_; ++i) s.w[i] += s.step[i];
        s.halvings = HALVING_LIMIT;
    }
    if (converged)
        s.end = GRAVITY_CONVERGED;
    else
        ++s.counters[COUNT_FAILURES];
    solver_statistics().segregations.add(s.counters);
    return s.end;
}

/// Evaluates the present point, halving the step back to the last one until it is of use. False if
/// no point of use is left.
bool EOSolver::gravity_trial(GravityNewton& s) {
    for (;;) {
        const bool in_range = gravity_compose(s);
        if (in_range) gravity_evaluate(s);
        const bool usable = in_range && std::isfinite(s.res);
        if (usable && (s.halvings == 0 || s.res <= std::max(2.0 * s.res_prev, s.tolerance))) break;
        if (s.round == 0 || s.halvings-- == 0) {
            if (!in_range) s.end = GRAVITY_K_BOUNDS;
            return false;
        }
        s.q_step *= 0.5;
        s.q -= s.q_step;
        for (std::size_t i = 0; i < n_; ++i) {
            s.step[i] *= 0.5;
            s.w[i] -= s.step[i];
        }
        ++s.counters[COUNT_HALVINGS];
        s.substitutions = 0;
    }
    s.res_prev = s.res;
    return true;
}

/// Composition from w, which is shifted so that the composition sums to 1. False if out of range,
/// or if a component would vanish.
bool EOSolver::gravity_compose(GravityNewton& s) {
    double low = LN_MAX, high = -LN_MAX;
    for (std::size_t i = 0; i < n_; ++i) {
        if (s.is_absent(i)) continue;
        low = std::min(low, s.w[i]);
        high = std::max(high, s.w[i]);
    }
    s.spread = high - low;
    const double d = s.damping;
    if (!(d * s.spread < LN_MAX) || !std::isfinite(s.spread)) return false;
    double excess = 0.0, total = 0.0;
    const double centre = 0.5 * (low + high);
    for (std::size_t i = 0; i < n_; ++i) {
        s.w[i] = s.is_absent(i) ? 0.0 : s.w[i] - centre;
        excess += d > 0.0 ? s.z[i] * std::expm1(d * s.w[i]) : s.z[i] * s.w[i];
        total += s.z[i];
    }
    excess /= total;
    const double shift = d > 0.0 ? std::log1p(excess) / d : excess;
    total = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        if (!s.is_absent(i)) s.w[i] -= shift;
        feed_.comps[i] = std::max(s.z[i] * std::exp(d * s.w[i]), TINY_AMOUNT);
        if (feed_.comps[i] <= TINY_AMOUNT && !s.is_absent(i)) return false;
        total += feed_.comps[i];
    }
    if (d > 0.0)
        for (double& t : comps(feed_)) t /= total;
    else
        std::ranges::copy(s.z, feed_.comps);
    return std::isfinite(shift);
}

/// The phase at the present point, and the residuals.
void EOSolver::gravity_evaluate(GravityNewton& s) {
    eos_.set_pressure(*feed_.c_parms, std::exp(s.ln_P_ref + s.q));
    evaluate(feed_, 0);
    ++s.counters[COUNT_ROUNDS];
    eos_.ln_phi_dlnp(*feed_.c_parms, s.v, false);
    eos_.add_volume_term(*feed_.c_parms, ln_phi(feed_), 1.0);
    eos_.add_volume_term(*feed_.c_parms, s.v, 1.0);
    std::swap(s.r, s.r1);
    s.sigma = s.res = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        s.r[i] = s.is_absent(i) ? 0.0 : s.R[i] - feed_.ln_phi[i] - s.w[i] - s.q;
        s.sigma += feed_.comps[i] * s.r[i];
        if (!(std::abs(s.r[i]) <= s.res)) s.res = std::abs(s.r[i]);
    }
    s.Z = eos_.z_factor(*feed_.c_parms);
    s.tolerance = 0.5 * ((std::abs(s.q) + s.spread) * E12 + E96) + s.Z * DOUBLE_SPACING;
}

/// True at a solution. Residuals of rounding may stay above the tolerance where ln phi are large.
bool EOSolver::gravity_converged(GravityNewton& s) const {
    if (std::abs(s.sigma) <= s.tolerance) s.sigma = 0.0;
    if (s.sigma == 0.0 && s.res <= s.tolerance) return true;
    if (s.res < 0.5 * s.least) {
        s.least = s.res;
        s.stalled = 0;
    } else if (s.res <= ROUNDING) {
        ++s.stalled;
    }
    return s.stalled >= STALLED_ROUNDS;
}

/// Sum t_i (1 + d ln phi_i/d ln P) is Z.
void EOSolver::gravity_pressure_step(GravityNewton& s) const {
    const double low = LN_MIN + 1.0 - s.ln_P_ref, high = LN_MAX - 1.0 - s.ln_P_ref;
    if ((s.q <= low && s.sigma < 0.0) || (s.q >= high && s.sigma > 0.0)) {
        s.end = GRAVITY_P_BOUNDS;
        return;
    }
    const double step = s.Z > 0.0 ? s.sigma / s.Z : s.sigma;
    s.q_step = std::clamp(step, -LARGEST_LN_P_STEP, LARGEST_LN_P_STEP);
    s.q_step = std::clamp(s.q + s.q_step, low, high) - s.q;
}

/// Newton step in w with that in ln P given. False if none is to be had.
bool EOSolver::gravity_newton_step(GravityNewton& s) {
    if (!(s.res < NEWTON_RANGE)) return false;
    const std::span<const double> t = comps(feed_);
    eos_.ln_phi_dn(*feed_.c_parms, s.M);
    ++s.counters[COUNT_DERIVATIVES];
    for (double& element : s.M) element *= s.damping;
    for (std::size_t i = 0; i < n_; ++i) {
        s.M[packed(i, i)] += 1.0 / t[i];
        s.step[i] = s.is_absent(i) ? 0.0 : s.r[i] - (1.0 + s.v[i]) * s.q_step;
    }
    if (!(ldl_factor(s.M, n_).smallest_abs > E6144)) return false;
    ldl_solve(s.M, s.step);
    for (std::size_t i = 0; i < n_; ++i) s.step[i] /= t[i];
    ++s.counters[COUNT_NEWTON];
    s.substitutions = 0;
    return true;
}

void EOSolver::gravity_substitution(GravityNewton& s) {
    double factor = 1.0;
    if (++s.substitutions < SUBSTITUTIONS_PER_CYCLE || s.spread <= s.res) {
        ++s.counters[COUNT_SUBSTITUTION];
    } else {
        double a = 0.0, b = 0.0;
        for (std::size_t i = 0; i < n_; ++i) {
            const double weight = feed_.comps[i] + s.z[i];
            a += weight * s.r1[i] * s.r1[i];
            b += weight * s.r1[i] * (s.r1[i] - s.r[i]);
        }
        const double limit = std::clamp(2.0 * s.spread / s.res, 100.0, 1e6);
        const bool capped = std::abs(b) * limit <= a;
        factor = capped ? 0.05 * limit : std::abs(a / b);
        ++s.counters[capped ? COUNT_ONE_TERM_CAPPED : COUNT_ONE_TERM];
        s.substitutions = 0;
    }
    for (std::size_t i = 0; i < n_; ++i)
        s.step[i] = s.is_absent(i) ? 0.0 : factor * s.r[i] - (1.0 + s.v[i]) * s.q_step;
}

/// Keeps the composition from changing beyond reason in one step.
void EOSolver::gravity_limit(GravityNewton& s) const {
    double largest = 0.0;
    for (double step : s.step) largest = std::max(largest, s.damping * std::abs(step));
    if (!(largest > LARGEST_LN_T_STEP)) return;
    const double factor = LARGEST_LN_T_STEP / largest;
    s.q_step *= factor;
    for (double& step : s.step) step *= factor;
    ++s.counters[COUNT_LIMITED];
}

}  // namespace kestrane
