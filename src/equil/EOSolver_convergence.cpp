// Pressures and temperatures of the feed taken as one component, and convergence pressures.

#include <algorithm>
#include <cmath>
#include <limits>

#include "equil/EOSolver.h"
#include "fluid/Charzation.h"

namespace kestrane {

namespace {

constexpr int CONVERGENCE_LIMIT = 1000;  ///< negative flashes
/// Distance between compositions that have not met: the tie-line was lost on the way.
constexpr double NOT_MET = 0.05;
constexpr double T_CLOSE = 0.99999999;  ///< of the bounds of a temperature search
constexpr int T_ROUNDS = 2500;          ///< halvings and doublings through the range of doubles

/// Squared distance between two compositions: falls in proportion to the pressure left to the
/// critical point of the tie-line.
double squared_distance(std::span<const double> x, std::span<const double> y) {
    double distance = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) distance += std::abs(y[i] - x[i]);
    return distance * distance;
}

}  // namespace

/// The feed's record is left at that pressure, with its roots.
double EOSolver::one_component_pressure() {
    eos_.set_composition(*feed_.c_parms, z());
    const double P = eos_.vapor_pressure(*feed_.c_parms);
    eos_.set_pressure(*feed_.c_parms, P);
    feed_.root = 0;
    eos_.solve_z(*feed_.c_parms, feed_.root, feed_.root_class);
    return P;
}

void EOSolver::vapor_pressure() {
    const bool ok = check_temperature() && set_conditions();
    if (ok) {
        const double P_before = cell_.pressure.value;
        cell_.pressure.value = one_component_pressure();
        publish_vapor_pressure(cell_.pressure.value, P_before);
    }
    finish(ok && errors_.usable());
}

/// Both roots at P, with the feed on the side from which the pressure came.
void EOSolver::publish_vapor_pressure(double P, double P_before) {
    set_phase_pressures(P);
    cell_.third_phase_position = 0;
    feed_.root = 1;
    eos_.solve_z(*feed_.c_parms, feed_.root, feed_.root_class);
    const bool two = std::abs(feed_.root) >= 2;
    const bool vapor = P > P_before;
    if (two) feed_.root = feed_.root_class = vapor ? 2 : -2;
    eos_.select_root(*feed_.c_parms, two ? feed_.root : 0);
    feed_.z_factor = eos_.z_factor(*feed_.c_parms);
    feed_.density = density(feed_);
    cell_.forget_k();
    cell_.copy_feed_to_phases();
    for (PhaseState* phase : {&x_, &y_}) {
        phase->z_factor = feed_.z_factor;
        phase->root = feed_.root;
        phase->root_class = feed_.root_class;
        std::copy_n(feed_.comps, n_, phase->comps);
    }
    if (two) {
        eos_.z_factors(*feed_.c_parms, x_.z_factor, y_.z_factor);
        x_.root = x_.root_class = -2;
        y_.root = y_.root_class = 2;
    }
    x_.density = density(x_);
    y_.density = density(y_);
    cell_.phase_count = two ? 2 : 1;
    y_.fraction = vapor ? 1.0 : 0.0;
    x_.fraction = 1.0 - y_.fraction;
}

void EOSolver::average_critical_temperature() {
    cell_.temperature.value = pseudo_critical_T_;
    finish(errors_.usable());
}

/// True if the feed as one component is below its critical temperature at T.
bool EOSolver::is_below_critical(double T) {
    cell_.temperature.value = T;
    if (!set_conditions()) return false;
    eos_.set_composition(*feed_.c_parms, z());
    return eos_.below_pseudo_critical(*feed_.c_parms);
}

void EOSolver::critical_temperature() {
    if (!(cell_.temperature.value > 0.0)) cell_.temperature.value = pseudo_critical_T_;
    const bool ok = set_conditions();
    if (ok) cell_.temperature.value = search_critical_temperature(cell_.temperature.value);
    finish(ok && errors_.usable());
}

/// Halves or doubles T until the bounds are close. A start that is the result already is kept.
double EOSolver::search_critical_temperature(double T) {
    double low = 0.0, high = std::numeric_limits<double>::max();
    const double start = T;
    if (is_below_critical(start) ? !is_below_critical(start / T_CLOSE)
                                 : is_below_critical(start * T_CLOSE))
        return start;
    for (int round = 0; round < T_ROUNDS && low < T_CLOSE * high; ++round) {
        if (is_below_critical(T)) {
            low = T;
            T = std::min(0.5 * low + 0.5 * high, 2.0 * low);
        } else {
            high = T;
            T = 0.5 * (T + low);
        }
        if (!(T > 0.0)) break;
    }
    return T;
}

