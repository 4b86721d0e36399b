// Stability: stationary points of the tangent plane distance from a phase or from a tie-line.

#include <algorithm>
#include <cmath>

#include "equil/ArrayMath.h"
#include "equil/EOSolver.h"
#include "equil/PackedLDL.h"
#include "fluid/Charzation.h"

namespace kestrane {

namespace {

constexpr int ROUND_LIMIT = 200;
constexpr int ROOT_CHANGE_LIMIT = 10;       ///< each lowers the energy; more would be round-off
constexpr int SUBSTITUTIONS_PER_CYCLE = 5;  ///< the last of them is an acceleration
constexpr double LARGEST_ACCELERATION = 1e6;
constexpr double LARGEST_EXCESS = 1e9;  ///< of a step over the residual: 31 halvings
constexpr double ENERGY_SLACK = 0.001;  ///< relative rise of the distance let pass
constexpr double SMALLEST_FRACTION = 1000.0 * DOUBLE_MIN;

/// Places and difference of the extremes of an array, the first of equals.
struct Extremes {
    std::size_t min = 0, max = 0;
    double spread = 0.0;
};

Extremes find_extremes(std::span<const double> values) {
    const double* const w = values.data();
    double low = w[0], high = w[0];
    Extremes found;
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (w[i] < low) low = w[i], found.min = i;
        if (w[i] > high) high = w[i], found.max = i;
    }
    found.spread = high - low;
    return found;
}

/// Largest factor on a step that shrinks a spread by `shrinkage`: it may come near 0, not past it.
double step_limit(double spread, double shrinkage) {
    if (!(spread < 2.0 * shrinkage)) return 2.0;
    const double f = spread / shrinkage;
    if (spread > 1.0 || f < 0.8) return 0.5 * f;
    return f >= 1.0 ? f : (2.5 * f - 1.5) * f;
}

}  // namespace

/// What the rounds of a stability test share.
struct EOSolver::TestState {
    const PhaseState* x = nullptr;  ///< reference that w refers to
    const PhaseState* y = nullptr;  ///< other end of the reference tie-line, or x again
    PhaseState* trial = nullptr;
    std::span<double> w;         ///< n: ln(trial/x) less a constant
    std::span<double> ln_k0;     ///< n: ln(y/x), or empty
    std::span<double> t;         ///< n: trial composition
    std::span<double> r, r1;     ///< n: residuals, present and previous
    std::span<double> step;      ///< n: last change of w
    std::span<double> solution;  ///< n
    std::span<double> M;         ///< packed: Hessian

    int hint = 0;
    bool swap_allowed = false;
    Extremes ends_x, ends_y;  ///< of ln(t/x) and ln(t/y)
    bool in_range = true, trivial = false;
    bool unconverged = false;

    int round = 0, round_limit = ROUND_LIMIT;
    int root_changes = 0;
    int halvings = 0;  ///< allowed for the step last taken
    int substitutions = 0;
    int largest_code = 0;          ///< of the trial's roots met
    int root = 0, root_class = 0;  ///< of the point last accepted
    bool jumped = false;           ///< to the other branch since then
    double G = 0.0, G_prev = BIG;
    double res = 0.0, tolerance = 0.0;
    SolverCounters counters{};
};

bool EOSolver::test(const PhaseState& x, const PhaseState& y, std::span<const double> ln_k0,
                    PhaseState& trial, std::span<double> w, double& g, bool swap_allowed) {
    WorkStack& stack = store_->work;
    const WorkStack::Frame frame(stack);
    TestState s;
    s.x = &x;
    s.y = &y;
    s.trial = &trial;
    s.w = w;
    s.hint = trial.root;
    s.swap_allowed = swap_allowed;
    s.t = comps(trial);
    for (std::span<double>* array : {&s.r, &s.r1, &s.step, &s.solution}) *array = stack.take(n_);
    std::ranges::fill(s.r, 0.0);
    std::ranges::fill(s.step, 0.0);
    if (!ln_k0.empty()) {
        s.ln_k0 = stack.take(n_);
        std::ranges::copy(ln_k0, s.ln_k0.begin());
    }
    s.M = stack.take(n_ * (n_ + 1) / 2);

    while (test_trial(s)) {
        s.tolerance = s.ends_x.spread * E12 + E96;
        if (s.G < -s.tolerance) break;
        const bool stationary =
            (s.res <= std::abs(s.G) && s.res <= ESQRT) || s.res <= s.tolerance / 2;
        if (stationary && test_root_stands(s)) break;
        if (++s.round > s.round_limit) {
            s.unconverged = true;
            break;
        }
        if (!test_newton(s)) test_substitution(s);
        test_limit(s);
        test_advance(s);
    }
    // The caller's w refers to the caller's x, whatever was exchanged on the way.
    s.x = &x;
    return test_end(s, g);
}

