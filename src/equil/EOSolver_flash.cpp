// The flash: splits and stability tests as the policies call for them, and the search for a third
// phase beside a two-phase result.

#include <algorithm>
#include <cmath>

#include "equil/EOSolver.h"
#include "equil/RachfordRice.h"

namespace kestrane {

namespace {

/// Third-phase trials made on suspicion, and those made on request.
constexpr int USUAL_TRIALS = TRIAL_VAPOR | TRIAL_LIQUID | TRIAL_BETWEEN;
constexpr int ALL_TRIALS = USUAL_TRIALS | TRIAL_PURE;
/// Each better split found starts the trials anew and has lower energy; more would be round-off.
constexpr int BETTER_SPLIT_LIMIT = 20;

/// True if both are K-values of one tie-line, in either direction.
bool same_line(std::span<const double> a, std::span<const double> b) {
    bool same = true, opposite = true;
    for (std::size_t i = 0; i < a.size(); ++i) {
        same = same && std::abs(a[i] - b[i]) <= SPREAD_TRIVIAL;
        opposite = opposite && std::abs(a[i] + b[i]) <= SPREAD_TRIVIAL;
    }
    return same || opposite;
}

}  // namespace

/// A split put aside.
struct EOSolver::SavedSplit {
    SavedSplit(WorkStack& work, std::size_t n)
        : ln_k(work.take(n)), k(work.take(n)), x(work.take(n)), y(work.take(n)) {}
    std::span<double> ln_k, k, x, y;
    double L = 1.0, V = 0.0;
    bool held = false;
};

struct EOSolver::FlashState {
    FlashState(WorkStack& work, std::size_t n) : list(work, n), saved(work, n) {}
    StationaryList list;
    SavedSplit saved;
    bool trivial = true;
    bool negative = true;
    double G = 0.0;
};

void EOSolver::save_split(SavedSplit& saved) const {
    std::ranges::copy(cell_.ln_k, saved.ln_k.begin());
    std::ranges::copy(cell_.k, saved.k.begin());
    std::copy_n(x_.comps, n_, saved.x.begin());
    std::copy_n(y_.comps, n_, saved.y.begin());
    saved.L = x_.fraction;
    saved.V = y_.fraction;
    saved.held = true;
}

/// Phase records hold one composition, so both phases are evaluated again.
void EOSolver::restore_split(const SavedSplit& saved) {
    std::ranges::copy(saved.ln_k, cell_.ln_k.begin());
    std::ranges::copy(saved.k, cell_.k.begin());
    std::ranges::copy(saved.x, x_.comps);
    std::ranges::copy(saved.y, y_.comps);
    x_.fraction = saved.L;
    y_.fraction = saved.V;
    for (PhaseState* phase : {&x_, &y_}) {
        evaluate(*phase, 0);
        phase->z_factor = eos_.z_factor(*phase->c_parms);
    }
}

void EOSolver::flash() {
    const bool legal_T = check_temperature();
    const bool legal_P = check_pressure(false);
    const bool ok = legal_T && legal_P && set_conditions();
    if (ok) flash_driver();
    finish(ok && errors_.usable());
}

/// Splits and tests as the policies say, then the results.
void EOSolver::flash_driver() {
    solve_feed();
    cell_.phase_count = 0;
    cell_.third_phase_position = 0;
    if (cell_.current_init == INIT_NEVER) {
        publish(false);
        return;
    }
    cell_.current_init = cell_.init_policy;
    eos_.ln_phi(*feed_.c_parms, ln_phi(feed_));
    ++cell_.eos_evaluations;
    test1_now = cell_.test1;
    test2_now = cell_.test2;
    if (std::abs(feed_.root) >= 2) raise_tests();
    if (cell_.current_init == INIT_WILSON) {
        wilson();
        std::ranges::copy(wilson_ln_k(), cell_.ln_k.begin());
    }
    const WorkStack::Frame frame(store_->work);
    FlashState s(store_->work, n_);
    flash_search(s);
    if (s.negative && s.saved.held) {
        restore_split(s.saved);
        s.trivial = false;
    }
    if (!s.negative && further_phase_is_due()) raise_tests();
    if (!s.negative && test2_now > TEST_TRIVIAL) check_third_phase(s.G);
    publish(!s.trivial);
    cell_.x_state.fraction = x_.fraction;
    cell_.y_state.fraction = y_.fraction;
    cell_.report_third_phase();
}

/// Splits from K-values at hand and from stationary points, until the policies are content.
void EOSolver::flash_search(FlashState& s) {
    do {
        if (cell_.current_init < INIT_WILSON && !next_stationary_point(s.list, s.G)) return;
        if (s.trivial || s.G < 0.0) {
            s.trivial = !split(s.G);
            s.negative = s.trivial || x_.fraction * y_.fraction < 0.0;
        }
    } while (flash_goes_on(s));
}

/// True if a stationary point is to be tried next.
bool EOSolver::flash_goes_on(FlashState& s) {
    const bool first = cell_.current_init >= INIT_WILSON;
    cell_.current_init = std::min<int>(cell_.current_init, INIT_STABILITY);
    if (s.trivial) {
        if (!first) return true;
        // K-values of another state led to one phase. They may have belonged to other conditions
        // altogether, so that a second phase is still to be suspected.
        if (cell_.test1 > TEST_NEVER) test1_now = std::max<int>(test1_now, TEST_TRIVIAL);
        return test1_now >= TEST_TRIVIAL;
    }
    if (!s.negative || cell_.test2 == TEST_NEVER) return false;
    if (!(first && test2_now >= TEST_ALWAYS)) s.list.flags &= far_side_trials();
    if (s.list.flags == 0) return false;
    if (!s.saved.held) save_split(s.saved);
    return true;
}

/// A negative flash shows that the feed has no equilibrium with the phase at the near end of its
/// tie-line; a liquid beside a vapor-liquid tie-line may still fall apart into two liquids. These
/// are the trials (flags of a StationaryList) on the other side of the feed. With a component
/// unlike the others there may be several tie-lines on the near side, too.
int EOSolver::far_side_trials() const {
    for (std::size_t i = 0; i < n_; ++i)
        if (feed_.comps[i] > TINY_AMOUNT && is_unlike(i, feed_)) return StationaryList::ALL_TRIALS;
    const bool feed_is_heavier = (y_.fraction < 0.0) == eos_.is_lighter(*x_.c_parms, *y_.c_parms);
    if (feed_is_heavier) return TRIAL_LIQUID | TRIAL_PURE;
    return feed_.root > 0 ? TRIAL_PURE : TRIAL_VAPOR | TRIAL_PURE;
}

/// True if the two-phase result is unstable against a vapor, where both phases are liquids, or
/// against a phase made for the most of one component unlike the others. The roots of the cubic
/// raise no suspicion of these: such are the vapor over two liquids that K-values of another state
/// led to, the liquid of CO2 between the vapor and the oil of a cold flood, the oil beside that
/// liquid, and the liquid and vapor that CO2 with a film of oil falls apart into next to its
/// critical point. Costs an evaluation for each unlike component, and stability tests beside two
/// liquids, beside a phase made for the most of an unlike component, and where the fugacity of one
/// is near that of its pure liquid.
bool EOSolver::further_phase_is_due() {
    if (cell_.test2 == TEST_NEVER || test2_now > TEST_TRIVIAL) return false;
    const WorkStack::Frame frame(store_->work);
    const std::span<double> w = store_->work.take(n_);
    int flags = TRIAL_VAPOR;
    for (const PhaseState* phase : {&x_, &y_}) {
        const auto largest = std::max_element(phase->comps, phase->comps + n_);
        if (*largest > 0.5 && is_unlike(static_cast<std::size_t>(largest - phase->comps), *phase))
            flags |= TRIAL_LIQUID | TRIAL_BETWEEN;
    }
    if (third_phase_test(x_, y_, ln_k(), trial_, w, flags, false) != 0) return true;
    double g = 0.0;
    return pure_component_test(x_, y_, ln_k(), trial_, w, g, false, false);
}

/// Looks for a phase that would make the two-phase result unstable, and for a better pair.
void EOSolver::check_third_phase(double G) {
    const WorkStack::Frame frame(store_->work);
    SavedSplit saved(store_->work, n_);
    const std::span<double> w = store_->work.take(n_);
    const int trials = cell_.test2 > TEST_SUSPECTED ? ALL_TRIALS : USUAL_TRIALS;
    int flags = trials, position = 0;
    for (int better = 0; flags != 0 && better < BETTER_SPLIT_LIMIT;) {
        const int found = third_phase_test(x_, y_, ln_k(), trial_, w, flags, true);
        if (found == 0) continue;
        save_split(saved);
        if (third_phase_splits(saved, w, G)) {
            flags = trials;
            position = 0;
            ++better;
        } else if (position == 0) {
            position = found;
        }
    }
    if (position == 0) return;
    cell_.phase_count = 3;
    cell_.third_phase_position = position;
}

/// Splits X against the trial and the trial against Y; the best split stays. True if it is better
/// than the one there was.
bool EOSolver::third_phase_splits(SavedSplit& saved, std::span<double> w, double& G) {
    const WorkStack::Frame frame(store_->work);
    const std::span<double> A = store_->work.take(n_);
    const std::span<double> B = store_->work.take(n_);
    for (std::size_t i = 0; i < n_; ++i) {
        A[i] = cell_.ln_k[i];
        B[i] = A[i] - w[i];
    }
    const double G_before = G;
    bool found = false;
    double G_trial = 0.0;
    const auto inside = [this] { return x_.fraction * y_.fraction >= 0.0; };

    x_.fraction = 1.0;
    y_.fraction = 0.0;
    std::ranges::copy(w, cell_.ln_k.begin());
    if (split(G_trial) && inside() && !same_line(cell_.ln_k, A)) {
        std::ranges::copy(cell_.ln_k, w.begin());
        found = true;
        if (G_trial < G) {
            G = G_trial;
            save_split(saved);
        }
    }
    x_.fraction = 0.0;
    y_.fraction = 1.0;
    std::ranges::copy(B, cell_.ln_k.begin());
    const bool kept = split(G_trial) && inside() && !same_line(cell_.ln_k, A) &&
                      !(found && same_line(cell_.ln_k, w)) && G_trial < G;
    if (kept)
        G = G_trial;
    else
        restore_split(saved);
    return G < G_before;
}

void EOSolver::flash_with_k() {
    const bool legal_T = check_temperature();
    const bool legal_P = check_pressure(false);
    const bool ok = legal_T && legal_P && set_conditions();
    if (ok) {
        solve_feed();
        cell_.phase_count = 0;
        cell_.third_phase_position = 0;
        split_at_given_k();
    }
    finish(ok && errors_.usable());
}

void EOSolver::split_at_given_k() {
    const WorkStack::Frame frame(store_->work);
    RachfordRiceState rr;
    rr.z = z();
    rr.ln_K = ln_k();
    rr.K = k();
    rr.x = comps(x_);
    rr.y = comps(y_);
    rr.L = x_.fraction;
    rr.V = y_.fraction;
    for (std::span<double>* array : {&rr.xi, &rr.work_a, &rr.work_b, &rr.work_c})
        *array = store_->work.take(n_);
    for (double& ln_K : rr.ln_K) ln_K = std::clamp(ln_K, LN_MIN + 1.0, LN_MAX - 1.0);
    const int evaluations = rachford_rice(rr, 0.0, NUM_EPS, false);
    if (evaluations < 0)
        errors_.Warn("Rachford-Rice convergence failed during phase split calculations");
    if (!rr.in_range || !(rr.trivial || std::isfinite(rr.slope))) {
        publish(false);
    } else if (!rr.trivial) {
        x_.fraction = rr.L;
        y_.fraction = rr.V;
        for (PhaseState* phase : {&x_, &y_}) {
            phase->root = 0;
            eos_.set_composition(*phase->c_parms, comps(*phase));
            eos_.solve_z(*phase->c_parms, phase->root, phase->root_class);
            phase->z_factor = eos_.z_factor(*phase->c_parms);
        }
        publish(true);
    } else {
        publish_at_given_k(rr.ln_K[rr.i_min], rr.ln_K[rr.i_max]);
    }
}

/// All K on one side of 1: one phase, with the K-values kept.
void EOSolver::publish_at_given_k(double lowest, double highest) {
    const WorkStack::Frame frame(store_->work);
    const std::span<double> kept = store_->work.take(n_);
    std::ranges::copy(cell_.ln_k, kept.begin());
    publish(false);
    if (!(std::max(std::abs(lowest), std::abs(highest)) > NUM_EPS)) return;
    std::ranges::copy(kept, cell_.ln_k.begin());
    for (std::size_t i = 0; i < n_; ++i) cell_.k[i] = std::exp(kept[i]);
    y_.fraction = lowest >= 0.0 ? 1.0 : 0.0;
    x_.fraction = 1.0 - y_.fraction;
    cell_.phase_count = 1;
}

}  // namespace kestrane
