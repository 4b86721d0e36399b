// Columns in gravity, contacts and boundaries of a cell.

#include <algorithm>
#include <cmath>
#include <sstream>

#include "equil/EOSolver.h"
#include "equil/PVTCell.h"
#include "fluid/Charzation.h"

namespace kestrane {

namespace {

constexpr int CONTACT_LIMIT = 20;  ///< contacts crossed in one column

/// Sends the problems of trial states to a list of their own.
class QuietScope {
public:
    explicit QuietScope(PVTCell& cell) : cell_(cell), errors_(cell.errors) {
        cell.errors = make_dyn<ErrorList>();
    }
    ~QuietScope() { cell_.errors = errors_; }
    QuietScope(const QuietScope&) = delete;
    QuietScope& operator=(const QuietScope&) = delete;

private:
    PVTCell& cell_;
    PtrTo<ErrorList> errors_;
};

}  // namespace

PolicyScope::PolicyScope(PVTCell& cell)
    : cell_(cell),
      init_policy_(cell.init_policy),
      test1_(cell.test1),
      test2_(cell.test2),
      third_phase_severity_(cell.third_phase_severity) {}

PolicyScope::~PolicyScope() {
    cell_.init_policy = init_policy_;
    cell_.test1 = test1_;
    cell_.test2 = test2_;
    cell_.third_phase_severity = third_phase_severity_;
}

/// FATAL ERROR for a pressure of zero; other illegal ones are the flash's to report.
bool PVTCell::has_reference_pressure() {
    if (pressure.value != 0.0) return true;
    errors->Add("The reference pressure was nonphysical", FATAL_ERROR);
    return false;
}

bool PVTCell::segregate(double height, double damping, bool stop_at_contact, int policy) {
    if (!prepare() || !has_reference_pressure()) {
        give_up();
        return false;
    }
    bool reached = false;
    {
        const PolicyScope policies(*this);
        third_phase_severity = NO_PROBLEM;
        reached = follow_column(height, damping, stop_at_contact, policy);
    }
    if (errors->usable()) report_third_phase();
    return reached;
}

/// The column from one contact to the next.
bool PVTCell::follow_column(double height, double damping, bool stop_at_contact, int policy) {
    EOSolver solver(*this);
    solver.flash();
    if (!errors->usable()) return false;
    if (depth.value == UNSET) depth.value = 0.0;
    test1 = test2 = TEST_NEVER;
    double left = height;
    for (int contact = 0; contact <= CONTACT_LIMIT; ++contact) {
        init_policy = std::min<int>(policy, INIT_STABILITY);
        double done = 0.0;
        const bool reached = solver.segregate(left, damping, stop_at_contact, done);
        depth.value -= done;
        left -= done;
        if (!reached || stop_at_contact || left == 0.0) return reached;
        feed->copy(left <= 0.0 ? *nf_liquid : *nf_vapor);
        init_policy = INIT_PREVIOUS;
        solver.set_feed(nullptr, 1.0, 0.0);
        solver.flash();
    }
    errors->Warn("K-value convergence failed during segregation calculations");
    return false;
}

namespace {

/// The search for a contact: points of the column by the secant method on the distance from
/// saturation.
class ContactSearch {
public:
    ContactSearch(PVTCell& cell, double damping) : cell_(cell), damping_(damping) {}

    /// True with the cell at the contact.
    bool run();
    /// "small" or "large" if the damping factor may be why there is no contact; else empty.
    std::string reason() const {
        if (!bracketed_ && !side_known_) return {};
        return crossed_ ? "large" : gas_ ? "small" : "";
    }

private:
    /// A point of the column.
    struct Point {
        double depth = 0.0, pressure = 0.0;
        double D = 0.0;  ///< distance from saturation; 0 at the contact
        bool gas = false;
    };
    bool look(Point& point);
    double saturation_distance(double P, int phases, bool& found);
    void keep(const Point& point);
    void go_back();
    double next_step(double step, const Point& from, const Point& to) const;