/// Evaluates the present w, halving the step until the result is acceptable. False if the trial is
/// trivial or out of range.
bool EOSolver::test_trial(TestState& s) {
    for (;;) {
        test_spreads(s);
        if (s.in_range && !s.trivial)
            test_evaluate(s);
        else
            s.G = s.in_range ? 0.0 : BIG;
        // On another branch of the cubic the distance starts anew.
        const bool distance_falls =
            s.jumped ||
            s.G - s.G_prev <=
                (E96 / ENERGY_SLACK + std::abs(s.G) + std::abs(s.G_prev)) * ENERGY_SLACK;
        if (s.halvings == 0 ||
            (s.in_range && s.trial->root_class * s.root_class >= 0 && distance_falls))
            break;
        for (std::size_t i = 0; i < n_; ++i) {
            s.step[i] *= 0.5;
            s.w[i] -= s.step[i];
        }
        ++s.counters[COUNT_HALVINGS];
        s.substitutions = 0;
        --s.halvings;
    }
    s.G_prev = s.G;
    s.root = s.trial->root;
    s.root_class = s.trial->root_class;
    return s.in_range && !s.trivial;
}

/// Extremes of ln(t/x) and ln(t/y). The nearer end of a reference tie-line becomes the reference.
void EOSolver::test_spreads(TestState& s) {
    s.ends_x = s.ends_y = find_extremes(s.w);
    if (!s.ln_k0.empty()) {
        for (std::size_t i = 0; i < n_; ++i) s.solution[i] = s.w[i] - s.ln_k0[i];
        s.ends_y = find_extremes(s.solution);
    }
    if (s.swap_allowed && !s.ln_k0.empty() && s.ends_y.spread < s.ends_x.spread) {
        std::swap(s.x, s.y);
        std::swap(s.ends_x, s.ends_y);
        for (std::size_t i = 0; i < n_; ++i) {
            s.ln_k0[i] = -s.ln_k0[i];
            s.w[i] += s.ln_k0[i];
        }
    }
    s.in_range = s.ends_x.spread < LN_MAX;
    // A trial on the other branch of the cubic is another phase, however like its composition.
    s.trivial = std::min(s.ends_x.spread, s.ends_y.spread) <= SPREAD_TRIVIAL &&
                s.trial->root * s.x->root > -2;
}

/// Trial composition, its fugacities, the residuals and the tangent distance.
void EOSolver::test_evaluate(TestState& s) {
    const double S = test_compose(s);
    evaluate(*s.trial, s.largest_code < 2 ? s.hint : s.root);
    ++s.counters[COUNT_ROUNDS];
    s.largest_code = std::max(s.largest_code, std::abs(s.trial->root));
    s.jumped = s.trial->root * s.root < -1;
    if (s.jumped) s.substitutions = 0;
    std::swap(s.r, s.r1);
    double* const r = s.r.data();
    double* const w = s.w.data();
    const double* const t = s.t.data();
    const double* const reference = s.x->ln_phi;
    const double* const trial = s.trial->ln_phi;
    double d = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        r[i] = reference[i] - trial[i] - w[i];
        d -= t[i] * r[i];
    }
    double res = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        w[i] -= d;
        r[i] += d;
        if (!(std::abs(r[i]) <= res)) res = std::abs(r[i]);
    }
    s.res = res;
    s.G = -(std::log(S) - d);
    s.in_range = std::isfinite(s.res) && std::isfinite(s.G);
}

