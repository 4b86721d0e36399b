// Saturation pressures: the search for a pressure on each side of the boundary asked for, by
// stability tests, around the Newton iteration that converges on it.
//
// The start is the cell's pressure, or the vapor pressure of the feed as one component, where a
// feed of several is always unstable. From every stationary point of the tangent plane distance
// Newton's method is tried; what it finds must lie on the right side of what the tests showed.
// Where it fails the bracket is halved in ln P. A pressure found is tested outward to the limit: a
// feed unstable farther out has its boundary there, or, if there is none, keeps the one found with
// a warning.

#include <algorithm>
#include <array>
#include <cmath>

#include "equil/EOSolver.h"
#include "fluid/Charzation.h"

namespace kestrane {

namespace {

constexpr int REGION_LIMIT = 20;     ///< two-phase regions, one beyond the other
constexpr int APPROACH_LIMIT = 150;  ///< pressures tried to close a bracket
constexpr double FIRST_FACTOR = 4.0;
/// Half the relative width of a bracket at which the critical point's series is tried first, and
/// how much narrower it is at each next time.
constexpr double CRITICAL_WIDTH = 0.01, CRITICAL_NARROWING = 8.0;
constexpr double LARGEST_FACTOR = 4096.0;
/// Below this the products of pressures in the cubic leave the range of doubles.
constexpr double P_SMALLEST = 1e-145;
constexpr double SMALLEST_FRACTION = 1000.0 * DOUBLE_MIN;

/// Where the feed must be stable beyond a pressure found, over that pressure.
constexpr std::array ABOVE{1.00002, 1.01, 1.1, 1.4, 2.5, 7.0, 40.0, 1e10};
constexpr std::array BELOW{0.99998, 0.99, 0.8, 0.4, 0.1, 0.01, 1e-3, 1e-5};

}  // namespace

/// What the stages of a search for a saturation pressure share. Pressures are Pa, 0 for none.
struct EOSolver::SaturationState {
    SaturationState(WorkStack& work, std::size_t n)
        : list(work, n), w(work.take(n)), found_ln_k(work.take(n)), first_ln_k(work.take(n)) {}
    StationaryList list;
    std::span<double> w;           ///< n: ln(trial/feed) of the Newton iteration
    std::span<double> found_ln_k;  ///< n: ln(incipient/feed) at P_found
    std::span<double> first_ln_k;  ///< n: of the cell on entry
    int sense = 1;
    double P_two = 0.0;  ///< the feed is unstable there; the farthest known in the sense asked for
    double P_one = 0.0;  ///< the feed is stable there, beyond P_two
    double P_found = 0.0;      ///< on the boundary, or as near as the tests can tell
    bool unstable = false;     ///< at the pressure probed last
    bool untested = false;     ///< no Newton iteration was tried from P_two
    bool proved = false;       ///< P_found is converged
    bool above_limit = false;  ///< the feed is unstable at the upper limit
    bool out_of_bounds = false;

