// A fluid column in gravity: steps in height from point to point, contacts included.
//
// The Newton iteration gives one homogeneous fluid at a height; the flash then tells whether it
// stands there as one phase. In equilibrium with height (damping factor 1) the stable fluid at a
// height is unique, so that a point beyond a contact may be solved for directly, from the phase
// that the flash has found. Else the fluid is followed from point to point: what comes after a
// contact depends on the fluid at the contact.

#include <algorithm>
#include <cmath>

#include "equil/EOSolver.h"
#include "equil/EOSolver_gravity.h"
#include "fluid/Charzation.h"

namespace kestrane {

namespace {

constexpr int DIRECT_TRIES = 3;
constexpr int TRIAL_LIMIT = 2000;             ///< points tried in one column
constexpr int SEARCH_LIMIT = 200;             ///< points tried for one contact
const double CLOSE = 1.4901161193847656e-08;  ///< of the column's height, where a contact is found
/// Phase fraction below which a phase is on the verge of vanishing.
constexpr double VERGE = 1e-8;
/// Relative difference of pressures beyond rounding.
constexpr double SAME_PRESSURE = 1e-9;
/// Product of phase fractions that is zero for a contact.
constexpr double NO_PRODUCT = 1e-14;
/// Stands for the product of phase fractions of a fluid without a tie-line.
constexpr double NO_TIE_LINE = -0.25;
/// Change of ln density beyond that by pressure that shows a change of phase in one step.
constexpr double DENSITY_JUMP = 0.2;

}  // namespace

/// A column on its way, and the last point that it reached.
struct EOSolver::Column {
    Column(WorkStack& work, std::size_t n) : z(work.take(n)) {}
    bool up() const { return height > 0.0; }
    double left() const { return height - done; }

    double height = 0.0, damping = 1.0;
    bool stop = false;            ///< at a contact
    double done = 0.0;            ///< of the height
    bool contact = false;         ///< the column has ended at a contact
    int end = GRAVITY_CONVERGED;  ///< of the last step tried

