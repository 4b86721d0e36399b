#include "equil/EOSolver.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "fluid/Charzation.h"
#include "frame/Errors.h"

namespace kestrane {

namespace {

/// Room for the deepest nesting: a flash with its stationary points and saved state, a third-phase
/// search, a split or a test with their derivative matrices. In multiples of n and of n(n+1).
constexpr std::size_t WORK_ARRAYS = 64;
constexpr std::size_t WORK_MATRICES = 2;

/// The number a message gives for a value: in its unit, 0 if it has none.
std::string in_unit(const ValueWithUnit& value, UnitKind kind) {
    const Units& unit = value.unit ? *value.unit : unit_set(kind).default_unit();
    std::ostringstream text;
    text << '(' << (value.value == UNSET ? 0.0 : unit.print(value.value)) << ' ' << unit.name()
         << ')';
    return text.str();
}

}  // namespace

StationaryList::StationaryList(WorkStack& work, std::size_t n) {
    for (StationaryPoint& point : points) point.ln_k = work.take(n);
}

void StationaryList::append(std::span<const double> ln_k, double g) {
    for (std::size_t entry = 0; entry < count; ++entry) {
        bool alike = true;
        for (std::size_t i = 0; alike && i < ln_k.size(); ++i)
            alike = std::abs(ln_k[i] - points[entry].ln_k[i]) <= SPREAD_TRIVIAL;
        if (alike) return;
    }
    if (count == CAPACITY) throw LogicError{};
    std::ranges::copy(ln_k, points[count].ln_k.begin());
    points[count].g = g;
    points[count].active = true;
    ++count;
    if (g >= 0.0) ++nonnegative;
}

std::size_t StationaryList::best() const {
    std::size_t best = count;
    for (std::size_t i = 0; i < count; ++i)
        if (points[i].active && (best == count || points[i].g < points[best].g)) best = i;
    return best;
}

void StationaryList::clear() {
    flags = ALL_TRIALS;
    count = nonnegative = 0;
}

EOSolver::EOSolver(PVTCell& cell)
    : cell_(cell),
      errors_(*cell.errors),
      charz_(*cell.charz),
      eos_(cell.charz->eos()),
      n_(cell.charz->size()) {
    bind_store();
    bind_phases();
    cell_.current_init = std::min(cell_.current_init, cell_.init_policy);
    cell_.eos_evaluations = 0;
    set_feed(nullptr, 1.0, 0.0);
    set_conditions();
}

/// Keeps the cell's phase records and arrays if they fit, or makes new ones. The equation is held
/// by the store, so that its address cannot have been used again.
void EOSolver::bind_store() {
    if (!cell_.solver_store) cell_.solver_store = make_dyn<SolverStore>();
    store_ = cell_.solver_store.get();
    if (store_->charz_serial == charz_.serial() && store_->n == n_ && store_->eos.get() == &eos_)
        return;
    store_->charz_serial = charz_.serial();
    store_->n = n_;
    store_->eos = charz_.shared_eos();
    store_->feed = store_->x = store_->y = store_->trial = nullptr;
    store_->arrays.assign(SolverStore::ARRAYS * n_, 0.0);
    store_->work = WorkStack(WORK_ARRAYS * n_ + WORK_MATRICES * n_ * (n_ + 1));
}

void EOSolver::bind_phases() {
    feed_ = cell_.feed_state;
    x_ = cell_.x_state;
    y_ = cell_.y_state;
    feed_.fraction = 1.0;
    // A cell that has not been used yet has both fractions 1.
    if (!(std::abs(x_.fraction + y_.fraction - 1.0) <= E96)) y_.fraction = 1.0 - x_.fraction;
    feed_.comps = cell_.feed_fractions.data();
    feed_.ln_phi = store_->array(0).data();
    x_.comps = store_->array(1).data();
    x_.ln_phi = store_->array(2).data();
    y_.comps = store_->array(3).data();
    y_.ln_phi = store_->array(4).data();
    trial_.comps = store_->array(5).data();
    trial_.ln_phi = store_->array(6).data();
}

/// Roots are first guesses of the next ones: those of an earlier calculation would show in the last
/// digits of this one. A record that is bound to a temperature has forgotten them.
bool EOSolver::set_conditions() {
    if (!(cell_.temperature.value > 0.0)) return false;
    t_parms_ = charz_.t_parms(cell_.temperature.value);
    if (!t_parms_) return false;
    const auto set = [this](PtrTo<EOS_C_Parms>& record, PhaseState& phase) {
        if (record)
            eos_.set_T_Parms(*record, t_parms_);
        else
            record = eos_.make_C_Parms(t_parms_, &errors_);
        if (record) {
            record->errors = &errors_;
            eos_.set_pressure(*record, cell_.pressure.value);
        }
        phase.c_parms = record;
        return static_cast<bool>(record);
    };
    return set(store_->feed, feed_) && set(store_->x, x_) && set(store_->y, y_) &&
           set(store_->trial, trial_);
}

std::span<double> EOSolver::ln_k() {
    return cell_.ln_k;
}
std::span<double> EOSolver::k() {
    return cell_.k;
}
std::span<const double> EOSolver::z() const {
    return cell_.feed_fractions;
}

void EOSolver::set_feed(const Tank* injection, double w_feed, double w_injection) {
    const bool injecting = injection && w_injection > 0.0;
    const double share_feed = !injecting ? 1.0 : w_feed > 0.0 ? w_feed : 0.0;
    const double share_injection = injecting ? w_injection : 0.0;
    const double total = share_feed + share_injection;
    std::size_t nonzero = 0;
    double weighted_T = 0.0, weight = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        double amount = share_feed > 0.0 ? share_feed * cell_.feed->moles()[i] : 0.0;
        if (injecting) amount += share_injection * injection->moles()[i];
        double& z_i = cell_.feed_fractions[i];
        z_i = total == 1.0 ? amount : amount / total;
        if (z_i > TINY_AMOUNT)
            ++nonzero;
        else
            z_i = TINY_AMOUNT;
        const Compnent& c = charz_.comps[i];
        weighted_T += z_i * c.tc * c.tc / c.pc;
        weight += z_i * c.tc / c.pc;
    }
    pseudo_critical_T_ = weighted_T / weight;
    if (nonzero < 2) cell_.current_init = INIT_NEVER;
}