    static constexpr double LONGEST = 1000.0;    // m
    static constexpr double SHORTEST = 1e-4;     // m
    static constexpr double FIRST_SHARE = 0.01;  // of the longest step
    static constexpr double REACH = 100.0;       // longest steps to either side
    static constexpr double CLOSE = 1e-7;        // of pressures, relative
    static constexpr int ROUND_LIMIT = 200;

    PVTCell& cell_;
    double damping_;
    int sense_ = 1;
    Point kept_;
    Tank feed_{"kept"};
    double lower_ = 0.0, upper_ = 0.0;  ///< m: bracket of the contact's depth
    bool gas_ = false;
    bool crossed_ = false;  ///< from oil to gas, or back, without contact
    bool bracketed_ = false;
    bool side_known_ = false;
};

/// ln of the pressure over the saturation pressure beside it, positive in one phase; the cell is
/// then at saturation, if that was found.
double ContactSearch::saturation_distance(double P, int phases, bool& found) {
    const QuietScope quiet(cell_);
    cell_.pressure.value = phases >= 1 ? P : sense_ > 0 ? 0.5 * P : 2.0 * P;
    found = cell_.saturation(sense_);
    if (found && sense_ * (P - cell_.pressure.value) < 0.0) {
        sense_ = -sense_;
        found = cell_.saturation(sense_);
    }
    return sense_ * std::log(P / cell_.pressure.value);
}

/// Judges the cell's present state: its side, and its distance from saturation. True at the
/// contact, with the cell on the verge of two phases.
bool ContactSearch::look(Point& point) {
    point.depth = cell_.depth.value;
    point.pressure = cell_.pressure.value;
    const int phases = cell_.phase_count;
    point.gas = cell_.y_state.fraction > 0.5;
    bool found = false;
    point.D = saturation_distance(point.pressure, phases, found);
    if (phases == 0) point.gas = !found || cell_.y_state.fraction > 0.5;
    if (found && std::abs(point.D) < CLOSE) return true;
    if (found) {
        double distance = 0.0;
        for (std::size_t i = 0; i < cell_.ln_k.size(); ++i)
            distance += std::abs(cell_.nf_vapor->moles()[i] - cell_.nf_liquid->moles()[i]);
        point.D *= distance;
        side_known_ = true;
    }
    if (point.gas) point.D = -point.D;
    return false;
}

void ContactSearch::keep(const Point& point) {
    kept_ = point;
    gas_ = point.gas;
    (gas_ ? lower_ : upper_) = point.depth;
    bracketed_ = true;
}

void ContactSearch::go_back() {
    cell_.feed->copy(feed_);
    cell_.depth.value = kept_.depth;
    cell_.pressure.value = kept_.pressure;
}

/// Where the distance would vanish, if it went on as between two points; the longest step where
/// that tells nothing. At a contact the search ends before steps get short. Where oil turns into gas
/// through a critical point the distance vanishes too: there a step goes across.
double ContactSearch::next_step(double step, const Point& from, const Point& to) const {
    if (from.D * (from.D - to.D) <= 0.0) return to.gas ? -LONGEST : LONGEST;
    step *= to.D / (from.D - to.D);
    return std::copysign(std::clamp(std::abs(step), SHORTEST, LONGEST), step);
}

bool ContactSearch::run() {
    Point start;
    feed_.copy(*cell_.feed);
    const double reference = cell_.depth.value;
    if (look(start)) return true;
    lower_ = reference - REACH * LONGEST;
    upper_ = reference + REACH * LONGEST;
    keep(start);
    double step = (start.gas ? -FIRST_SHARE : FIRST_SHARE) * LONGEST;
    for (int round = 0; round < ROUND_LIMIT && lower_ < upper_; ++round) {
        go_back();
        const double before = kept_.depth;
        const bool reached = cell_.segregate(step, damping_, true, INIT_STABILITY);
        if (!reached || !cell_.errors->usable()) return false;
        const double done = before - cell_.depth.value;
        const bool verge =
            cell_.phase_count > 1 && cell_.x_state.fraction * cell_.y_state.fraction == 0.0;
        if (verge || std::abs(done) < std::abs(step) * (1.0 - CLOSE)) return true;
        feed_.copy(*cell_.feed);
        Point next;
        if (look(next)) return true;
        // The column went from one side to the other without a contact on the way.
        crossed_ = side_known_ && next.gas != kept_.gas;
        if (crossed_) return false;
        step = next_step(step, kept_, next);
        keep(next);
        step = std::min(next.depth - lower_, std::max(next.depth - upper_, step));
        if (step == 0.0) return false;
    }
    return false;
}

}  // namespace

bool PVTCell::gas_oil_contact(double damping, double& contact_depth) {
    if (!prepare() || !has_reference_pressure()) {
        give_up();
        return false;
    }
    bool found = false;
    {
        const PolicyScope policies(*this);
        third_phase_severity = NO_PROBLEM;
        init_policy = std::min<int>(init_policy, INIT_STABILITY);
        test2 = TEST_ALWAYS;
        flash();
        if (!errors->usable()) return false;
        if (depth.value == UNSET) depth.value = 0.0;
        found = phase_count > 1;
        if (!found) {
            const CellConditions reference = save();
            ContactSearch search(*this, damping);
            test1 = test2 = TEST_NEVER;
            found = init_policy != INIT_NEVER && search.run();
            if (!found && errors->usable()) {
                restore_and_flash(reference, false);
                errors->Warn(
                    "No gas-oil contact could be found from the given reference conditions");
                const std::string reason = search.reason();
                std::ostringstream text;
                text << "The compositional damping factor (" << damping << ") was probably too "
                     << reason << "\nto predict a gas-oil contact for the given sample";
                if (damping != 1.0 && !reason.empty()) errors->Warn(text.str());
            }
        }
    }
    contact_depth = depth.value;
    if (errors->usable()) report_third_phase();
    return found;
}

namespace {

/// The line between two states on which a boundary is looked for.
class BoundaryLine {
public:
    BoundaryLine(PVTCell& cell, const BoundaryLimit& a, const BoundaryLimit& b)
        : cell_(cell), a_(a), b_(b) {}

