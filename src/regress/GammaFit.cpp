#include "regress/GammaFit.h"

#include <algorithm>
#include <numeric>

#include "frame/Errors.h"
#include "frame/Unset.h"

namespace kestrane {

namespace {

constexpr int MAX_ITERATIONS = 100;
/// The bound lies below the first cut's molecular weight, by a few digits of a number at least.
constexpr double MAX_BOUND = 0.9999999999999991;
/// Negative amounts below this share of the mixture are noise.
constexpr double NEGATIVE_TOLERANCE = 1.1102230246251565e-16;

double sum_of(std::span<const double> values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

}  // namespace

Gamma_Fitter::Gamma_Fitter(Charzation& charzation, const CutOrder& cut_order, const Tank& mixture,
                           GammaFitChoice choice, ErrorList& errors)
    : charz(charzation), chosen(std::move(choice)), order(cut_order), count(order.cuts().size()) {
    iteration_limit = MAX_ITERATIONS;
    weights = chosen.weights;
    weights.resize(count + 1, 1.0);
    for (double& weight : weights)
        if (weight < 0.0) weight = 1.0;
    deviations.assign(count + 1, UNSET);
    for (auto* list : {&calc_moles, &calc_masses, &calc_mws, &calc_lower}) list->assign(count, 0.0);
    take_cuts(mixture, errors);
    check_weights(errors);
    if (errors.usable()) check_order(errors);
    sum_amounts(errors);
    if (errors.usable()) define_variables();
}

std::string Gamma_Fitter::cut_name(std::size_t k) const {
    return charz.comps[order.cuts()[k]].name.shown();
}

void Gamma_Fitter::take_cuts(const Tank& mixture, ErrorList& errors) {
    Tank tank(mixture);
    if (tank.clean_negative(NEGATIVE_TOLERANCE))
        errors.Add("The input mixture held negative component amounts, which were reset to zero",
                   WARNING);
    for (const std::size_t i : order.cuts()) {
        const bool held = i < tank.moles().size();
        moles.push_back(held ? tank.moles()[i] : 0.0);
        masses.push_back(held ? tank.masses()[i] : 0.0);
        mws.push_back(charz.comps[i].mw);
    }
    lower_mws = cut_boundaries(charz, order);
}

void Gamma_Fitter::check_weights(ErrorList& errors) const {
    for (std::size_t k = 0; k < count; ++k)
        if (!(mws[k] > 0.0))
            errors.Add(cut_name(k) + " did not have a valid molecular weight", FATAL_ERROR);
}

/// Boundaries that stand on the wrong side of molecular weights. Only those that take part are
/// looked at: not the first one, since the fraction begins at the bound, and with given amounts
/// only those of ignored cuts.
void Gamma_Fitter::check_order(ErrorList& errors) const {
    const auto given = [this](std::size_t k) {
        const bool used = chosen.by_amounts ? k > 0 : k >= chosen.fit_count;
        return used ? charz.comps[order.cuts()[k]].lower_mw : 0.0;
    };
    for (std::size_t k = 0; k < count; ++k) {
        const double lower = given(k);
        if (k > 0 && lower <= 0.0 && chosen.by_amounts)
            errors.Add(
                "For better results, " + cut_name(k) + "'s lower MW should have been specified",
                WARNING);
        if (lower >= mws[k])
            errors.Add("The MW and lower MW of " + cut_name(k) + " are inconsistent", WARNING);
        if (k == 0) continue;
        const bool above = lower > 0.0 && (mws[k - 1] > lower || given(k - 1) >= lower);
        if (above || mws[k - 1] >= mws[k])
            errors.Add("The MWs and lower MWs of " + cut_name(k - 1) + " and " + cut_name(k) +
                           " are inconsistent",
                       WARNING);
    }
}

void Gamma_Fitter::sum_amounts(ErrorList& errors) {
    plus_moles = sum_of(moles);
    plus_mass = sum_of(masses);
    fit_moles = sum_of(std::span(moles).first(chosen.fit_count));
    fit_mass = sum_of(std::span(masses).first(chosen.fit_count));
    mean_mw = plus_moles > 0.0 ? plus_mass / plus_moles : 0.0;
    first_mw = count > 0 ? mws[0] : 0.0;
    if (plus_moles > 0.0 && fit_moles > 0.0 && (by_mole() || fit_mass > 0.0)) return;
    errors.Add("An empty distribution was specified; the Gamma fit was indeterminate", FATAL_ERROR);
}

/// Absolute values become multiples; the mean of what is above the first cut's molecular weight
/// cannot be below it.
double Gamma_Fitter::multiplier(GammaParameter parameter, double value) const {
    if (parameter == AVERAGE) {
        if (value >= first_mw) value /= mean_mw;
        return std::max(value, first_mw / mean_mw);
    }
    if (parameter == BOUND) {
        if (value > 1.0) value /= first_mw;
        return std::min(value, MAX_BOUND);
    }
    return value;
}

/// A single cut tells nothing but the average.
void Gamma_Fitter::define_variables() {
    const GammaState& state = gamma_state();
    for (const GammaParameter parameter : {SHAPE, AVERAGE, BOUND, ORIGIN}) {
        const auto given = [&](const GammaValues& values) {
            return multiplier(parameter, values[parameter]);
        };
        const double guess = given(chosen.fits ? state.guess : state.current);
        const bool varies = chosen.fits && (count > 1 || parameter == AVERAGE);
        addVariable(GAMMA_TITLES[parameter], guess, varies ? given(state.lower) : guess,
                    varies ? given(state.upper) : guess);
    }
}

void Gamma_Fitter::run(Reader& reader, ErrorList& errors) {
    if (active_count() > 0) fit(reader, errors);
    if (ended_by(errors)) return;
    evaluateNow(reader, errors, EvaluationMode::Final);
    if (chosen.fits && !ended_by(errors)) apply(reader, errors);
}

/// Average and bound are stored as molecular weights, which mean the same wherever they are used.
/// With new boundaries in the components, the cuts are what a conversion to them would give.
void Gamma_Fitter::apply(Reader&, ErrorList& errors) {
    gamma_state().current = {variable_value(SHAPE), dist.average, dist.bound,
                             variable_value(ORIGIN)};
    bool changed = false;
    for (std::size_t k = 0; k < (fits_boundaries() ? count : 1); ++k) {
        double& lower = charz.comps[order.cuts()[k]].lower_mw;
        changed = changed || lower != calc_lower[k];
        lower = calc_lower[k];
    }
    if (!changed) return;
    std::vector<double> fractions(count);
    dist.split(calc_lower, fractions, calc_mws, errors);
    double kept = 0.0;
    for (std::size_t k = 0; k < count; ++k) {
        if (!by_mole()) fractions[k] *= calc_mws[k];
        if (k < chosen.fit_count) kept += fractions[k];
    }
    if (kept > 0.0) set_amounts(fractions, (by_mole() ? fit_moles : fit_mass) / kept);
}

bool Gamma_Fitter::make_distribution(ErrorList& errors) {
    const double bound = first_mw * variable_value(BOUND);
    const GammaValues values{variable_value(SHAPE), mean_mw * variable_value(AVERAGE), bound,
                             bound * variable_value(ORIGIN)};
    try {
        dist.set(values[SHAPE], values[AVERAGE], values[BOUND], values[ORIGIN], errors);
        return true;
    } catch (const BadGamma&) {
        errors.Add("The currently defined Gamma parameters were invalid\n" + list_gamma(values),
                   FATAL_ERROR);
        return false;
    }
}

ErrorList& Gamma_Fitter::complaints(ErrorList& errors, EvaluationMode mode) {
    trial_complaints_.Clear();
    return mode == EvaluationMode::Final ? errors : trial_complaints_;
}

void Gamma_Fitter::add_deviation(std::size_t k, double deviation) {
    deviations[k] = deviation;
    addResidual(deviation, weights[k]);
}

void Gamma_Fitter::set_amounts(std::span<const double> amounts, double factor) {
    for (std::size_t k = 0; k < count; ++k) {
        const double amount = amounts[k] * factor;
        calc_moles[k] = by_mole() ? amount : amount / calc_mws[k];
        calc_masses[k] = by_mole() ? amount * calc_mws[k] : amount;
    }
}

void Gamma_Fitter::take_boundaries(std::span<const double> given) {
    double lower = dist.bound;
    for (std::size_t k = 0; k < given.size(); ++k) {
        if (k > 0) lower = std::max(lower, given[k]);
        calc_lower[k] = lower;
    }
}

void Gam_Amt_Fitter::evaluate(Reader&, ErrorList& errors, EvaluationMode mode) {
    if (!make_distribution(errors)) return;
    ErrorList& list = complaints(errors, mode);
    fractions_.resize(count);
    take_boundaries(lower_mws);
    dist.split(calc_lower, fractions_, calc_mws, list);
    if (!by_mole())
        for (std::size_t k = 0; k < count; ++k) fractions_[k] *= calc_mws[k] / dist.average;
    const std::size_t kept = chosen.fit_count;
    const double sum = ignores_cuts() ? sum_of(std::span(fractions_).first(kept)) : 1.0;
    const double fitted = by_mole() ? fit_moles : fit_mass;
    const double scale = sum > 0.0 ? fitted / sum : 1.0;
    set_amounts(fractions_, scale);
    const double mean_amount = fitted / static_cast<double>(kept);
    const std::vector<double>& measured = by_mole() ? moles : masses;
    for (std::size_t k = 0; k < kept; ++k)
        add_deviation(k, (scale * fractions_[k] - measured[k]) / mean_amount);
    add_mean_deviation();
}

/// The share of the distribution, of the conserved kind, that the ignored cuts have by their
/// boundaries; their amounts.
double Gam_MW_Fitter::share_ignored(ErrorList& errors) {
    const std::size_t kept = chosen.fit_count, ignored = count - kept;
    if (ignored == 0) return 0.0;
    tail_bounds_.resize(ignored + 1);
    tail_fractions_.resize(ignored + 1);
    tail_mws_.resize(ignored + 1);
    tail_bounds_[0] = dist.bound;
    for (std::size_t j = 1; j <= ignored; ++j)
        tail_bounds_[j] = std::max(tail_bounds_[j - 1], lower_mws[kept + j - 1]);
    dist.split(tail_bounds_, tail_fractions_, tail_mws_, errors);
    double share = 0.0;
    for (std::size_t j = 1; j <= ignored; ++j) {
        const double amount = tail_fractions_[j] * (by_mole() ? 1.0 : tail_mws_[j] / dist.average);
        amounts_[kept + j - 1] = amount;
        share += amount;
    }
    return share;
}

void Gam_MW_Fitter::evaluate(Reader&, ErrorList& errors, EvaluationMode mode) {
    if (!make_distribution(errors)) return;
    ErrorList& list = complaints(errors, mode);
    amounts_.resize(count);
    others_.resize(count);
    const std::size_t kept = chosen.fit_count;
    const double share = 1.0 - share_ignored(list);
    const double fitted = by_mole() ? fit_moles : fit_mass;
    const std::vector<double>& measured = by_mole() ? moles : masses;
    for (std::size_t k = 0; k < kept; ++k) amounts_[k] = measured[k] / fitted * share;
    dist.match_amounts(amounts_, others_, calc_lower, calc_mws, by_mole(), list);
    set_amounts(amounts_, share > 0.0 ? fitted / share : fitted);
    double heavier = 0.0;
    for (std::size_t k = kept; k-- > 0;) {
        heavier += masses[k];
        if (heavier > 0.0) add_deviation(k, calc_mws[k] / mws[k] - 1.0);
    }
    add_mean_deviation();
}

std::unique_ptr<Gamma_Fitter> make_gamma_fitter(Charzation& charz, const CutOrder& order,
                                                const Tank& mixture, const GammaFitChoice& choice,
                                                ErrorList& errors) {
    if (choice.by_amounts)
        return std::make_unique<Gam_Amt_Fitter>(charz, order, mixture, choice, errors);
    return std::make_unique<Gam_MW_Fitter>(charz, order, mixture, choice, errors);
}

}  // namespace kestrane
