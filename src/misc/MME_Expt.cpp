// The search for the minimum miscibility enrichment.

#include <algorithm>
#include <cmath>

#include "lab/NumberText.h"
#include "lab/Section.h"
#include "misc/MiscExpt.h"
#include "misc/MiscText.h"

namespace kestrane {

namespace {

/// Width of a bracket that ends the search.
constexpr double CLOSEST = 5e-5;
/// A safeguard: a bracket closes in some fifteen trials.
constexpr int MOST_TRIALS = 200;

}  // namespace

struct MME_Expt::Search {
    double low, low_value;        ///< richest immiscible mixture
    double before, before_value;  ///< the one found before it
    double high;                  ///< leanest miscible mixture
    double next;
};

bool MME_Expt::ready() {
    const bool lean = find_fluid(input_.fluids[0], lean_);
    const bool rich = find_fluid(input_.fluids[1], rich_);
    found_fluids_ = lean && rich;
    return found_fluids_;
}

/// Immiscibility with a mixture of that fraction of the rich fluid.
double MME_Expt::trial(int test_number, double fraction) {
    injected_.assign_scaled(lean_, 1.0 - fraction);
    injected_.add_scaled(rich_, fraction);
    int mechanism = test_number;
    const double value = test(test_number, mechanism);
    if (writer_.active()) writer_.Line(trial_text(fraction) + immiscibility_text(value));
    report_trial(test_number, "enrichment " + fixed_text(100.0 * fraction, 3) + "%");
    return value;
}

/// The next fraction: where the line through the last two immiscible points ends, if that is inside
/// the bracket. A point that would not leave the last one steps across it, so that the bracket
/// closes.
void MME_Expt::plan(Search& s) const {
    s.next = s.before < s.low && s.before_value > s.low_value
                 ? s.low + (s.low - s.before) * s.low_value / (s.before_value - s.low_value)
                 : 0.5 * (s.low + s.high);
    s.next = std::max(s.next, s.low + 0.9 * CLOSEST);
    if (!(s.next > s.low && s.next < s.high)) s.next = 0.5 * (s.low + s.high);
}

double MME_Expt::enrichmentSearch(int test_number, double high) {
    writer_.Newlines(1);
    writer_.Line(test_title(test_number));
    writer_.Newlines(1);
    writer_.Line("   Injectant        Immiscibility");
    writer_.Line("---------------    ---------------");
    const double lean = trial(test_number, 0.0);
    if (lean <= 0.0) return 0.0;
    const double rich = trial(test_number, high);
    if (rich > 0.0) return UNDEFINED;
    Search s{0.0, lean, 0.0, lean, high, 0.5 * high};
    for (int count = 0; count < MOST_TRIALS && s.high - s.low > CLOSEST; ++count) {
        const double value = trial(test_number, s.next);
        if (value > 0.0) {
            s.before = s.low;
            s.before_value = s.low_value;
            s.low = s.next;
            s.low_value = value;
            plan(s);
        } else {
            s.high = s.next;
            // A secant that went too far has nothing more to tell before a point nearer to it.
            s.next = 0.5 * (s.low + s.high);
        }
    }
    return 0.5 * (s.low + s.high);
}

/// The tests one after the other; each must beat what the others found.
bool MME_Expt::calculate() {
    if (!prepare() || !prepare_fluid(lean_) || !prepare_fluid(rich_)) return false;
    const CellScope scope(cell_);
    const MessagesAside aside(lab_.errors());
    injected_.copy(lean_);
    injected_.add_scaled(rich_, 1.0);
    const int tests = uses_cond_vap() ? COND_VAP : CONDENSING;
    double best = UNDEFINED;
    for (int number = VAPORIZING; number <= tests && usable() && best > 0.0; ++number) {
        const double high = best == UNDEFINED ? 1.0 : std::max(best - CLOSEST, 0.0);
        best = std::min(best, enrichmentSearch(number, high));
    }
    rich_end_immiscible_ = best == UNDEFINED;
    found_fraction_ = std::min(best, 1.0);
    return usable();
}

void MME_Expt::run() {
    if (!found_fluids_) {
        print_results(false);
        return;
    }
    Section section(lab_, writer_, "MME Calculation", "MME calculation");
    print_heading(section.heading());
    const bool done = calculate();
    if (!done) found_fraction_ = UNDEFINED;
    print_results(done);
    section.close(command_);
}

/// `45.2% "RICH" (with 54.8% "LEAN")`.
std::string MME_Expt::mixture_text(double fraction) const {
    const double percent = 100.0 * fraction;
    return general_text(percent) + "% \"" + input_.fluids[1] + "\" (with " +
           general_text(100.0 - percent) + "% \"" + input_.fluids[0] + "\")";
}

/// Adds the residual in any case: a fit needs the same number at every evaluation.
void MME_Expt::print_results(bool done) {
    const double measured = input_.measured.value;
    const bool compared = measured > 0.0;
    const double error = percent_error(found_fraction_, measured, 1.0);
    if (compared) lab_.addResidual(error, input_.weight);
    if (!done || !writer_.active()) return;
    writer_.Newlines(1);
    writer_.Line(results_of(input_.fluids[0] + " and " + input_.fluids[1]) +
                 value_text(cell_.pressure, UnitKind::Pressure) + " and " +
                 value_text(cell_.temperature, UnitKind::Temperature) + ":");
    const std::string name = "Minimum Miscibility Enrichment = ";
    if (compared) {
        writer_.Line("Expt. " + name + mixture_text(measured) +
                     ",  Weight Factor = " + fixed_text(input_.weight, 4));
        writer_.Line("Calc. " + name + mixture_text(found_fraction_) +
                     ",  Percent Error = " + fixed_text(error, 4));
    } else {
        writer_.Line(name + mixture_text(found_fraction_));
    }
    if (rich_end_immiscible_) writer_.Line("No mixture of the two was miscible with the feed.");
}

}  // namespace kestrane