bool EOSolver::check_temperature() {
    if (cell_.temperature.value > 0.0 && std::isfinite(cell_.temperature.value)) return true;
    errors_.Add(
        "The temperature " + in_unit(cell_.temperature, UnitKind::Temperature) + " was nonphysical",
        FATAL_ERROR);
    return false;
}

bool EOSolver::check_pressure(bool strict) {
    const double P = cell_.pressure.value;
    if (std::isfinite(P) && (strict ? P > 0.0 : P >= 0.0)) {
        if (P == 0.0) cell_.current_init = INIT_NEVER;
        return true;
    }
    errors_.Add("The pressure " + in_unit(cell_.pressure, UnitKind::Pressure) + " was nonphysical",
                FATAL_ERROR);
    return false;
}

void EOSolver::evaluate(PhaseState& phase, int hint) {
    phase.root = hint;
    eos_.set_composition(*phase.c_parms, comps(phase));
    eos_.solve_z(*phase.c_parms, phase.root, phase.root_class);
    eos_.ln_phi(*phase.c_parms, ln_phi(phase));
    ++cell_.eos_evaluations;
}

void EOSolver::solve_feed() {
    feed_.root = 0;
    eos_.set_composition(*feed_.c_parms, z());
    eos_.solve_z(*feed_.c_parms, feed_.root, feed_.root_class);
    feed_.z_factor = eos_.z_factor(*feed_.c_parms);
}

void EOSolver::wilson() {
    const double T = cell_.temperature.value;
    if (T == wilson_T_) return;
    wilson_T_ = T;
    const std::span<double> w = wilson_ln_k();
    const double ln_P = std::log(cell_.pressure.value);
    double low = LN_MAX, high = -LN_MAX;
    for (std::size_t i = 0; i < n_; ++i) {
        const Compnent& c = charz_.comps[i];
        w[i] = (1.0 + c.acentric) * 5.37 * (1.0 - c.tc / T) + (c.ln_pc - ln_P);
        if (z()[i] > TINY_AMOUNT) {
            low = std::min(low, w[i]);
            high = std::max(high, w[i]);
        }
    }
    const double spread = high - low;
    if (!(spread > 0.0)) {
        cell_.current_init = INIT_NEVER;
        return;
    }
    const double stretch = std::clamp(spread, 10.0, 50.0) / spread;
    if (stretch != 1.0)
        for (double& w_i : w) w_i *= stretch;
    // Stretched, the ln K of an absent component might leave the range of numbers.
    for (double& w_i : w) w_i = std::clamp(w_i, low * stretch, high * stretch);
}