    std::span<double> z;   ///< n: composition
    double P = 0.0;        ///< Pa
    double density = 0.0;  ///< kg/m3
    double VL = NO_TIE_LINE;
    bool gas = false;    ///< lighter than the phase it would be in equilibrium with
    bool verge = false;  ///< the column started from one of two phases, and leaves the contact
};

bool EOSolver::segregate(double height, double damping, bool stop_at_contact, double& height_done) {
    height_done = 0.0;
    const bool legal_T = check_temperature();
    const bool legal_P = check_pressure(true);
    bool ok = legal_T && legal_P && std::isfinite(height) && set_conditions();
    bool reached = ok;
    if (ok && height != 0.0) {
        const PolicyScope policies(cell_);
        cell_.test1 = TEST_TRIVIAL;
        cell_.test2 = TEST_ALWAYS;
        errors_.warnings_on = errors_.errors_on = false;
        const WorkStack::Frame frame(store_->work);
        Column c(store_->work, n_);
        c.damping = damping;
        c.stop = stop_at_contact;
        column_begin(c, height);
        if (column_cannot_leave(c))
            c.contact = true;
        else if (c.stop || c.damping != 1.0 || !column_direct(c))
            column_follow(c);
        height_done = c.done;
        errors_.warnings_on = errors_.errors_on = true;
        reached = c.contact || c.done == height;
        if (!reached) column_warn(c);
    }
    ok = ok && errors_.usable();
    finish(ok);
    return ok && reached;
}

/// The column starts from the feed, or from the phase of two that goes on in its direction.
void EOSolver::column_begin(Column& c, double height) {
    c.height = height;
    c.P = cell_.pressure.value;
    const double product = x_.fraction * y_.fraction;
    const bool two_phase = cell_.phase_count >= 2 && product >= 0.0;
    c.gas = two_phase ? c.up() : y_.fraction > 0.5;
    c.verge = two_phase || (product < 0.0 && column_at_verge() && c.gas == c.up());
    const PhaseState& start = !two_phase ? feed_ : c.gas ? y_ : x_;
    std::ranges::copy(comps(start), c.z.begin());
    for (double& amount : c.z) amount = std::max(amount, TINY_AMOUNT);
    c.density = density(start);
    if (product < 0.0) c.VL = product;
}

/// True at a contact, on the far side of which another fluid goes on than the feed.
bool EOSolver::column_cannot_leave(const Column& c) const {
    if (cell_.phase_count < 2 || !(c.stop || c.damping != 1.0)) return false;
    return (c.up() ? y_.fraction : x_.fraction) <= VERGE;
}

/// Solves for the point at the full height. True if the fluid there is stable.
bool EOSolver::column_direct(Column& c) {
    c.end = column_step(c, c.height, nullptr);
    for (int more = DIRECT_TRIES; c.end == GRAVITY_CONVERGED; --more) {
        if (cell_.phase_count < 2 || column_at_verge()) {
            if (cell_.phase_count >= 2) column_across_verge(c);
            column_accept(c, c.left());
            return true;
        }
        if (more == 0) break;
        c.end = column_step(c, c.height, c.up() ? &y_ : &x_);
    }
    return false;
}

/// A fluid of which no more than a trace can condense is next to one phase far beyond its contact.
/// Of two fluids of the same potentials the one of higher pressure is stable (a difference by
/// rounding alone is a contact): if that is the one on the other side, it takes the cell.
void EOSolver::column_across_verge(Column& c) {
    const WorkStack::Frame frame(store_->work);
    const std::span<double> kept = store_->work.take(n_);
    std::ranges::copy(comps(feed_), kept.begin());
    const double P = cell_.pressure.value;
    const bool solved =
        column_step(c, c.height, y_.fraction > 0.5 ? &x_ : &y_) == GRAVITY_CONVERGED;
    if (solved && cell_.phase_count < 2 && cell_.pressure.value > P * (1.0 + SAME_PRESSURE)) return;
    std::ranges::copy(kept, feed_.comps);
    cell_.pressure.value = P;
    column_split(c);
}

/// Follows the fluid as far as it is one, in steps over which it changes but gradually. On its way
/// from a contact a fluid of restrained composition may drop condensate, which stays in it.
void EOSolver::column_follow(Column& c) {
    double step = c.height;
    for (int trial = 0; trial < TRIAL_LIMIT && c.done != c.height; ++trial) {
        if (std::abs(step) > std::abs(c.left())) step = c.left();
        c.end = column_step(c, step, nullptr);
        const bool solved = c.end == GRAVITY_CONVERGED;
        const double other = c.gas ? x_.fraction : y_.fraction;
        if (solved && cell_.phase_count >= 2 && !c.verge && other >= 0.0)
            return column_search(c, step);
        const bool smallest = std::abs(step) <= CLOSE * std::abs(c.height);
        const bool gradual = solved && column_is_continuous(c);
        const bool same_side = (y_.fraction > 0.5) == c.gas;
        if (gradual && (same_side || smallest)) {
            column_accept(c, step);
            step = smallest ? c.left() : 2.0 * step;
        } else if (!smallest) {
            step *= 0.5;
        } else if (solved && !c.stop) {
            column_accept(c, step);  // the far side of a contact that has no tie-line
            step = c.left();
        } else {
            c.contact = solved;
            break;
        }
    }
    column_return(c);
}

/// The fluid at `step` above the last point, as the cell's feed and flashed. It is solved for from
/// that phase of the present split, or from the last point.
int EOSolver::column_step(Column& c, double step, const PhaseState* from) {
    {
        const WorkStack::Frame frame(store_->work);
        GravityNewton s(store_->work, n_);
        s.z = c.z;
        s.P_ref = c.P;
        s.damping = c.damping;
        if (from) {
            const std::span<const double> phase = comps(*from);
            for (std::size_t i = 0; i < n_; ++i)
                s.w[i] = s.is_absent(i) ? 0.0 : std::log(phase[i] / c.z[i]);
        }
        gravity_target(s, step);
        gravity_first_pressure(s, step);
        if (gravity_newton(s) != GRAVITY_CONVERGED) return s.end;
        cell_.pressure.value = std::exp(s.ln_P_ref + s.q);
    }
    column_split(c);
    return GRAVITY_CONVERGED;
}

/// Makes the composition in the feed's record the cell's feed, and flashes it at the cell's
/// pressure.
void EOSolver::column_split(Column& c) {
    Tank& feed = *cell_.feed;
    for (std::size_t i = 0; i < n_; ++i)
        feed.moles()[i] = c.z[i] > TINY_AMOUNT ? feed_.comps[i] : 0.0;
    feed.moles_changed();
    cell_.current_init = cell_.init_policy;
    set_feed(nullptr, 1.0, 0.0);
    set_phase_pressures(cell_.pressure.value);
    flash_driver();
}

void EOSolver::column_accept(Column& c, double step) {
    c.done = step == c.left() ? c.height : c.done + step;
    std::ranges::copy(comps(feed_), c.z.begin());
    c.P = cell_.pressure.value;
    c.density = feed_.density;
    c.gas = y_.fraction > 0.5;
    const double product = x_.fraction * y_.fraction;
    c.VL = product < 0.0 ? product : NO_TIE_LINE;
}

/// Puts the cell back to the last point that the column reached.
void EOSolver::column_return(Column& c) {
    if (c.P == cell_.pressure.value && std::ranges::equal(c.z, comps(feed_))) return;
    std::ranges::copy(c.z, feed_.comps);
    cell_.pressure.value = c.P;
    column_split(c);
}

/// True if the density has changed by no more than pressure and composition explain.
bool EOSolver::column_is_continuous(const Column& c) const {
    const double by_pressure = std::log(cell_.pressure.value / c.P);
    const double change = std::log(feed_.density / c.density);
    const double explained =
        std::clamp(change, std::min(by_pressure, 0.0), std::max(by_pressure, 0.0));
    return std::abs(change - explained) <= DENSITY_JUMP;
}

/// True if one of the cell's two phases is about to vanish.
bool EOSolver::column_at_verge() const {
    return std::min(x_.fraction, y_.fraction) <= VERGE;
}

/// The contact within the step, by a root search on the product of phase fractions, which changes
/// its sign there.
void EOSolver::column_search(Column& c, double step) {
    const int policy = cell_.init_policy;
    if (policy != INIT_NEVER) cell_.init_policy = INIT_NEWTON;
    double low = 0.0, VL_low = c.VL;
    double high = step, VL_high = x_.fraction * y_.fraction;
    double last = high, width = std::abs(step);
    for (int round = 1; round <= SEARCH_LIMIT && VL_high > NO_PRODUCT; ++round) {
        if (std::abs(high - low) <= CLOSE * std::abs(step)) break;
        double next = (VL_high * low - VL_low * high) / (VL_high - VL_low);
        bool bisect = !(std::min(low, high) < next && next < std::max(low, high));
        if (round % 3 == 0) {  // the secant must do better than halving every third time
            bisect = bisect || std::abs(high - low) > 0.5 * width;
            width = std::abs(high - low);
        }
        if (bisect) next = 0.5 * (low + high);
        c.end = column_step(c, next, nullptr);
        const bool solved = c.end == GRAVITY_CONVERGED;
        const double product = x_.fraction * y_.fraction;
        last = next;
        if (solved && cell_.phase_count < 2) {
            low = next;
            VL_low = product < 0.0 ? product : NO_TIE_LINE;
        } else {
            high = next;
            VL_high = solved ? product : -NO_TIE_LINE;
        }
    }
    if (last != high) c.end = column_step(c, high, nullptr);
    cell_.init_policy = policy;
    if (c.end != GRAVITY_CONVERGED) return column_return(c);
    const bool gas = c.gas;
    column_accept(c, high);
    c.gas = gas;
    c.contact = true;
    const bool tie_line = cell_.phase_count >= 2 || x_.fraction * y_.fraction < 0.0;
    if (tie_line && column_at_verge()) column_publish_verge(c);
}

/// Rounding leaves a trace of the phase that appears, or lacks one: its fraction becomes zero.
void EOSolver::column_publish_verge(const Column& c) {
    y_.fraction = c.gas ? 1.0 : 0.0;
    x_.fraction = 1.0 - y_.fraction;
    publish(true);
    cell_.x_state.fraction = x_.fraction;
    cell_.y_state.fraction = y_.fraction;
}

void EOSolver::column_warn(const Column& c) {
    errors_.Warn(
        c.end == GRAVITY_K_BOUNDS   ? "K-Values went out of bounds during segregation calculations"
        : c.end == GRAVITY_P_BOUNDS ? "Pressure went out of bounds during segregation calculations"
                                    : "K-value convergence failed during segregation calculations");
}

void EOSolver::mixture_energies(const Tank& injection, int points, bool tangent,
                                std::vector<MixtureEnergy>& rows) {
    const WorkStack::Frame frame(store_->work);
    const std::span<double> plane = store_->work.take(n_);
    std::ranges::fill(plane, 0.0);
    if (tangent) {
        evaluate(feed_, 0);
        for (std::size_t i = 0; i < n_; ++i) plane[i] = std::log(z()[i]) + feed_.ln_phi[i];
    }
    const auto add = [&](double injected) {
        set_feed(&injection, 1.0 - injected, injected);
        feed_.root = 0;
        eos_.set_composition(*feed_.c_parms, z());
        eos_.solve_z(*feed_.c_parms, feed_.root, feed_.root_class);
        MixtureEnergy row{injected};
        double low = 0.0, high = 0.0;
        eos_.raw_roots(*feed_.c_parms, low, high);
        row.two_roots = low != high;
        eos_.root_energies(*feed_.c_parms, row.low, row.high);
        double ideal = 0.0;
        for (std::size_t i = 0; i < n_; ++i) ideal += z()[i] * (std::log(z()[i]) - plane[i]);
        // A distance within rounding of zero is zero, of no sign.
        const auto total = [ideal](double energy) {
            return std::abs(energy + ideal) <= E96 ? 0.0 : energy + ideal;
        };
        row.low = total(row.low);
        row.high = total(row.high);
        rows.push_back(row);
    };
    add(0.0);
    add(1.0);
    for (int i = 0; i <= points; ++i) add(static_cast<double>(i) / points);
    const int init = cell_.current_init;
    set_feed(nullptr, 1.0, 0.0);
    if (init != INIT_NEVER) cell_.current_init = init;
}

}  // namespace kestrane