    /// True if P lies in the sense asked for from Q, or on it.
    bool beyond(double P, double Q) const { return sense > 0 ? P >= Q : P <= Q; }
};

bool EOSolver::saturation(int sense) {
    if (!check_temperature() || !set_conditions()) {
        if (errors_.usable()) warn_of_no_two_phase_pressure(sense);  // an equation without results
        finish(false);
        return false;
    }
    const double P0 = cell_.pressure.value;
    const WorkStack::Frame frame(store_->work);
    SaturationState s(store_->work, n_);
    s.sense = sense;
    std::ranges::copy(cell_.ln_k, s.first_ln_k.begin());
    errors_.warnings_on = errors_.errors_on = false;
    cell_.phase_count = cell_.third_phase_position = 0;
    if (cell_.current_init != INIT_NEVER) {
        cell_.pressure.value = P0 > 0.0 ? std::min(P0, P_HIGH_LIMIT) : one_component_pressure();
        wilson();  // tells whether the components differ at all
    }
    if (cell_.current_init == INIT_NEVER)
        saturation_of_one_component(s, P0);
    else
        saturation_search(s);
    if (s.P_found > 0.0) {
        if (cell_.current_init != INIT_NEVER) saturation_publish(s);
    } else {
        saturation_withdraw(s, P0);
    }
    errors_.warnings_on = errors_.errors_on = true;
    saturation_messages(s);
    const bool usable = errors_.usable();
    finish(usable);
    return usable && s.P_found > 0.0;
}

void EOSolver::saturation_of_one_component(SaturationState& s, double P0) {
    const double P = one_component_pressure();
    cell_.pressure.value = P;
    publish_vapor_pressure(P, P0);
    if (std::abs(feed_.root) < 2) return;
    s.P_found = P;
    s.proved = true;
}

void EOSolver::saturation_search(SaturationState& s) {
    test1_now = cell_.test1;
    test2_now = TEST_ALWAYS;
    saturation_first_contact(s);
    for (int region = 0; region < REGION_LIMIT; ++region) {
        if (s.P_two > 0.0 && !saturation_approach(s)) return;
        if (!(s.P_found > 0.0) || !saturation_is_unstable_outside(s)) return;
    }
}

void EOSolver::set_phase_pressures(double P) {
    cell_.pressure.value = P;
    for (PhaseState* phase : {&feed_, &x_, &y_, &trial_}) eos_.set_pressure(*phase->c_parms, P);
}

/// Puts feed and trials at P, with all trials due.
void EOSolver::saturation_at(SaturationState& s, double P) {
    set_phase_pressures(P);
    evaluate(feed_, 0);
    s.list.clear();
    s.unstable = false;
}

/// True if the feed is unstable at P.
bool EOSolver::saturation_probe(SaturationState& s, double P) {
    saturation_at(s, P);
    double g = 0.0;
    while (!s.unstable && next_stationary_point(s.list, g)) s.unstable = g < 0.0;
    return s.unstable;
}

/// The Newton iteration from each of the stationary points at P. True if it found a pressure that
/// agrees with what is known of the bracket; that pressure is then the cell's.
bool EOSolver::saturation_contact(SaturationState& s, double P, int sense) {
    saturation_at(s, P);
    double g = 0.0;
    while (next_stationary_point(s.list, g)) {
        s.unstable = s.unstable || g < 0.0;
        std::ranges::copy(ln_k(), s.w.begin());
        const int end = saturation_newton(trial_, s.w, sense);
        if (std::abs(end) == SATURATION_FOUND || std::abs(end) == SATURATION_THROUGH_ROOT) {
            const double found = cell_.pressure.value;
            // An unstable feed becomes stable in the sense of the search, a stable one against it.
            const bool side = (sense > 0) == (g < 0.0) ? found >= P : found <= P;
            const bool inside = sense != s.sense || s.P_one == 0.0 || !s.beyond(found, s.P_one);
            const bool past = sense != s.sense || s.P_two == 0.0 || s.beyond(found, s.P_two);
            if (side && inside && past) return true;
        }
        set_phase_pressures(P);
        evaluate(feed_, 0);
    }
    return false;
}

/// From the pressure of the start to a pressure found, or at least to one where the feed is
/// unstable.
void EOSolver::saturation_first_contact(SaturationState& s) {
    const double P = cell_.pressure.value;
    if (saturation_contact(s, P, s.sense)) {
        saturation_keep(s, true);
    } else if (s.unstable) {
        s.P_two = P;
    } else if (!saturation_far_side(s, P)) {
        const double start = one_component_pressure();
        const bool subcritical = std::abs(feed_.root) >= 2;
        if (saturation_contact(s, start, s.sense))
            saturation_keep(s, true);
        else if (s.unstable || subcritical)
            s.P_two = start;
        else if (!saturation_far_side(s, start))
            saturation_scan(s, start);
    }
}

/// Looks for the other end of the two-phase region from a pressure where the feed is stable, and
/// steps inside.
bool EOSolver::saturation_far_side(SaturationState& s, double P) {
    if (!saturation_contact(s, P, -s.sense)) return false;
    const double found = cell_.pressure.value;
    for (double step : {1e-3, 1e-5, 1e-7}) {
        const double inside = found * (1.0 + s.sense * step);
        if (!saturation_probe(s, inside)) continue;
        s.P_two = inside;
        s.untested = true;
        return true;
    }
    return false;
}

/// Goes through all pressures, the nearer to the start the sooner, for one where the feed is
/// unstable or has a stationary point that leads to the boundary. A region next to its highest
/// temperature is narrower than the steps; it is looked for where the feed is nearest to unstable.
void EOSolver::saturation_scan(SaturationState& s, double start) {
    constexpr double FACTOR = 1.6, FINE_FACTOR = 1.03;
    constexpr double LOWEST = 1e-3;  // Pa
    constexpr double WIDTH = 1.4;    // of the closer look, up and down
    if (saturation_scan_from(s, start, FACTOR, {LOWEST, P_HIGH_LIMIT})) return;
    const double P = least_curvature_pressure();
    if (P > 0.0)
        saturation_scan_from(s, P, FINE_FACTOR, {P / WIDTH, std::min(P * WIDTH, P_HIGH_LIMIT)});
}

/// Tries pressures in steps of a factor up and down from `start`, between bounds. True if one of
/// them leads on.
bool EOSolver::saturation_scan_from(SaturationState& s, double start, double factor,
                                    std::pair<double, double> bounds) {
    double above = start, below = start;
    while (above < bounds.second || below > bounds.first) {
        above *= factor;
        below /= factor;
        for (const double P : {above, below}) {
            if (P > bounds.second || P < bounds.first) continue;
            if (saturation_contact(s, P, s.sense)) {
                saturation_keep(s, true);
                return true;
            }
            if (s.unstable) {
                s.P_two = P;
                return true;
            }
            if (saturation_far_side(s, P)) return true;
        }
    }
    return false;
}

/// From an unstable feed at P_two to the boundary: the Newton iteration from pressures ever nearer
/// to it. Ends at the best unstable pressure where the iteration does not converge. False if there
/// is no boundary in that sense.
bool EOSolver::saturation_approach(SaturationState& s) {
    if (s.untested) {
        s.untested = false;
        if (saturation_contact(s, s.P_two, s.sense)) {
            saturation_keep(s, true);
            return true;
        }
    }
    double factor = FIRST_FACTOR, critical_width = CRITICAL_WIDTH;
    for (int round = 0; round < APPROACH_LIMIT; ++round) {
        double P = 0.0;
        if (s.P_one > 0.0) {
            const double width = std::abs(s.P_one - s.P_two) / (s.P_one + s.P_two);
            if (width <= critical_width) {
                if (saturation_critical_contact(s) || saturation_pure_contact(s)) {
                    saturation_keep(s, true);
                    return true;
                }
                critical_width = width / CRITICAL_NARROWING;
            }
            if (width <= 0.5 * P_LOW_LIMIT) break;
            P = std::sqrt(s.P_one) * std::sqrt(s.P_two);
        } else {
            P = s.sense > 0 ? std::min(s.P_two * factor, P_HIGH_LIMIT) : s.P_two / factor;
            factor = std::min(2.0 * factor, LARGEST_FACTOR);
        }
        if (P < P_SMALLEST) {
            s.out_of_bounds = true;
            return false;
        }
        if (saturation_contact(s, P, s.sense)) {
            saturation_keep(s, true);
            return true;
        }
        if (s.unstable && P >= P_HIGH_LIMIT) {
            s.above_limit = true;
            return false;
        }
        (s.unstable ? s.P_two : s.P_one) = P;
    }
    if (!saturation_probe(s, s.P_two)) return false;
    std::ranges::copy(ln_k(), s.w.begin());
    saturation_keep(s, false);
    return true;
}

/// The critical point's series from the unstable side of the bracket. True if the pressure that it
/// leads to agrees with the bracket; that pressure is then the cell's.
bool EOSolver::saturation_critical_contact(SaturationState& s) {
    set_phase_pressures(s.P_two);
    if (!saturation_near_critical(s.w, s.sense)) return false;
    // Tests take the feed for stable where the phases are all but alike.
    constexpr double SLACK = 1e-4;
    const double found = cell_.pressure.value;
    return s.beyond(found, s.P_two) && s.beyond(s.P_one * (1.0 + s.sense * SLACK), found);
}

/// A feed of one component and traces is unstable between two pressures next to the vapor pressure
/// as one component only. At that pressure the feed is liquid or vapor by chance; a little beyond
/// it the phase asked for. True if that led to a pressure.
bool EOSolver::saturation_pure_contact(SaturationState& s) {
    constexpr double SHIFT = 1e-6;  // of the vapor pressure by traces
    const double P = one_component_pressure();
    if (std::abs(feed_.root) < 2 || !s.beyond(P, s.P_two) || s.beyond(P, s.P_one)) return false;
    // There the feed was taken for unstable; traces may shift the boundary to either side.
    const double P_two = s.P_two;
    if (P_two == P) s.P_two = P * (1.0 - s.sense * SHIFT);
    for (const double step : {1e-9, 1e-11, 1e-13})
        if (saturation_contact(s, P * (1.0 + s.sense * step), s.sense)) return true;
    s.P_two = P_two;
    return false;
}

void EOSolver::saturation_keep(SaturationState& s, bool proved) {
    s.P_found = cell_.pressure.value;
    s.proved = proved;
    std::ranges::copy(s.w, s.found_ln_k.begin());
    s.P_two = 0.0;
}

/// True if the feed is unstable somewhere beyond the pressure found; the search goes on from there.
bool EOSolver::saturation_is_unstable_outside(SaturationState& s) {
    const auto beyond = [&](double factor) {
        double P = s.P_found * factor;
        if (s.sense > 0) P = std::min(P, P_HIGH_LIMIT);
        if (P == s.P_found || !saturation_probe(s, P)) return false;
        if (P == P_HIGH_LIMIT) {
            s.above_limit = true;
            return false;
        }
        s.P_two = P;
        s.P_one = 0.0;
        s.untested = true;
        return true;
    };
    const std::span<const double> factors =
        s.sense > 0 ? std::span<const double>(ABOVE) : std::span<const double>(BELOW);
    for (double factor : factors) {
        const bool next_to_it = factor == factors.front();
        if (next_to_it && !s.proved) continue;
        if (beyond(factor)) {
            // A boundary with a phase that comes second: the feed is unstable on both sides.
            if (next_to_it) s.P_found = 0.0;
            return true;
        }
        if (s.P_found * factor >= P_HIGH_LIMIT) break;
    }
    return false;
}

/// The feed and the incipient phase at the pressure found.
void EOSolver::saturation_publish(SaturationState& s) {
    set_phase_pressures(s.P_found);
    solve_feed();
    double total = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        x_.comps[i] = z()[i];
        y_.comps[i] = z()[i] * std::exp(s.found_ln_k[i]);
        total += y_.comps[i];
    }
    for (std::size_t i = 0; i < n_; ++i) {
        y_.comps[i] = std::max(y_.comps[i] / total, SMALLEST_FRACTION);
        cell_.k[i] = y_.comps[i] / x_.comps[i];
        cell_.ln_k[i] = std::log(cell_.k[i]);
    }
    for (PhaseState* phase : {&x_, &y_}) {
        evaluate(*phase, 0);
        phase->z_factor = eos_.z_factor(*phase->c_parms);
    }
    x_.fraction = 1.0;
    y_.fraction = 0.0;
    publish(true);
}