/// What shows two roots of the cubic makes a further phase suspect.
void EOSolver::raise_tests() {
    if (cell_.test1 > TEST_NEVER) test1_now = TEST_ALWAYS;
    if (cell_.test2 > TEST_NEVER) test2_now = TEST_ALWAYS;
}

/// Mass density (kg/m3) from Z, 0 where Z is of no use.
double EOSolver::density(const PhaseState& phase) const {
    if (!(phase.z_factor > 0.0)) return 0.0;
    double mass = 0.0;
    for (std::size_t i = 0; i < n_; ++i) mass += phase.comps[i] * charz_.comps[i].mw;
    const double ideal = cell_.pressure.value / (GAS_CONSTANT * cell_.temperature.value);
    return ideal * mass / phase.z_factor;
}

void EOSolver::publish(bool two_phase) {
    feed_.density = density(feed_);
    if (two_phase)
        publish_two_phases();
    else
        publish_one_phase();
}

void EOSolver::publish_one_phase() {
    cell_.forget_k();
    cell_.copy_feed_to_phases();
    const auto take_feed = [this](PhaseState& phase) {
        phase.z_factor = feed_.z_factor;
        phase.density = feed_.density;
        phase.root = feed_.root;
        phase.root_class = feed_.root_class;
        std::copy_n(feed_.comps, n_, phase.comps);
    };
    take_feed(x_);
    take_feed(y_);
    if (std::abs(feed_.root) < 2) {
        cell_.phase_count = 0;
        const bool vapor = y_.root > 0 || pseudo_critical_T_ < cell_.temperature.value;
        y_.fraction = vapor ? 1.0 : 0.0;
    } else {
        cell_.phase_count = 1;
        eos_.z_factors(*feed_.c_parms, x_.z_factor, y_.z_factor);
        x_.root = x_.root_class = -2;
        y_.root = y_.root_class = 2;
        x_.density = density(x_);
        y_.density = density(y_);
        y_.fraction = feed_.root >= 1 ? 1.0 : 0.0;
    }
    x_.fraction = 1.0 - y_.fraction;
}

void EOSolver::publish_two_phases() {
    x_.density = density(x_);
    y_.density = density(y_);
    if (!eos_.is_lighter(*x_.c_parms, *y_.c_parms)) {
        std::swap(x_, y_);
        for (std::size_t i = 0; i < n_; ++i) {
            cell_.ln_k[i] = -cell_.ln_k[i];
            cell_.k[i] = 1.0 / cell_.k[i];
        }
    }
    const auto fill = [this](Tank& tank, const PhaseState& phase) {
        std::copy_n(phase.comps, n_, tank.moles().begin());
        tank.moles_changed();
        tank.normalize(0.0);
    };
    fill(*cell_.nf_liquid, x_);
    fill(*cell_.nf_vapor, y_);
    if (x_.fraction * y_.fraction < 0.0) {
        cell_.eq_liquid->copy(*cell_.feed);
        cell_.eq_vapor->copy(*cell_.feed);
        cell_.phase_count = 1;
    } else {
        cell_.eq_liquid->copy(*cell_.nf_liquid);
        cell_.eq_vapor->copy(*cell_.nf_vapor);
        cell_.phase_count = std::max(cell_.phase_count, 2);
    }
}

void EOSolver::finish(bool ok) {
    if (ok) {
        cell_.feed_state = feed_;
        cell_.x_state = x_;
        cell_.y_state = y_;
        cell_.point_phases_at_tanks();
    } else {
        cell_.give_up();
    }
    cell_.current_init = INIT_NEWTON;
    errors_.warnings_on = errors_.errors_on = true;
}

}  // namespace kestrane