/// Trial composition from w, centred; returns the sum that it was normalized by.
double EOSolver::test_compose(TestState& s) {
    const double centre = 0.5 * (s.w[s.ends_x.max] + s.w[s.ends_x.min]);
    for (double& w : s.w) w -= centre;
    exp_of(s.w, s.t);
    double* const t = s.t.data();
    const double* const x = s.x->comps;
    double S = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        t[i] *= x[i];
        S += t[i];
    }
    for (std::size_t i = 0; i < n_; ++i) t[i] = std::max(t[i] / S, SMALLEST_FRACTION);
    return S;
}

/// At a stationary point: true if the trial is on the root of least energy there. Otherwise the
/// other root is taken, and the iteration goes on from this composition.
bool EOSolver::test_root_stands(TestState& s) {
    if (std::abs(s.root) < 2 || s.root_changes >= ROOT_CHANGE_LIMIT) return true;
    if (eos_.select_root(*s.trial->c_parms, 0) * s.root > 0) return true;
    s.root = -s.root;
    s.root_class = -s.root_class;
    s.trial->root = s.root;
    std::ranges::fill(s.r, 0.0);
    s.substitutions = 0;
    s.round_limit = s.round + ROUND_LIMIT;
    s.res = std::numeric_limits<double>::max();
    ++s.root_changes;
    ++s.counters[COUNT_COLLAPSES];
    return false;
}

/// Newton step in ln of the trial amounts. False if none is to be had.
bool EOSolver::test_newton(TestState& s) {
    if (!(s.res < 1.0)) return false;
    eos_.ln_phi_dn(*s.trial->c_parms, s.M);
    ++s.counters[COUNT_DERIVATIVES];
    for (std::size_t i = 0; i < n_; ++i) s.M[packed(i, i)] += 1.0 / s.t[i];
    if (!(ldl_factor(s.M, n_).smallest_abs > E6144)) return false;
    std::ranges::copy(s.r, s.solution.begin());
    ldl_solve(s.M, s.solution);
    double p = 0.0, q = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        p += s.r[i] * s.solution[i];
        q += s.t[i] * s.r[i] * s.r[i];
    }
    if (p < 0.0 && p + q > 0.0) return false;
    for (std::size_t i = 0; i < n_; ++i)
        s.step[i] = (p < 0.0 ? -s.solution[i] : s.solution[i]) / s.t[i];
    ++s.counters[COUNT_NEWTON];
    s.substitutions = 0;
    return true;
}

void EOSolver::test_substitution(TestState& s) {
    double factor = 1.0;
    if (++s.substitutions < SUBSTITUTIONS_PER_CYCLE || s.ends_x.spread <= s.res) {
        ++s.counters[COUNT_SUBSTITUTION];
        s.root_class = 0;
    } else {
        double a = 0.0, b = 0.0;
        for (std::size_t i = 0; i < n_; ++i) {
            const double v = s.t[i] + s.x->comps[i];
            a += v * s.r1[i] * s.r1[i];
            b += v * s.r1[i] * (s.r1[i] - s.r[i]);
        }
        const double limit = std::clamp(2.0 * s.ends_x.spread / s.res, 100.0, LARGEST_ACCELERATION);
        const bool capped = std::abs(b) * limit <= a;
        factor = capped ? 0.05 * limit : std::abs(a / b);
        ++s.counters[capped ? COUNT_ONE_TERM_CAPPED : COUNT_ONE_TERM];
        s.substitutions = 0;
    }
    for (std::size_t i = 0; i < n_; ++i) s.step[i] = factor * s.r[i];
}

/// Keeps the trial from running past the references, where it would be trivial. One on the other
/// branch of the cubic is free to pass: its stationary point may lie on either side.
void EOSolver::test_limit(TestState& s) {
    const auto limit_at = [&s](const Extremes& ends, const PhaseState& reference) {
        if (s.trial->root * reference.root <= -2) return 2.0;
        return step_limit(ends.spread, s.step[ends.min] - s.step[ends.max]);
    };
    double limit = limit_at(s.ends_x, *s.x);
    if (!s.ln_k0.empty()) limit = std::min(limit, limit_at(s.ends_y, *s.y));
    if (!(limit < 1.0)) return;
    for (double& step : s.step) step *= limit;
    ++s.counters[COUNT_LIMITED];
    s.substitutions = 0;
}

