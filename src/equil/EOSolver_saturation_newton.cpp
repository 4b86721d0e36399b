// Newton's method for a feed in equilibrium with an incipient phase: unknowns ln K and ln P.

#include <algorithm>
#include <cmath>

#include "equil/EOSolver.h"
#include "equil/PackedLDL.h"
#include "equil/Saturation.h"

namespace kestrane {

namespace {

constexpr int ROUND_LIMIT = 200;
constexpr int HALVING_LIMIT = 12;         ///< of a step
constexpr int ALL_HALVINGS_LIMIT = 100;  ///< of all steps; then the iteration goes round in circles
constexpr int SUBSTITUTIONS_PER_CYCLE = 5;  ///< the last of them is an acceleration
constexpr double LARGEST_LN_P_STEP = 4.0;
constexpr double SMALLEST_FRACTION = 1000.0 * DOUBLE_MIN;
/// Residuals that fall no more are rounding if they are below this.
constexpr double ROUNDING = 1e-11;
constexpr int STALLED_ROUNDS = 4;

}  // namespace

/// What the rounds of the Newton iteration share.
struct EOSolver::NewtonState {
    PhaseState* trial = nullptr;
    int sense = 1;
    double least_spread = SPREAD_TRIVIAL;  ///< of w, for the trial to be a phase
    std::span<double> w;         ///< n: ln(trial/feed)
    std::span<double> t;         ///< n: trial composition
    std::span<double> r, r1;     ///< n: residuals, present and previous
    std::span<double> v;         ///< n: d(ln phi trial - ln phi feed)/d ln P
    std::span<double> step;      ///< n: last change of w
    std::span<double> solution;  ///< n: of H v
    std::span<double> M;         ///< packed: Hessian

    double ln_P = 0.0, ln_P_step = 0.0;
    double spread = 0.0;  ///< of w
    double reach = 0.0;   ///< largest |w|
    double d = 0.0;       ///< tangent distance with the sign reversed; 0 at saturation
    double u = 0.0;       ///< slope of the tangent distance in ln P
    double res = 0.0, res_prev = BIG;
    double tolerance = 0.0;
    bool in_range = true, trivial = false;
    bool right_way = true;  ///< the slope is that of the side asked for
    bool root_changed = false;
    int trial_root = 0, feed_root = 0;  ///< at the point last accepted
    int round = 0, halvings = 0, substitutions = 0, stalled = 0;
    double least = BIG;  ///< of the largest residual met
    SolverCounters counters{};