struct EOSolver::ConvergenceState {
    ConvergenceState(WorkStack& work, std::size_t n)
        : ln_k(work.take(n)), x(work.take(n)), y(work.take(n)) {}
    std::span<double> ln_k, x, y;  ///< n: of the last two-phase state
    double L = 1.0, V = 0.0;       ///< its phase fractions
    double P1 = 0.0, P0 = 0.0;     ///< Pa: the last two-phase pressures
    double D1 = 0.0;               ///< squared distance of the phases at P1
};

bool EOSolver::convergence_pressure() {
    const bool found = saturation(1);
    if (!found || cell_.phase_count < 2) return found;
    const WorkStack::Frame frame(store_->work);
    ConvergenceState s(store_->work, n_);
    s.P1 = cell_.pressure.value;
    s.D1 = squared_distance(comps(x_), comps(y_));
    convergence_save(s);
    if (s.D1 > 0.0 && cell_.current_init != INIT_NEVER) {
        errors_.warnings_on = errors_.errors_on = false;
        const bool closed = convergence_search(s);
        convergence_publish(s);
        errors_.warnings_on = errors_.errors_on = true;
        if (!closed)
            errors_.Warn(
                "A convergence pressure (if one exists) could not be found\n"
                "because it would have exceeded the upper search limit");
        else if (s.D1 > NOT_MET * NOT_MET)
            errors_.Warn("K-value convergence failed during phase split calculations");
    }
    finish(errors_.usable());
    return found;
}

void EOSolver::convergence_save(ConvergenceState& s) {
    std::ranges::copy(cell_.ln_k, s.ln_k.begin());
    std::ranges::copy(comps(x_), s.x.begin());
    std::ranges::copy(comps(y_), s.y.begin());
    s.L = x_.fraction;
    s.V = y_.fraction;
}

/// The last two-phase state as the result. Its split need not succeed from its own K-values, where
/// the phases are all but one.
void EOSolver::convergence_publish(const ConvergenceState& s) {
    set_phase_pressures(s.P1);
    solve_feed();
    for (std::size_t i = 0; i < n_; ++i) {
        cell_.ln_k[i] = s.ln_k[i];
        cell_.k[i] = std::exp(s.ln_k[i]);
    }
    std::ranges::copy(s.x, x_.comps);
    std::ranges::copy(s.y, y_.comps);
    x_.fraction = s.L;
    y_.fraction = s.V;
    for (PhaseState* phase : {&x_, &y_}) {
        evaluate(*phase, 0);
        phase->z_factor = eos_.z_factor(*phase->c_parms);
    }
    cell_.phase_count = 0;
    publish(true);
}

/// The split at P from the K-values saved. True if there is a tie-line.
bool EOSolver::convergence_split(const ConvergenceState& s, double P) {
    set_phase_pressures(P);
    solve_feed();
    evaluate(feed_, 0);
    std::ranges::copy(s.ln_k, cell_.ln_k.begin());
    x_.fraction = s.L;
    y_.fraction = s.V;
    double G = 0.0;
    return split(G);
}

/// Follows the tie-line through the feed to the pressure where its ends meet. False if that lies
/// above the limit.
bool EOSolver::convergence_search(ConvergenceState& s) {
    constexpr double CLOSE = 1.0 + P_LOW_LIMIT;
    constexpr double LIMIT = 2.0 * P_HIGH_LIMIT;
    double P_next = 2.0 * s.P1;
    for (int round = 0; round < CONVERGENCE_LIMIT; ++round) {
        P_next = std::min(P_next, LIMIT);
        double P = P_next;
        bool two_phase = convergence_split(s, P);
        P_next = std::sqrt(P * s.P1);
        while (!two_phase && P_next > CLOSE * s.P1) {
            P = P_next;
            two_phase = convergence_split(s, P);
            P_next = std::sqrt(P * s.P1);
        }
        if (two_phase) {
            convergence_save(s);
            s.P0 = s.P1;
            s.P1 = P;
            const double D = squared_distance(comps(x_), comps(y_));
            const double W = std::max(2.0 * D, s.D1);
            s.D1 = D;
            P_next = std::exp((W * std::log(s.P1) - D * std::log(s.P0)) / (W - D));
        }
        if (P_next > CLOSE * s.P1) {
            if (P >= LIMIT) return false;
        } else if (P == s.P1) {
            return true;
        } else {
            P_next = s.P1;
        }
    }
    return true;
}

}  // namespace kestrane