void EOSolver::test_advance(TestState& s) {
    double largest = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        largest = std::max(largest, std::abs(s.step[i]));
        s.w[i] += s.step[i];
    }
    s.halvings = 1;
    const double scale = std::max(s.res, 0.01 * s.ends_x.spread);
    const double excess = std::min(largest / scale, LARGEST_EXCESS);
    if (excess > 1.5) s.halvings += static_cast<int>(std::lround(std::log2(excess + 0.5)));
}

bool EOSolver::test_end(TestState& s, double& g) {
    if (!s.in_range) {
        errors_.Warn("K-Values went out of bounds during stability test calculations");
        s.G = 0.0;
    }
    if (s.unconverged) {
        errors_.Warn("K-value convergence failed during stability test calculations");
        ++s.counters[COUNT_FAILURES];
    }
    const bool nontrivial = s.in_range && !s.trivial;
    if (nontrivial && std::abs(s.G) <= s.tolerance) {
        double farthest = 0.0;
        for (double r : s.r) farthest = std::max(farthest, std::abs(r - s.G));
        if (!(s.G > s.tolerance / 2 && farthest > s.tolerance)) s.G = 0.0;
    }
    SolverStatistics& statistics = solver_statistics();
    (!nontrivial ? statistics.trivial_tests
     : s.G < 0.0 ? statistics.unstable_tests
                 : statistics.stable_tests)
        .add(s.counters);
    if (s.largest_code >= 2) raise_tests();
    g = s.G;
    if (!nontrivial) return false;
    double distance = 0.0;
    for (std::size_t i = 0; i < n_; ++i) s.solution[i] = s.t[i] / s.x->comps[i];
    log_of(s.solution, s.w);
    for (std::size_t i = 0; i < n_; ++i) {
        distance += std::abs(s.t[i] - s.x->comps[i]);
    }
    if (distance > 0.0) g /= distance;
    return true;
}

bool EOSolver::test_from_fraction(const PhaseState& x, const PhaseState& y, PhaseState& trial,
                                  std::span<const double> ln_k, std::span<double> w, double& g,
                                  bool swap_allowed) {
    constexpr double ORDINARY_SPREAD = 5.0;  // of ln K; a wider one hides a phase nearer the light
    constexpr double TRANSITION = 10.0;
    double factor = 0.5;
    if (x.root * y.root > 0) {
        const auto [low, high] = std::ranges::minmax(ln_k);
        const double excess = high - (low + ORDINARY_SPREAD);
        if (excess > 0.0) {
            factor = eos_.is_lighter(*x.c_parms, *y.c_parms) ? 0.25 : 0.75;
            if (excess < TRANSITION) factor = (factor - 0.5) * excess / TRANSITION + 0.5;
        }
    }
    for (std::size_t i = 0; i < n_; ++i) w[i] = factor * ln_k[i];
    trial.root = -1;
    const bool one_phase = &x == &y;
    return test(x, y, one_phase ? std::span<const double>{} : ln_k, trial, w, g, swap_allowed);
}

bool EOSolver::next_stationary_point(StationaryList& list, double& g) {
    g = 0.0;
    x_.fraction = 1.0;
    y_.fraction = 0.0;
    if (cell_.current_init == INIT_NEVER) return false;
    wilson();
    if (cell_.current_init == INIT_NEVER) return false;
    if (feed_.root > 0) list.flags &= ~TRIAL_VAPOR;
    const bool vapor_first = cell_.temperature.value <= pseudo_critical_T_;
    for (const bool vapor_like : {vapor_first, !vapor_first}) {
        stationary_pass(list, vapor_like);
        const std::size_t best = list.best();
        if (best == list.count) continue;
        if (list.points[best].g < 0.0 || test2_now < TEST_ALWAYS) break;
    }
    too_many_points(list);
    std::size_t best = list.best();
    if (best == list.count) {
        other_root_pass(list);
        if (list.best() == list.count) pure_component_pass(list);
        best = list.best();
        if (best == list.count) return false;
    }
    list.points[best].active = false;
    std::ranges::copy(list.points[best].ln_k, ln_k().begin());
    g = list.points[best].g;
    return true;
}