/// Without a saturation pressure the feed is flashed at its old one.
void EOSolver::saturation_withdraw(SaturationState& s, double P0) {
    const double P = std::max(P0, 0.0);
    set_phase_pressures(P);
    std::ranges::copy(s.first_ln_k, cell_.ln_k.begin());
    for (std::size_t i = 0; i < n_; ++i) cell_.k[i] = std::exp(cell_.ln_k[i]);
    if (P == 0.0) cell_.current_init = INIT_NEVER;
    flash_driver();
    cell_.pressure.value = P0;
}

void EOSolver::saturation_messages(const SaturationState& s) {
    const bool found = s.P_found > 0.0;
    const bool upper = s.sense > 0;
    if (found && !s.proved)
        errors_.Warn(upper ? "K-value convergence failed during saturation pressure calculations"
                           : "K-value convergence failed during dew-point pressure calculations");
    if (!found && s.out_of_bounds)
        errors_.Warn(upper ? "K-Values went out of bounds during saturation pressure calculations"
                           : "K-Values went out of bounds during dew-point pressure calculations");
    if (s.above_limit)
        errors_.Warn(
            "A saturation pressure (if one exists) could not be found\n"
            "because the upper search limit was still two-phase");
    else if (!found)
        warn_of_no_two_phase_pressure(s.sense);
}

void EOSolver::warn_of_no_two_phase_pressure(int sense) {
    errors_.Warn(sense > 0 ? "A saturation pressure (if one exists) could not be found\n"
                             "because no two-phase pressure could be found"
                           : "A dew-point pressure (if one exists) could not be found\n"
                             "because no two-phase pressure could be found");
}

}  // namespace kestrane
