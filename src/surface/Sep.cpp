#include "surface/Sep.h"

#include <algorithm>
#include <cmath>

#include "equil/Numerics.h"
#include "equil/RachfordRice.h"
#include "frame/Errors.h"
#include "lab/EOSLab.h"

namespace kestrane {

namespace {

bool same(const SepAmount& a, const SepAmount& b) {
    return a.kind == b.kind && a.component == b.component && KeyCompare(a.name, b.name) == 0;
}

double share(double value) {
    return std::clamp(value, 0.0, 1.0);
}

/// The shares of a component in oil and gas, from its amounts there.
void divide(double in_liquid, double in_vapor, double& oil, double& gas) {
    const double whole = in_liquid + in_vapor;
    if (!(whole > 0.0)) return;
    oil = in_liquid / whole;
    gas = in_vapor / whole;
}

/// Amounts of a stream, each component's multiplied by its factor.
void take_shares(Tank& target, const Tank& feed, const std::vector<double>& factors) {
    target.rebind(feed.charz());
    for (std::size_t i = 0; i < factors.size(); ++i)
        target.moles()[i] = factors[i] * feed.moles()[i];
    target.moles_changed();
}

}  // namespace

void SepSplit::clear() {
    liquid = vapor = 0.0;
    liquid_density = vapor_density = UNSET;
    negative_flash = false;
    for (std::vector<double>* list : {&point, &k_values, &oil_factors, &gas_factors}) list->clear();
    for (Tank* tank : {&feed, &nf_liquid, &nf_vapor}) tank->rebind(nullptr);
}

const CmdKey* Sep::FindKey(const std::string& word) const {
    return dictionary_of<Sep>().find(word);
}

int Sep::find_variable(const SepVariable& variable) const {
    const auto at = std::ranges::find_if(variables, [&](const SepVariable& known) {
        return same(known.numerator, variable.numerator) &&
               same(known.denominator, variable.denominator);
    });
    return at == variables.end() ? -1 : static_cast<int>(at - variables.begin());
}

SepRow& Sep::row_at_current_point() {
    SepRow& row = points[currentPoint];
    row.factors.resize(tableWidth, UNSET);
    return row;
}

void Sep::bind_amount(SepAmount& amount) const {
    if (amount.name.empty()) return;
    amount.component = characterization->find_component(amount.name);
    amount.lump = nullptr;
    if (amount.component >= 0) return;
    for (const PtrTo<const Lump>& lump : characterization->lumps)
        if (lump->name.matches(amount.name) && lump->fits(*characterization)) amount.lump = lump;
    if (!amount.lump) throw BadLump{};
}

bool Sep::bind(Charzation& charz, const EOSLab& lab) {
    characterization = &charz;
    if (charz.size() != componentCount) return false;
    for (SepVariable& variable : variables) {
        bind_amount(variable.numerator);
        bind_amount(variable.denominator);
    }
    lab_ = &lab;
    const PVTCell& cell = lab.cell();
    bound_temperature_ = temperature.value == UNSET ? cell.temperature : temperature;
    bound_pressure_ = pressure.value == UNSET ? cell.pressure : pressure;
    complete_rows();
    cell_ = make_dyn<StreamCell>();
    cell_->bind(characterization, lab);
    return true;
}

ValueWithUnit Sep::bound_temperature() const {
    return bound_temperature_.value == UNSET && lab_ ? lab_->cell().temperature
                                                     : bound_temperature_;
}

ValueWithUnit Sep::bound_pressure() const {
    return bound_pressure_.value == UNSET && lab_ ? lab_->cell().pressure : bound_pressure_;
}

void Sep::unbind() {
    characterization = nullptr;
    lab_ = nullptr;
    cell_ = nullptr;
}

/// Where a row lacks a side that other rows have, the side is the complement of the one given.
void Sep::complete_rows() {
    if (!has_factors() || oilRule == RULE_UNSET || gasRule == RULE_UNSET) return;
    for (auto& [point, row] : points) {
        if (row.oil_given == row.gas_given) continue;
        const std::size_t n = componentCount;
        for (std::size_t i = 0; i < n; ++i) {
            double& oil = row.factors[i];
            double& gas = row.factors[n + i];
            if (row.oil_given)
                gas = complement(oil, oilRule, gasRule);
            else
                oil = complement(gas, gasRule, oilRule);
        }
    }
}

/// Oil and gas factors of a component in normal form. Of two that are given the smaller gives way.
void Sep::factors_of_pair(std::size_t i, double& oil, double& gas) const {
    const double oil_x = currentFactors[i];
    const double gas_x = currentFactors[componentCount + i];
    oil = oilRule == RULE_UNSET ? UNSET : from_space(oil_x, oilRule);
    gas = gasRule == RULE_UNSET ? UNSET : from_space(gas_x, gasRule);
    if (gas == UNSET || (oil != UNSET && oil >= gas))
        gas = complement(oil_x, oilRule, RULE_LINEAR);
    else
        oil = complement(gas_x, gasRule, RULE_LINEAR);
    oil = share(oil);
    gas = share(gas);
}

void Sep::interpolate(SepSplit& split) {
    ValArray<double>& point = scratch_.point;
    point.clear();
    for (const SepVariable& variable : variables) {
        split.point.push_back(variable_value(variable, split.feed));
        point.push_back(to_space(split.point.back(), variable.rule));
    }
    Lookup(point, 0, currentFactors);
}

void Sep::recoveries_by_table(SepSplit& split, std::vector<double>& oil, std::vector<double>& gas) {
    interpolate(split);
    const std::size_t n = componentCount;
    if (has_factors()) {
        for (std::size_t i = 0; i < n; ++i) factors_of_pair(i, oil[i], gas[i]);
        split.oil_factors = oil;
        split.gas_factors = gas;
        return;
    }
    for (std::size_t i = 0; i < n; ++i)
        split.k_values.push_back(std::max(from_space(currentFactors[i], oilRule), smallestFactor));
    recoveries_by_k(split, oil, gas);
}

/// One Rachford-Rice solution. Nothing but the K-values says which phase is the liquid, so that
/// neither the equation of state nor conditions are needed.
void Sep::recoveries_by_k(const SepSplit& split, std::vector<double>& oil,
                          std::vector<double>& gas) {
    const std::size_t n = componentCount;
    std::vector<double>& work = scratch_.rachford_rice;
    work.resize(9 * n);
    const auto array = [&](std::size_t at) { return std::span(work).subspan(at * n, n); };
    const std::span<double> z = array(0);
    for (std::size_t i = 0; i < n; ++i) {
        z[i] = std::max(split.feed.moles()[i] / split.feed.total_moles(), TINY_AMOUNT);
        array(1)[i] = std::log(split.k_values[i]);
    }
    RachfordRiceState rr;
    rr.z = z;
    rr.ln_K = array(1);
    rr.K = array(2);
    rr.xi = array(3);
    rr.x = array(4);
    rr.y = array(5);
    rr.work_a = array(6);
    rr.work_b = array(7);
    rr.work_c = array(8);
    rr.L = rr.V = 0.5;
    if (rachford_rice(rr, 0.0, NUM_EPS, false) < 0)
        cell_->errors().Warn("Rachford-Rice convergence failed during phase split calculations");
    const auto [lowest, highest] = std::ranges::minmax(split.k_values);
    const bool one_phase = rr.trivial || !rr.in_range;
    const bool all_oil = one_phase && highest <= 1.0 && lowest < 1.0;
    const double L = one_phase ? (all_oil ? 1.0 : 0.0) : share(rr.L);
    const double V = one_phase ? 1.0 - L : share(rr.V);
    const bool two_phase = L > 0.0 && V > 0.0;
    for (std::size_t i = 0; i < n; ++i)
        divide(L * (two_phase ? rr.x[i] : 1.0), V * (two_phase ? rr.y[i] : 1.0), oil[i], gas[i]);
}

void Sep::recoveries_by_flash(SepSplit& split, std::vector<double>& oil, std::vector<double>& gas) {
    cell_->flash(split.feed, split.temperature.value, split.pressure.value);
    if (!errors().usable()) return;
    take_phases(split, oil, gas);
}

/// Recoveries from the phases in the cell: the shares of each component in liquid and vapor.
void Sep::take_phases(SepSplit& split, std::vector<double>& oil, std::vector<double>& gas) {
    PVTCell& cell = cell_->cell();
    const double L = share(cell.x_state.fraction);
    const double V = share(cell.y_state.fraction);
    const bool two_phase = cell.phase_count >= 2;
    for (std::size_t i = 0; i < oil.size(); ++i)
        divide(two_phase ? L * cell.eq_liquid->moles()[i] : L,
               two_phase ? V * cell.eq_vapor->moles()[i] : V, oil[i], gas[i]);
    if (two_phase) {
        split.liquid_density = cell.x_state.density;
        split.vapor_density = cell.y_state.density;
    } else if (cell.phase_count == 1 && cell.x_state.fraction * cell.y_state.fraction < 0.0) {
        split.negative_flash = true;
        split.nf_liquid.copy(*cell.nf_liquid);
        split.nf_vapor.copy(*cell.nf_vapor);
    }
}

void Sep::measure(SepSplit& split, const Tank& oil, const Tank& gas) {
    const double T = split.temperature.value;
    const double P = split.pressure.value;
    if (split.liquid_density == UNSET) split.liquid_density = cell_->density(oil, T, P, true);
    if (split.vapor_density == UNSET) split.vapor_density = cell_->density(gas, T, P, false);
}

SepSplit Sep::Separate(const Tank& feed, Tank& oil, Tank& gas, bool with_densities) {
    SepSplit split;
    Separate(feed, oil, gas, with_densities, split);
    return split;
}

void Sep::Separate(const Tank& feed, Tank& oil, Tank& gas, bool with_densities, SepSplit& split) {
    split.clear();
    split.temperature = bound_temperature();
    split.pressure = bound_pressure();
    split.feed.name = feed.name;
    split.feed.copy(feed);
    oil.rebind(characterization);
    gas.rebind(characterization);
    try {
        split.feed.convert(characterization);
    } catch (const UnconvertedTank& failure) {
        errors().Add(conversion_message("A source fluid", feed, characterization, failure.reason),
                     FATAL_ERROR);
        return;
    }
    // Without a usable split everything is gas.
    std::vector<double>& oil_shares = scratch_.oil;
    std::vector<double>& gas_shares = scratch_.gas;
    oil_shares.assign(componentCount, 0.0);
    gas_shares.assign(componentCount, 1.0);
    if (split.feed.total_moles() > 0.0) {
        if (tableWidth > 0)
            recoveries_by_table(split, oil_shares, gas_shares);
        else
            recoveries_by_flash(split, oil_shares, gas_shares);
    }
    take_shares(oil, split.feed, oil_shares);
    take_shares(gas, split.feed, gas_shares);
    if (split.feed.total_moles() > 0.0) {
        split.liquid = oil.total_moles() / split.feed.total_moles();
        split.vapor = gas.total_moles() / split.feed.total_moles();
    }
    if (with_densities) measure(split, oil, gas);
}

}  // namespace kestrane