    double error() const { return std::max(res, std::abs(d)); }
};

int EOSolver::saturation_newton(PhaseState& trial, std::span<double> ln_k, int sense,
                                double least) {
    WorkStack& stack = store_->work;
    const WorkStack::Frame frame(stack);
    NewtonState s;
    s.trial = &trial;
    s.sense = sense;
    s.least_spread = least;
    s.w = ln_k;
    s.t = comps(trial);
    for (std::span<double>* array : {&s.r, &s.r1, &s.v, &s.step, &s.solution})
        *array = stack.take(n_);
    s.M = stack.take(n_ * (n_ + 1) / 2);
    std::ranges::fill(s.r, 0.0);
    std::ranges::fill(s.step, 0.0);
    s.ln_P = std::min(std::log(cell_.pressure.value), LN_P_HIGH_LIMIT);

    bool converged = false;
    while (newton_trial(s)) {
        converged = newton_converged(s);
        if (converged || newton_is_stuck_at_limit(s)) break;
        if (++s.round > ROUND_LIMIT || s.counters[COUNT_HALVINGS] > ALL_HALVINGS_LIMIT) break;
        if (!newton_step(s)) newton_substitution(s);
        newton_limit(s);
        newton_advance(s);
    }
    return newton_end(s, converged);
}

/// Evaluates the present point, halving the step back to the last one until it is of use. False if
/// no point of use is left.
bool EOSolver::newton_trial(NewtonState& s) {
    for (;;) {
        newton_evaluate(s);
        const bool usable = s.in_range && !s.trivial && s.right_way;
        const bool falling = s.res <= std::max(2.0 * s.res_prev, 0.1 * s.reach);
        if (usable && (falling || s.halvings == 0)) break;
        if (s.round == 0 || s.halvings-- == 0) return false;
        s.ln_P_step *= 0.5;
        s.ln_P -= s.ln_P_step;
        for (std::size_t i = 0; i < n_; ++i) {
            s.step[i] *= 0.5;
            s.w[i] -= s.step[i];
        }
        ++s.counters[COUNT_HALVINGS];
        s.substitutions = 0;
    }
    s.res_prev = s.res;
    if (s.trial->root * s.trial_root < 0 || feed_.root * s.feed_root < 0) {
        s.root_changed = true;
        s.substitutions = 0;
        ++s.counters[COUNT_FAILURES];
    }
    s.trial_root = s.trial->root;
    s.feed_root = feed_.root;
    return true;
}

/// Both phases at the present ln K and ln P, the residuals, the tangent distance and its slope.
void EOSolver::newton_evaluate(NewtonState& s) {
    const auto [low, high] = std::ranges::minmax(s.w);
    s.spread = high - low;
    s.in_range = s.spread < LN_MAX && s.ln_P > LN_MIN && s.ln_P < LN_MAX;
    // The estimate is no trivial one; the roots are those of the point before.
    s.trivial = s.round > 0 && s.spread <= s.least_spread && s.trial->root * feed_.root > -2;
    if (!s.in_range || s.trivial) return;
    const double centre = 0.5 * (low + high);
    double S = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        s.t[i] = z()[i] * std::exp(s.w[i] - centre);
        S += s.t[i];
    }
    for (double& t : s.t) t = std::max(t / S, SMALLEST_FRACTION);
    const double P = std::exp(s.ln_P);
    eos_.set_pressure(*s.trial->c_parms, P);
    eos_.set_pressure(*feed_.c_parms, P);
    evaluate(*s.trial, 0);
    evaluate(feed_, 0);
    ++s.counters[COUNT_ROUNDS];
    eos_.ln_phi_dlnp(*s.trial->c_parms, s.v, false);
    eos_.ln_phi_dlnp(*feed_.c_parms, s.v, true);
    std::swap(s.r, s.r1);
    double q = 0.0;
    s.u = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        s.r[i] = feed_.ln_phi[i] - s.trial->ln_phi[i] - s.w[i];
        q -= s.t[i] * s.r[i];
        s.u += s.t[i] * s.v[i];
    }
    s.res = s.reach = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        s.w[i] -= q;
        s.r[i] += q;
        if (!(std::abs(s.r[i]) <= s.res)) s.res = std::abs(s.r[i]);
        s.reach = std::max(s.reach, std::abs(s.w[i]));
    }
    s.d = std::log(S) + centre - q;
    s.in_range = std::isfinite(s.res) && std::isfinite(s.d);
    s.right_way = s.sense * s.u > 0.0;
}

/// True at a solution. Residuals of rounding may stay above the tolerance where ln phi are large.
bool EOSolver::newton_converged(NewtonState& s) {
    s.tolerance = 0.5 * (s.spread * E12 + E96);
    if (s.error() <= s.tolerance) return true;
    if (s.error() < 0.5 * s.least) {
        s.least = s.error();
        s.stalled = 0;
    } else if (s.error() <= ROUNDING) {
        ++s.stalled;
    }
    return s.stalled >= STALLED_ROUNDS;
}

/// True if the composition is stationary at the upper limit and the feed still unstable there.
bool EOSolver::newton_is_stuck_at_limit(const NewtonState& s) const {
    return s.ln_P >= LN_P_HIGH_LIMIT && s.sense > 0 && s.d > s.tolerance &&
           s.res <= std::min(ESQRT, s.d);
}