/// One trial, vapor-like or liquid-like, if it is still due.
void EOSolver::stationary_pass(StationaryList& list, bool vapor_like) {
    const int flag = vapor_like ? TRIAL_VAPOR : TRIAL_LIQUID;
    if (!(list.flags & flag)) return;
    list.flags &= ~flag;
    const WorkStack::Frame frame(store_->work);
    const std::span<double> w = store_->work.take(n_);
    const std::span<double> w2 = store_->work.take(n_);
    const std::span<const double> estimate = wilson_ln_k();
    for (std::size_t i = 0; i < n_; ++i) w[i] = vapor_like ? estimate[i] : -estimate[i];
    trial_.root = vapor_like ? 1 : -1;
    double g = 0.0;
    if (!test(feed_, feed_, {}, trial_, w, g, false)) return;
    list.append(w, g);
    if (g < 0.0 || test2_now <= TEST_TRIVIAL) return;
    if (test_from_fraction(feed_, feed_, trial_, w, w2, g, false)) list.append(w2, g);
}

/// A trial like the feed on the other root of the cubic. Next to an azeotrope, CO2 with ethane say,
/// liquid and vapor are all but alike, while trials along the volatilities run to either side.
void EOSolver::other_root_pass(StationaryList& list) {
    if (!(list.flags & TRIAL_ROOT) || list.count == StationaryList::CAPACITY) return;
    list.flags &= ~TRIAL_ROOT;
    if (std::abs(feed_.root) < 2) return;
    const WorkStack::Frame frame(store_->work);
    const std::span<double> w = store_->work.take(n_);
    std::ranges::fill(w, 0.0);
    trial_.root = feed_.root > 0 ? -1 : 1;
    double g = 0.0;
    if (test(feed_, feed_, {}, trial_, w, g, false)) list.append(w, g);
}

/// A trial rich in one component, where one is unlike the others. It comes last, for feeds that the
/// trials along the volatilities found stable: a second liquid may be of any volatility.
void EOSolver::pure_component_pass(StationaryList& list) {
    if (!(list.flags & TRIAL_PURE) || list.count == StationaryList::CAPACITY) return;
    list.flags &= ~TRIAL_PURE;
    const WorkStack::Frame frame(store_->work);
    const std::span<double> w = store_->work.take(n_);
    const bool all = cell_.test1 > TEST_SUSPECTED;
    double g = 0.0;
    if (pure_component_test(feed_, feed_, {}, trial_, w, g, false, all)) list.append(w, g);
}

/// More stationary points than two phases can explain.
void EOSolver::too_many_points(const StationaryList& list) {
    if (list.count > (list.nonnegative == 0 ? 2u : 1u)) raise_tests();
}

/// True if component i may form a liquid of its own beside the phase: it is no gas, and by
/// interaction parameters or cohesion (a/b^2, which goes as the critical pressure) unlike the mean
/// of the others.
bool EOSolver::is_unlike(std::size_t i, const PhaseState& phase) const {
    constexpr double GAS = 1.2;          // of T/Tc
    constexpr double UNLIKE_BIP = 0.04;  // hydrocarbons among themselves have smaller ones
    constexpr double UNLIKE_COHESION = 2.0;
    const Compnent* const all = charz_.comps.data();
    const double* const x = phase.comps;
    if (cell_.temperature.value > GAS * all[i].tc) return false;
    double others = 0.0, pressures = 0.0, bips = 0.0;
    const double* const bip = charz_.has_bips() ? charz_.bips.data() + i * n_ : nullptr;
    const auto add = [&](std::size_t first, std::size_t end) {
        for (std::size_t j = first; j < end; ++j) {
            others += x[j];
            pressures += x[j] * all[j].pc;
            if (bip) bips += x[j] * bip[j];
        }
    };
    add(0, i);
    add(i + 1, n_);
    return bips > UNLIKE_BIP * others || all[i].pc * others > UNLIKE_COHESION * pressures;
}

