#include "fluid/Correlations.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "equil/EOS.h"

namespace kestrane {
namespace {

constexpr int TB_ONLY_CAP = 100;

double ln_largest() {
    static const double value = std::log(std::numeric_limits<double>::max());
    return value;
}

/// Gravity that the molecular weight correlation gives for a trial of boiling point and gravity,
/// or a push into the range where it gives one.
double gravity_of_trial(double ln_mw, double sg, double start) {
    if (!(ln_mw >= 0.0) || ln_mw > 0.5 * ln_largest()) return sg > start ? sg * 0.5 : sg * 2.0;
    double next = UNSET;
    return sg_of_mw(std::exp(ln_mw), next) ? next : sg * 0.5;
}

/// Boiling point alone: finds the gravity at which Twu's molecular weight and the gravity
/// correlation agree, by accelerated substitution from the normal paraffin within a closing
/// bracket. There may be several such gravities; the start decides.
void solve_from_tb(TwuProps& twu, double tb, double& sg, double& ln_mw) {
    sg = ln_mw = UNSET;
    const double start = twu_paraffin_sg_of_tb(tb);
    if (!(start > 0.0)) return;
    sg = start;
    double lower = 0.0;
    double upper = 0.1 * ln_largest();
    double previous = 0.0;
    double acceleration = 1.0;
    for (int round = 0; round < TB_ONLY_CAP; ++round) {
        twu.set_tb_sg(tb, sg);
        ln_mw = twu.ln_mw();
        const double next = gravity_of_trial(ln_mw, sg, start);
        const double d = sg - next;
        if (std::abs(d) <= sg * NUM_EPS) return;
        (sg < next ? lower : upper) = sg;
        if (lower == upper) {
            sg = ln_mw = UNSET;
            return;
        }
        const double r = previous / d;
        acceleration = r > 1.0 ? acceleration * r / (r - 1.0) : 1.0;
        previous = d;
        sg -= d * acceleration;
        if (!(sg > lower && sg < upper)) sg = 0.5 * (lower + upper);
    }
    twu.set_tb_sg(tb, sg);
    ln_mw = twu.ln_mw();
}

/// ln of a molecular weight that the correlations can use; UNSET for one that no substance has.
double usable_ln(double mw) {
    return mw > 1.0 ? std::log(mw) : UNSET;
}

}  // namespace

CorrelationState& correlation_state() {
    static CorrelationState state;
    return state;
}

bool sg_of_mw(double mw, double& sg) {
    if (correlation_state().soreide.sg_from_mw(mw, sg)) return true;
    if (!(mw > 0.0)) return false;
    const double value = twu_paraffin_sg_of_ln_mw(std::log(mw));
    if (value == UNSET) return false;
    sg = value;
    return true;
}

bool mw_of_sg(double sg, double& mw) {
    if (correlation_state().soreide.mw_from_sg(sg, mw)) return true;
    TwuProps twu;
    if (!(sg > 0.0) || !twu.solve(UNSET, sg)) return false;
    const double value = std::exp(twu.ln_mw());
    if (!std::isfinite(value) || !(value > 1.0)) return false;
    mw = value;
    return true;
}

void fill_triple(double& mw, double& tb, double& sg) {
    const int given = (mw > 0.0) + (tb > 0.0) + (sg > 0.0);
    if (given == 0 || given == 3) return;
    TwuProps twu;
    double ln_mw = UNSET;
    if (given == 1) {
        if (tb > 0.0)
            solve_from_tb(twu, tb, sg, ln_mw);
        else if (mw > 0.0)
            sg_of_mw(mw, sg);
        else
            mw_of_sg(sg, mw);
    }
    if (tb > 0.0) {
        if (mw > 0.0)
            sg = usable_ln(mw) != UNSET && twu.set_tb_ln_mw(tb, usable_ln(mw)) ? twu.sg() : UNSET;
        else if (ln_mw == UNSET && sg > 0.0 && twu.set_tb_sg(tb, sg))
            ln_mw = twu.ln_mw();
    } else if (mw > 0.0) {
        if (usable_ln(mw) != UNSET && twu.solve(usable_ln(mw), sg)) {
            tb = twu.tb();
            if (!(sg > 0.0)) sg = twu.sg();
        }
    } else if (twu.solve(UNSET, sg)) {
        tb = twu.tb();
        ln_mw = twu.ln_mw();
    }
    if (!(mw > 0.0) && ln_mw > 0.0 && ln_mw <= ln_largest()) mw = std::exp(ln_mw);
    for (double* value : {&mw, &tb, &sg})
        if (!(*value > 0.0)) *value = UNSET;
}

}  // namespace kestrane