/// Newton step in ln K and ln P. False if none is to be had.
bool EOSolver::newton_step(NewtonState& s) {
    if (!(s.res < s.reach)) return false;
    eos_.ln_phi_dn(*s.trial->c_parms, s.M);
    ++s.counters[COUNT_DERIVATIVES];
    for (std::size_t i = 0; i < n_; ++i) s.M[packed(i, i)] += 1.0 / s.t[i];
    if (!(ldl_factor(s.M, n_).smallest_abs > E6144)) return false;
    std::ranges::copy(s.v, s.solution.begin());
    ldl_solve(s.M, s.solution);
    newton_pressure_step(s);
    std::ranges::copy(s.r, s.step.begin());
    ldl_solve(s.M, s.step);
    double descent = 0.0;
    for (std::size_t i = 0; i < n_; ++i) descent += s.r[i] * s.step[i];
    if (descent < 0.0 && s.res > 0.001 * s.reach) return false;
    // Where the Hessian is indefinite the residual's part is turned round, to go downhill.
    const double direction = descent < 0.0 ? -1.0 : 1.0;
    for (std::size_t i = 0; i < n_; ++i)
        s.step[i] = (direction * s.step[i] - s.ln_P_step * s.solution[i]) / s.t[i];
    ++s.counters[COUNT_NEWTON];
    s.substitutions = 0;
    return true;
}

/// The tangent distance falls to zero along its tangent in ln P.
void EOSolver::newton_pressure_step(NewtonState& s) const {
    s.ln_P_step = std::clamp(s.d / s.u, -LARGEST_LN_P_STEP, LARGEST_LN_P_STEP);
    s.ln_P_step = std::min(s.ln_P_step, LN_P_HIGH_LIMIT - s.ln_P);
}

void EOSolver::newton_substitution(NewtonState& s) {
    newton_pressure_step(s);
    double factor = 1.0;
    if (++s.substitutions < SUBSTITUTIONS_PER_CYCLE || s.reach <= s.res) {
        ++s.counters[COUNT_SUBSTITUTION];
    } else {
        double a = 0.0, b = 0.0;
        for (std::size_t i = 0; i < n_; ++i) {
            const double weight = s.t[i] + z()[i];
            a += weight * s.r1[i] * s.r1[i];
            b += weight * s.r1[i] * (s.r1[i] - s.r[i]);
        }
        const double limit = std::clamp(2.0 * s.spread / s.res, 100.0, 1e6);
        const bool capped = std::abs(b) * limit <= a;
        factor = capped ? 0.05 * limit : std::abs(a / b);
        ++s.counters[capped ? COUNT_ONE_TERM_CAPPED : COUNT_ONE_TERM];
        s.substitutions = 0;
    }
    for (std::size_t i = 0; i < n_; ++i) s.step[i] = factor * s.r[i];
}

/// Keeps ln K from changing by more than their own size.
void EOSolver::newton_limit(NewtonState& s) const {
    double largest = 0.0;
    for (double step : s.step) largest = std::max(largest, std::abs(step));
    if (!(largest > s.reach)) return;
    const double ratio = s.reach / largest;
    const double factor = largest < 1.2 * s.reach ? 3.5 * ratio - 2.5 : 0.5 * ratio;
    s.ln_P_step *= factor;
    for (double& step : s.step) step *= factor;
    ++s.counters[COUNT_LIMITED];
}

void EOSolver::newton_advance(NewtonState& s) const {
    s.halvings = HALVING_LIMIT;
    s.ln_P += s.ln_P_step;
    for (std::size_t i = 0; i < n_; ++i) s.w[i] += s.step[i];
}

int EOSolver::newton_end(NewtonState& s, bool converged) {
    SolverStatistics& statistics = solver_statistics();
    (s.trivial ? statistics.trivial_satps : statistics.nontrivial_satps).add(s.counters);
    if (!s.in_range || s.trivial || !s.right_way) return SATURATION_NONE;
    for (std::size_t i = 0; i < n_; ++i) s.w[i] = std::log(s.t[i] / z()[i]);
    if (!converged) return newton_is_stuck_at_limit(s) ? SATURATION_ABOVE_LIMIT : SATURATION_NONE;
    cell_.pressure.value = std::exp(s.ln_P);
    return s.sense * (s.root_changed ? SATURATION_THROUGH_ROOT : SATURATION_FOUND);
}

}  // namespace kestrane