/// Tests that start from trials made of one component for the most, the rest like x. They find a
/// liquid of which neither volatilities nor the ends of the tie-line give a hint, such as one of
/// CO2 between a vapor and an oil. Trials are made in the order in which the pure phases lie over
/// the tangent plane at x, as long as they are near it: `all` of them, or the lowest of those of
/// components unlike the others. True if one is unstable; w and g are then its.
bool EOSolver::pure_component_test(const PhaseState& x, const PhaseState& y,
                                   std::span<const double> ln_k, PhaseState& trial,
                                   std::span<double> w, double& g, bool swap_allowed, bool all) {
    constexpr double SHARE = 0.95;
    constexpr double NEAR = 0.2;  // of exp(-distance of the pure phase)
    const WorkStack::Frame frame(store_->work);
    const std::span<double> nearness = store_->work.take(n_);
    pure_phase_nearness(x, trial, nearness, all);
    for (std::size_t trials = all ? n_ : 1; trials > 0; --trials) {
        const auto best = std::ranges::max_element(nearness);
        if (!(*best > NEAR)) return false;
        *best = 0.0;
        const auto i = static_cast<std::size_t>(best - nearness.begin());
        const double share = x.comps[i];
        std::ranges::fill(w, 0.0);
        w[i] = std::log(std::max(1.0, SHARE / (1.0 - SHARE) * (1.0 - share) / share));
        trial.root = -1;
        if (test(x, y, ln_k, trial, w, g, swap_allowed) && g < 0.0) return true;
    }
    return false;
}

/// exp(-tangent distance) of the pure phases from x, f_i(x)/f_i(pure); 0 where no trial is wanted.
void EOSolver::pure_phase_nearness(const PhaseState& x, PhaseState& trial,
                                   std::span<double> nearness, bool all) {
    const WorkStack::Frame frame(store_->work);
    const std::span<double> pure_ln_phi = store_->work.take(n_);
    PhaseState pure = trial;
    pure.ln_phi = pure_ln_phi.data();
    std::fill_n(pure.comps, n_, 0.0);
    for (std::size_t i = 0; i < n_; ++i) {
        nearness[i] = 0.0;
        if (x.comps[i] <= TINY_AMOUNT || !(all || is_unlike(i, x))) continue;
        pure.comps[i] = 1.0;
        evaluate(pure, 0);
        pure.comps[i] = 0.0;
        nearness[i] = x.comps[i] * std::exp(x.ln_phi[i] - pure_ln_phi[i]);
    }
}

int EOSolver::third_phase_test(const PhaseState& x, const PhaseState& y,
                               std::span<const double> ln_k, PhaseState& trial, std::span<double> w,
                               int& flags, bool swap_allowed) {
    const bool x_heavier = eos_.is_lighter(*x.c_parms, *y.c_parms);
    wilson();
    const std::span<const double> estimate = wilson_ln_k();
    double g = 0.0;
    bool found = false;
    if ((flags & TRIAL_VAPOR) && x.root < 1 && y.root < 1) {
        for (std::size_t i = 0; i < n_; ++i) w[i] = estimate[i] + (x_heavier ? ln_k[i] : 0.0);
        trial.root = 1;
        found = test(x, y, ln_k, trial, w, g, swap_allowed) && g < 0.0;
    }
    flags &= ~TRIAL_VAPOR;
    if (!found && (flags & TRIAL_BETWEEN)) {
        found = test_from_fraction(x, y, trial, ln_k, w, g, swap_allowed) && g < 0.0;
        flags &= ~TRIAL_BETWEEN;
    }
    if (!found && (flags & TRIAL_LIQUID)) {
        for (std::size_t i = 0; i < n_; ++i) w[i] = (x_heavier ? 0.0 : ln_k[i]) - estimate[i];
        trial.root = -1;
        found = test(x, y, ln_k, trial, w, g, swap_allowed) && g < 0.0;
        flags &= ~TRIAL_LIQUID;
    }
    if (!found && (flags & TRIAL_PURE)) {
        found = pure_component_test(x, y, ln_k, trial, w, g, swap_allowed, true);
        flags &= ~TRIAL_PURE;
    }
    if (!found) return 0;
    return 1 + (eos_.is_lighter(*trial.c_parms, *y.c_parms) ? 1 : 0) +
           (eos_.is_lighter(*trial.c_parms, *x.c_parms) ? 1 : 0);
}

}  // namespace kestrane
