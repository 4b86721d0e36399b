#include "surface/BlackOil.h"

#include <algorithm>
#include <cmath>

#include "equil/Numerics.h"
#include "fluid/Tension.h"
#include "fluid/Viscometer.h"
#include "lab/EOSLab.h"

namespace kestrane {

namespace {

/// Pressures closer than this are one: a fluid stored at its saturation pressure has one row there.
constexpr double SAME_PRESSURE = 1e-6;

bool same_pressure(double a, double b) {
    return a != UNSET && b != UNSET && std::abs(a - b) <= SAME_PRESSURE * std::max(a, b);
}

/// Without parachors a tension is not known; it is not zero.
bool has_parachors(const Charzation& charz) {
    return std::ranges::any_of(charz.comps,
                               [](const Compnent& component) { return component.parachor > 0.0; });
}

std::vector<double> fractions_of(const Tank& tank) {
    std::vector<double> fractions(tank.moles().begin(), tank.moles().end());
    const double whole = tank.total_moles();
    for (double& fraction : fractions) fraction = whole > 0.0 ? fraction / whole : 0.0;
    return fractions;
}

BO_Product product_of(const OutStage& stage) {
    BO_Product product;
    const Tank& tank = stage.tank();
    product.moles = tank.total_moles();
    product.fractions = fractions_of(tank);
    if (!(product.moles > 0.0)) return product;
    product.mw = tank.total_mass() / product.moles;
    ValueWithUnit temperature, pressure;
    if (stage.conditions(temperature, pressure)) {
        product.temperature = temperature.value;
        product.pressure = pressure.value;
    }
    const double volume = stage.amounts.volume;
    if (volume != UNSET && volume > 0.0) product.density = tank.total_mass() / volume;
    return product;
}

}  // namespace

SaturationPoint saturation_point(StreamCell& stream_cell, const Tank& fluid, double T, double P) {
    SaturationPoint point;
    point.found = stream_cell.saturation(fluid, T, P);
    if (!point.found) return point;
    const PVTCell& cell = stream_cell.cell();
    point.pressure = cell.pressure.value;
    point.is_bubble_point = cell.x_state.fraction > cell.y_state.fraction;
    const auto [low, high] = std::ranges::minmax(cell.ln_k);
    point.both = high - low <= SPREAD_TRIVIAL;
    return point;
}

std::vector<double> merged_pressures(const std::vector<double>& extra, double own,
                                     double saturation) {
    std::vector<double> pressures;
    const auto add = [&](double P) {
        if (P == UNSET || std::ranges::any_of(pressures, [&](double known) {
                return same_pressure(known, P) || known == P;
            }))
            return;
        pressures.push_back(P);
    };
    add(saturation);
    add(own);
    for (const double P : extra) add(P);
    std::ranges::sort(pressures);
    return pressures;
}

BlackOil::BlackOil(EOSLab& lab, const Collector& collector, Process& process)
    : lab_(lab), collector_(collector), process_(process) {
    cell_.bind(collector_.characterization, lab_);
}

void BlackOil::describe_reservoir(BO_Entry& entry, const TPzSet& set, const Place& place) {
    const double T = set.temperature.value;
    const double pressure = place.pressure;
    if (place.saturated)
        cell_.saturation(set.fluid, T, pressure);
    else
        cell_.flash(set.fluid, T, pressure);
    PVTCell& cell = cell_.cell();
    for (const auto& problem : cell.errors->entries)
        entry.problems.Add(problem->text, cell.errors->severity);
    cell.errors->Clear();
    const bool two_phase = cell.phase_count >= 2;
    if (two_phase && has_parachors(*cell.charz))
        entry.tension = tension_model()
                            ->tension(*cell.eq_liquid, *cell.eq_vapor, T, pressure,
                                      cell.x_state.z_factor, cell.y_state.z_factor)
                            .value;
    if (two_phase && !place.saturated) {
        const auto volume = [](const Tank& tank, const PhaseState& state) {
            return state.fraction * tank.total_mass() / tank.total_moles() / state.density;
        };
        entry.density = entry.mw / (volume(*cell.eq_liquid, cell.x_state) +
                                    volume(*cell.eq_vapor, cell.y_state));
        return;
    }
    const PhaseState& state = !two_phase     ? cell.feed_state
                              : place.as_oil ? cell.x_state
                                             : cell.y_state;
    entry.density = state.density;
    entry.viscosity = viscometer()->viscosity(set.fluid, T, pressure, state.z_factor).value;
}

BO_Entry BlackOil::row(const TPzSet& set, const std::string& name, const Place& place,
                       const SaturationPoint& saturation) {
    BO_Entry entry;
    entry.name = name;
    entry.depth = set.depth.value;
    entry.temperature = set.temperature.value;
    entry.pressure = place.pressure;
    if (saturation.found) entry.psat_type = place.as_oil ? "BP" : "DP";
    Tank fluid(name, set.fluid.charz());
    fluid.assign_amount(set.fluid, 1.0);
    entry.mw = fluid.total_mass();
    entry.fractions = fractions_of(fluid);
    describe_reservoir(entry, set, place);
    ValueWithUnit at = set.pressure;
    at.value = place.pressure;
    const IncomingPhase phase = !place.forced  ? IncomingPhase::ByFlash
                                : place.as_oil ? IncomingPhase::Liquid
                                               : IncomingPhase::Vapor;
    process_.Run(fluid, set.temperature, at, true, phase);
    entry.oil = product_of(*process_.find_product("OIL"));
    entry.gas = product_of(*process_.find_product("GAS"));
    process_.gather_problems(entry.problems);
    return entry;
}

std::vector<BO_Entry> BlackOil::rows_of(const std::string& name, const TPzSet& set,
                                        const std::vector<double>& extra_pressures) {
    const double own = set.pressure.value;
    const SaturationPoint saturation =
        saturation_point(cell_, set.fluid, set.temperature.value, own);
    const std::vector<double> pressures =
        saturation.found ? merged_pressures(extra_pressures, own, saturation.pressure)
                         : std::vector<double>{own};
    std::vector<BO_Entry> rows;
    for (const double P : pressures) {
        Place place{P, saturation.found && same_pressure(P, saturation.pressure),
                    saturation.is_bubble_point, false};
        place.forced = place.saturated && saturation.both;
        rows.push_back(row(set, name, place, saturation));
        if (!place.forced) continue;
        place.as_oil = !place.as_oil;
        rows.push_back(row(set, name, place, saturation));
    }
    return rows;
}

}  // namespace kestrane