    /// Both ends prepared and flashed. False if a FATAL ERROR stands.
    bool begin();
    bool crosses_boundary() const { return two_phase(near_) != two_phase(far_); }
    /// Halves the line until its ends are next to the boundary.
    void search();
    const CellConditions& near() const { return near_; }
    const CellConditions& far() const { return far_; }

private:
    bool has_line();
    static bool two_phase(const CellConditions& state) { return state.phase_count >= 2; }
    CellConditions flash_at(double f);
    double interpolate(double a, double b, double f) const;

    static constexpr double CLOSE = 1e-7;          // of ln T and ln P
    static constexpr double CLOSE_MIXTURE = 5e-7;  // of mole fractions
    static constexpr int ROUND_LIMIT = 200;

    PVTCell& cell_;
    BoundaryLimit a_, b_;
    Tank feed_a_{"feed"}, feed_b_{"bounding"};
    double change_ = 0.0;  ///< largest of a mole fraction from a to b
    CellConditions near_, far_;
};

bool BoundaryLine::begin() {
    if (a_.mixture) cell_.feed->copy(*a_.mixture);
    const auto complete = [](ValueWithUnit& value, const ValueWithUnit& present) {
        if (value.value == UNSET) value = present;
    };
    complete(a_.temperature, cell_.temperature);
    complete(a_.pressure, cell_.pressure);
    complete(b_.temperature, a_.temperature);
    complete(b_.pressure, a_.pressure);
    if (!cell_.prepare()) return false;
    feed_a_.copy(*cell_.feed);
    feed_b_.copy(b_.mixture ? *b_.mixture : feed_a_);
    if (!cell_.prepare_stream(&feed_b_, "bounding")) return false;
    for (std::size_t i = 0; i < feed_a_.moles().size(); ++i)
        change_ = std::max(change_, std::abs(feed_b_.moles()[i] - feed_a_.moles()[i]));
    if (!has_line()) return false;
    near_ = flash_at(0.0);
    if (!cell_.errors->usable()) return false;
    far_ = flash_at(1.0);
    return cell_.errors->usable();
}

/// False, with a FATAL ERROR, unless both ends have a logarithm.
bool BoundaryLine::has_line() {
    for (const BoundaryLimit* limit : {&a_, &b_}) {
        cell_.temperature = limit->temperature;
        cell_.pressure = limit->pressure;
        EOSolver solver(cell_);
        const bool legal_T = solver.check_temperature();
        const bool legal_P = solver.check_pressure(true);
        if (!legal_T || !legal_P) return false;
    }
    return true;
}

/// Between positive values on the logarithm; the ends are kept exactly.
double BoundaryLine::interpolate(double a, double b, double f) const {
    if (f <= 0.0 || a == b) return a;
    if (f >= 1.0) return b;
    return std::exp((1.0 - f) * std::log(a) + f * std::log(b));
}

CellConditions BoundaryLine::flash_at(double f) {
    cell_.temperature = f < 1.0 ? a_.temperature : b_.temperature;
    cell_.pressure = f < 1.0 ? a_.pressure : b_.pressure;
    cell_.temperature.value = interpolate(a_.temperature.value, b_.temperature.value, f);
    cell_.pressure.value = interpolate(a_.pressure.value, b_.pressure.value, f);
    if (change_ > 0.0 || f == 0.0) {
        cell_.feed->copy(f < 1.0 ? feed_a_ : feed_b_);
        if (f > 0.0 && f < 1.0) {
            for (std::size_t i = 0; i < feed_a_.moles().size(); ++i)
                cell_.feed->moles()[i] = (1.0 - f) * feed_a_.moles()[i] + f * feed_b_.moles()[i];
            cell_.feed->moles_changed();
        }
    }
    cell_.flash();
    return cell_.save();
}

void BoundaryLine::search() {
    const double spread = std::max(std::abs(std::log(b_.temperature.value / a_.temperature.value)),
                                   std::abs(std::log(b_.pressure.value / a_.pressure.value)));
    double low = 0.0, high = 1.0;
    for (int round = 0; round < ROUND_LIMIT; ++round) {
        const double width = high - low;
        if (spread * width <= CLOSE && change_ * width <= CLOSE_MIXTURE) return;
        const double middle = 0.5 * (low + high);
        CellConditions state = flash_at(middle);
        const bool like_a = two_phase(state) == two_phase(near_);
        (like_a ? low : high) = middle;
        (like_a ? near_ : far_) = std::move(state);
    }
}

}  // namespace

bool PVTCell::boundary(const BoundaryLimit& a, const BoundaryLimit& b, CellConditions& near,
                       CellConditions& far) {
    BoundaryLine line(*this, a, b);
    const bool legal = line.begin();
    bool found = false;
    if (legal && line.crosses_boundary()) {
        line.search();
        found = true;
    }
    near = line.near();
    far = line.far();
    if (!legal) {
        give_up();
        return false;
    }
    if (!found) errors->Warn("No boundary could be found");
    restore_and_flash(near, false);
    return found;
}

std::vector<MixtureEnergy> PVTCell::energies(Tank& injection, int points, bool tangent) {
    std::vector<MixtureEnergy> rows;
    if (!prepare() || !prepare_stream(&injection, "injection")) {
        give_up();
        return rows;
    }
    EOSolver solver(*this);
    if (points > 0 && solver.check_temperature() && solver.check_pressure(true) &&
        solver.set_conditions()) {
        rows.reserve(static_cast<std::size_t>(points) + 3);
        solver.mixture_energies(injection, points, tangent, rows);
    }
    if (errors->usable())
        solver.flash();
    else
        solver.finish(false);
    return rows;
}

std::vector<MixtureEnergy> PVTCell::gibbs(Tank& injection, int points) {
    return energies(injection, points, false);
}

std::vector<MixtureEnergy> PVTCell::tangent(Tank& injection, int points) {
    return energies(injection, points, true);
}

}  // namespace kestrane
