// The search for the minimum miscibility pressure.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

#include "equil/Saturation.h"
#include "lab/NumberText.h"
#include "lab/Section.h"
#include "misc/MiscExpt.h"
#include "misc/MiscText.h"

namespace kestrane {

namespace {

/// Closest ratio of two pressures told apart.
const double CLOSEST = std::exp(0.0001);
constexpr double GOLDEN = std::numbers::phi - 1.0;
constexpr double NO_VALUE = -2.0;
constexpr double STEEPEST_EXPONENT = 100.0;
constexpr double LEAST_STEP = 0.0001;
/// Lower end of all searches, in the user's unit of pressure.
constexpr double LOWEST_PRESSURE = 1e-30;
/// Where the user's unit has another zero, Pa.
constexpr double SMALLEST_PRESSURE = 1e-30;
/// A later test must beat the pressure found by this factor.
constexpr double CLEARLY_BELOW = 0.9999;
/// Where a search starts without any pressure to go by, Pa.
constexpr double USUAL_PRESSURE = 100.0 * ATMOSPHERE;
/// Where the search for a pressure with two phases gives up, Pa.
constexpr double HIGHEST_PROBE = 1000.0 * ATMOSPHERE;
/// A safeguard: searches end after some twenty trials, or a hundred if all pressures are miscible.
constexpr int MOST_TRIALS = 1000;

}  // namespace

struct MMP_Expt::Search {
    int test_number;
    double high;             ///< least pressure found miscible, or the upper limit
    double trial;            ///< Pa
    double p1, i1;           ///< last immiscible pressure and its value
    double p0, i0;           ///< the one before
    double bound;            ///< least first-contact miscible pressure
    bool bracketed = false;  ///< a miscible pressure is known
    int mechanism = IMMISCIBLE;
};

bool MMP_Expt::ready() {
    found_fluid_ = find_fluid(input_.fluids.front(), injected_);
    return found_fluid_;
}

/// The next pressure, where the decline of the immiscibility would end.
void MMP_Expt::plan_after_immiscible(Search& s) const {
    const double value = s.i1, pressure = s.p1;
    const bool falling_less = !(s.i0 > value);
    if (falling_less) {
        s.trial = pressure * std::exp(std::max(value, LEAST_STEP));
        return;
    }
    const double exponent = std::min(value / (s.i0 - value), STEEPEST_EXPONENT);
    const double factor = std::exp(exponent * std::log(pressure / s.p0));
    s.trial = pressure * std::clamp(factor, CLOSEST, 1.0 + GOLDEN);
}

/// One pressure: its test, its line, and the pressure to try next.
void MMP_Expt::trial(Search& s) {
    const Units& unit =
        cell_.pressure.unit ? *cell_.pressure.unit : unit_set(UnitKind::Pressure).default_unit();
    const double P = s.trial;
    cell_.pressure.value = P;
    int mechanism = s.test_number;
    const double value = test(s.test_number, mechanism);
    if (writer_.active()) {
        std::string line = trial_text(unit.print(P));
        if (s.test_number == COND_VAP) line += std::string(8, ' ') + mechanism_label(mechanism);
        writer_.Line(line + immiscibility_text(value));
    }
    report_trial(s.test_number, "pressure " + value_text(cell_.pressure, UnitKind::Pressure));
    if (value > 0.0) {
        // A value that did not fall below the one before leaves the trend to the pair before that.
        const bool keeps_pair = !(s.i1 > value) && s.i0 > value;
        if (!keeps_pair) {
            s.p0 = s.p1;
            s.i0 = s.i1;
        }
        s.p1 = P;
        s.i1 = value;
        plan_after_immiscible(s);
    } else {
        s.bracketed = true;
        s.high = P;
        s.trial = P;
        s.mechanism = mechanism;
        if (value < 0.0) s.bound = P;
    }
    if (s.bracketed && !(s.trial < s.high && s.trial > s.p1))
        s.trial = s.p1 + (s.high - s.p1) * (1.0 - GOLDEN);
    else if (!(s.trial > s.p1))
        s.trial = (1.0 + GOLDEN) * P;
    s.trial = std::min(s.trial, s.high);
}

void MMP_Expt::pressureSearch(int test_number, double low, double high, double start, double& found,
                              double& bound, int& mechanism) {
    writer_.Newlines(1);
    writer_.Line(test_title(test_number));
    writer_.Newlines(1);
    const bool row = test_number == COND_VAP;
    writer_.Line(row ? "   Pressure       Mechanism      Immiscibility"
                     : "   Pressure        Immiscibility");
    writer_.Line(row ? "--------------    ---------    ---------------"
                     : "--------------    ---------------");
    Search s{test_number, high,     std::min(std::max(low * CLOSEST, start), high),
             low,         NO_VALUE, low,
             NO_VALUE,    UNDEFINED};
    for (int count = 0; count < MOST_TRIALS && s.high > s.p1 * CLOSEST; ++count) trial(s);
    // Without a miscible trial the limit itself was not shown to be miscible.
    found = s.bracketed ? s.p1 : high;
    bound = s.bound <= found * CLOSEST ? found : s.bound;
    mechanism = s.mechanism;
}

/// The first pressure from `start` upwards where a mixture of oil and injected fluid has two
/// phases, 0 if there is none.
double MMP_Expt::two_phase_pressure_above(double start) {
    for (double P = start; P < HIGHEST_PROBE && usable(); P *= 1.0 + GOLDEN) {
        cell_.pressure.value = P;
        if (scan(gas_, oil_)) return P;
    }
    return 0.0;
}

bool MMP_Expt::search_all(double start) {
    const double limit = P_HIGH_LIMIT;
    double guess = start;
    if (!(guess > 0.0)) guess = oil_saturation_ > lowest_ ? oil_saturation_ : USUAL_PRESSURE;
    const double floors[] = {oil_saturation_, injected_saturation_,
                             std::min({oil_saturation_, injected_saturation_, lowest_})};
    double best = limit, bound = UNDEFINED;
    const int tests = uses_cond_vap() ? 3 : 2;
    for (int number = 1; number <= tests; ++number) {
        const double upper = best < limit ? CLEARLY_BELOW * best : limit;
        const double low = std::min(floors[number - 1], upper);
        double found = upper, test_bound = UNDEFINED;
        int mechanism = IMMISCIBLE;
        pressureSearch(number, low, upper, guess, found, test_bound, mechanism);
        if (test_bound <= found && found <= low * CLOSEST) {
            // One phase all the way down may be vapor, with two phases above the start.
            const double P = two_phase_pressure_above(guess);
            if (P > 0.0 && P < upper) {
                guess = P;
                pressureSearch(number, P, upper, P, found, test_bound, mechanism);
            }
        }
        if (found < upper) {
            best = found;
            mechanism_ = mechanism;
        }
        bound = std::min(bound, test_bound);
    }
    if (best < limit && bound <= best) mechanism_ = FIRST_CONTACT;
    found_pressure_ = best;
    return usable();
}

/// The saturation pressures that bound the searches, then the searches. The cell is left as it was.
bool MMP_Expt::calculate() {
    if (!prepare() || !prepare_fluid(injected_)) return false;
    const CellScope scope(cell_);
    const MessagesAside aside(lab_.errors());
    gas_.assign(injected_.moles().begin(), injected_.moles().end());
    const double start = cell_.pressure.value;
    const Units& unit =
        cell_.pressure.unit ? *cell_.pressure.unit : unit_set(UnitKind::Pressure).default_unit();
    lowest_ = std::max(unit.to_base(LOWEST_PRESSURE), SMALLEST_PRESSURE);
    injected_saturation_ = saturation_or(gas_, lowest_);
    oil_saturation_ = saturation_or(oil_, lowest_);
    return usable() && search_all(start);
}

void MMP_Expt::run() {
    if (!found_fluid_) {
        print_results(false);
        return;
    }
    Section section(lab_, writer_, "MMP Calculation", "MMP calculation");
    print_heading(section.heading());
    const bool done = calculate();
    if (done)
        cell_.pressure.value = found_pressure_;
    else
        found_pressure_ = UNDEFINED;
    print_results(done);
    section.close(command_);
}

/// Adds the residual in any case: a fit needs the same number at every evaluation.
void MMP_Expt::print_results(bool done) {
    ValueWithUnit calculated = cell_.pressure;
    calculated.value = found_pressure_;
    const bool compared = input_.measured.value > 0.0;
    if (!done) {
        if (compared)
            lab_.addResidual(percent_error(UNDEFINED, input_.measured.value, input_.measured.value),
                             input_.weight);
        return;
    }
    writer_.Newlines(1);
    writer_.Line(results_of(input_.fluids.front()) +
                 value_text(cell_.temperature, UnitKind::Temperature) + ":");
    const std::string name = "Minimum Miscibility Pressure";
    if (compared)
        lab_.compareValue(writer_, name, name, input_.measured, calculated, input_.measured.value,
                          input_.weight);
    else
        writer_.Line(name + " = " + value_text(calculated, UnitKind::Pressure));
    writer_.Line(std::string("Predicted Mechanism = ") + mechanism_name(mechanism_));
}

}  // namespace kestrane
