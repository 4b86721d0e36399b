// What a stage gives: the state of the cell before and after the removal.

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "expt/PVTzEXPA.h"
#include "expt/PVTzEXPA_run.h"
#include "fluid/Charzation.h"
#include "fluid/Tension.h"
#include "fluid/Viscometer.h"

namespace kestrane {

namespace {

using Field = double ExptData::*;
using Fields = std::array<Field, 2>;  ///< before and after removal
using VectorField = std::vector<double> ExptData::*;

/// Composition of one fluid in the record.
struct CompositionFields {
    VectorField moles, masses, lump_mw;
};
constexpr CompositionFields FEED_BEFORE{&ExptData::z_1, &ExptData::mass_z_1, &ExptData::lump_mw_1};
constexpr CompositionFields FEED_AFTER{&ExptData::z_2, &ExptData::mass_z_2, &ExptData::lump_mw_2};
constexpr CompositionFields LIQUID_COMPOSITION{&ExptData::x, &ExptData::mass_x,
                                               &ExptData::lump_mw_x};
constexpr CompositionFields GAS_COMPOSITION{&ExptData::y, &ExptData::mass_y, &ExptData::lump_mw_y};

/// Where the record holds the properties of a fluid per mole and per mass.
struct DensityFields {
    Field z_factor, mw, molar_volume, molar_density, specific_volume, density;
};
constexpr DensityFields OVERALL_BEFORE{&ExptData::z_factor_1,        &ExptData::mw_1,
                                       &ExptData::molar_volume_1,    &ExptData::molar_density_1,
                                       &ExptData::specific_volume_1, &ExptData::density_1};
constexpr DensityFields OVERALL_AFTER{&ExptData::z_factor_2,        &ExptData::mw_2,
                                      &ExptData::molar_volume_2,    &ExptData::molar_density_2,
                                      &ExptData::specific_volume_2, &ExptData::density_2};

/// Where the record holds what belongs to one phase.
struct PhaseFields {
    DensityFields properties;
    Field viscosity;
    Fields moles, mass, volume;
    Fields relative_moles, relative_mass, relative_volume;
    Fields mole_fraction, mass_fraction, volume_fraction;
};
constexpr PhaseFields LIQUID{
    {&ExptData::liquid_z_factor, &ExptData::liquid_mw, &ExptData::liquid_molar_volume,
     &ExptData::liquid_molar_density, &ExptData::liquid_specific_volume, &ExptData::liquid_density},
    &ExptData::liquid_viscosity,
    {&ExptData::liquid_moles_1, &ExptData::liquid_moles_2},
    {&ExptData::liquid_mass_1, &ExptData::liquid_mass_2},
    {&ExptData::liquid_volume_1, &ExptData::liquid_volume_2},
    {&ExptData::liquid_relative_moles_1, &ExptData::liquid_relative_moles_2},
    {&ExptData::liquid_relative_mass_1, &ExptData::liquid_relative_mass_2},
    {&ExptData::liquid_relative_volume_1, &ExptData::liquid_relative_volume_2},
    {&ExptData::liquid_mole_fraction_1, &ExptData::liquid_mole_fraction_2},
    {&ExptData::liquid_mass_fraction_1, &ExptData::liquid_mass_fraction_2},
    {&ExptData::liquid_volume_fraction_1, &ExptData::liquid_volume_fraction_2}};
constexpr PhaseFields GAS{
    {&ExptData::gas_z_factor, &ExptData::gas_mw, &ExptData::gas_molar_volume,
     &ExptData::gas_molar_density, &ExptData::gas_specific_volume, &ExptData::gas_density},
    &ExptData::gas_viscosity,
    {&ExptData::gas_moles_1, &ExptData::gas_moles_2},
    {&ExptData::gas_mass_1, &ExptData::gas_mass_2},
    {&ExptData::gas_volume_1, &ExptData::gas_volume_2},
    {&ExptData::gas_relative_moles_1, &ExptData::gas_relative_moles_2},
    {&ExptData::gas_relative_mass_1, &ExptData::gas_relative_mass_2},
    {&ExptData::gas_relative_volume_1, &ExptData::gas_relative_volume_2},
    {&ExptData::gas_mole_fraction_1, &ExptData::gas_mole_fraction_2},
    {&ExptData::gas_mass_fraction_1, &ExptData::gas_mass_fraction_2},
    {&ExptData::gas_volume_fraction_1, &ExptData::gas_volume_fraction_2}};

/// One phase of the cell as the stage takes it.
struct StagePhase {
    const Tank* tank;
    double fraction;  ///< of the moles, within 0..1
    double z_factor;
};

/// A phase that is not there is taken at the end of the tie-line that the feed is outside of.
StagePhase stage_phase(const PVTCell& cell, const PhaseState& state, const PtrTo<Tank>& equilibrium,
                       const PtrTo<Tank>& tie_line, bool both) {
    const double fraction = std::clamp(state.fraction, 0.0, 1.0);
    const bool present = fraction > 0.0 || both;
    const bool single = cell.phase_count < 2 && present;
    return {present ? equilibrium.get() : tie_line.get(), fraction,
            single ? cell.feed_state.z_factor : state.z_factor};
}

StagePhase liquid_phase(const PVTCell& cell, bool both) {
    return stage_phase(cell, cell.x_state, cell.eq_liquid, cell.nf_liquid, both);
}

StagePhase gas_phase(const PVTCell& cell, bool both) {
    return stage_phase(cell, cell.y_state, cell.eq_vapor, cell.nf_vapor, both);
}

double mean_mw(const Tank& tank) {
    return tank.total_moles() > 0.0 ? tank.total_mass() / tank.total_moles() : UNDEFINED;
}

/// a / b, undefined where there is nothing to divide by.
double ratio(double a, double b) {
    return b > 0.0 && a != UNDEFINED ? a / b : UNDEFINED;
}

double reciprocal(double value) {
    return value == UNDEFINED ? UNDEFINED : ratio(1.0, value);
}

/// The other properties from the Z-factor and the molecular weight.
///   RT_P  m3/kmol
void fill_densities(ExptData& row, const DensityFields& f, double RT_P) {
    row.*f.molar_volume = row.*f.z_factor == UNDEFINED ? UNDEFINED : row.*f.z_factor * RT_P;
    row.*f.molar_density = reciprocal(row.*f.molar_volume);
    row.*f.specific_volume = ratio(row.*f.molar_volume, row.*f.mw);
    row.*f.density = reciprocal(row.*f.specific_volume);
}

void fill_phase(ExptData& row, const PhaseFields& f, const StagePhase& phase, double RT_P) {
    row.*f.properties.z_factor = phase.z_factor;
    row.*f.properties.mw = mean_mw(*phase.tank);
    fill_densities(row, f.properties, RT_P);
    row.*f.mole_fraction[0] = phase.fraction;
}

/// Amounts of a phase from its mole fraction and the record's overall moles.
void fill_phase_amounts(ExptData& row, const PhaseFields& f) {
    const DensityFields& p = f.properties;
    const double fraction = row.*f.mole_fraction[0];
    row.*f.moles[0] = fraction * row.moles_1;
    row.*f.mass[0] = row.*f.moles[0] * row.*p.mw;
    row.*f.volume[0] = row.*f.moles[0] * row.*p.molar_volume;
    row.*f.mass_fraction[0] = ratio(fraction * row.*p.mw, row.mw_1);
    row.*f.volume_fraction[0] = ratio(fraction * row.*p.molar_volume, row.molar_volume_1);
}

/// Viscosity of a fluid if its column is there.
void fill_viscosity(ExptData& row, const ExptData& positions, Field viscosity, const Tank& tank,
                    const PVTCell& cell, double Z) {
    if (has_column(positions.*viscosity))
        row.*viscosity =
            viscometer()->viscosity(tank, cell.temperature.value, cell.pressure.value, Z).value;
}

/// GOR and OGR of the stage from the mole fractions of the phases.
void fill_gas_oil_ratios(ExptData& row, double liquid, double gas, Field gor, Field ogr) {
    row.*gor = ratio(gas * row.liquid_molar_density, liquid);
    row.*ogr = ratio(liquid * row.liquid_molar_volume, gas);
}

/// Moles and mass that a lump's weights give in a tank.
struct LumpSums {
    double moles = 0.0, mass = 0.0;
};
LumpSums lump_sums(const Lump& lump, const Tank& tank) {
    const std::size_t n = tank.moles().size();
    if (!tank.charz() || !lump.fits(*tank.charz())) throw BadLump{};
    LumpSums sums;
    for (std::size_t i = 0; i < n; ++i) {
        sums.moles += lump.fractions[i] * tank.moles()[i];
        sums.mass += lump.fractions[i] * tank.masses()[i];
    }
    return sums;
}

/// True if that entry of the vector has a column.
bool has_entry(const std::vector<double>& positions, std::size_t entry) {
    return entry < positions.size() && has_column(positions[entry]);
}

void fill_lumps(ExptData& row, const CompositionFields& f, const ExptData& positions,
                const Tank& tank) {
    const auto& lumps = tank.charz()->lumps;
    const std::size_t n = tank.moles().size();
    for (std::size_t l = 0; l < lumps.size(); ++l) {
        const bool wanted = has_entry(positions.*f.moles, n + l) ||
                            has_entry(positions.*f.masses, n + l) ||
                            has_entry(positions.*f.lump_mw, l);
        if (!wanted) continue;
        const LumpSums sums = lump_sums(*lumps[l], tank);
        (row.*f.moles)[n + l] = ratio(sums.moles, tank.total_moles());
        (row.*f.masses)[n + l] = ratio(sums.mass, tank.total_mass());
        (row.*f.lump_mw)[l] = sums.moles != 0.0 ? sums.mass / sums.moles : UNDEFINED;
    }
}

void fill_composition(ExptData& row, const CompositionFields& f, const ExptData& positions,
                      const Tank& tank) {
    const std::span<const double> moles = tank.moles(), masses = tank.masses();
    if (!tank.charz() || (row.*f.moles).size() < moles.size()) return;
    for (std::size_t i = 0; i < moles.size(); ++i) {
        (row.*f.moles)[i] = ratio(moles[i], tank.total_moles());
        (row.*f.masses)[i] = ratio(masses[i], tank.total_mass());
    }
    fill_lumps(row, f, positions, tank);
}

/// K-values of the components, and of lumps as the ratio of what they sum up to.
void fill_k_values(ExptData& row, const ExptData& positions, const PVTCell& cell,
                   const StagePhase& liquid, const StagePhase& gas) {
    const std::size_t n = cell.k.size();
    if (row.k_values.size() < n || !cell.charz) return;
    std::ranges::copy(cell.k, row.k_values.begin());
    for (std::size_t l = 0; l < cell.charz->lumps.size(); ++l) {
        if (!has_entry(positions.k_values, n + l)) continue;
        const Lump& lump = *cell.charz->lumps[l];
        row.k_values[n + l] =
            ratio(lump_sums(lump, *gas.tank).moles, lump_sums(lump, *liquid.tank).moles);
    }
}

/// True if the cell's phases are the feed twice: there is no tie-line.
bool is_trivial(const PVTCell& cell) {
    return cell.phase_count < 2 &&
           std::ranges::all_of(cell.ln_k, [](double ln_k) { return ln_k == 0.0; });
}

/// Tension between the ends of the tie-line; one phase has none against itself.
double tension_of(const PVTCell& cell) {
    const bool trivial = is_trivial(cell);
    const double Z_x = trivial ? cell.feed_state.z_factor : cell.x_state.z_factor;
    const double Z_y = trivial ? cell.feed_state.z_factor : cell.y_state.z_factor;
    return tension_model()
        ->tension(*cell.nf_liquid, *cell.nf_vapor, cell.temperature.value, cell.pressure.value, Z_x,
                  Z_y)
        .value;
}

/// Two fractions to a sum of 1; what is retained of each if nothing is left.
void normalize_pair(double& a, double& b, double retained_a, double retained_b) {
    const double sum = a + b;
    a = sum > 0.0 ? a / sum : retained_a;
    b = sum > 0.0 ? b / sum : retained_b;
}

}  // namespace

void PVTzEXPA::beforeRemoval(EOSLab& lab, ExptData& row, const ExptData& positions, bool both) {
    const PVTCell& cell = lab.cell();
    const double RT_P = GAS_CONSTANT * cell.temperature.value / cell.pressure.value;
    const StagePhase liquid = liquid_phase(cell, both), gas = gas_phase(cell, both);
    fill_phase(row, LIQUID, liquid, RT_P);
    fill_phase(row, GAS, gas, RT_P);
    fill_viscosity(row, positions, LIQUID.viscosity, *liquid.tank, cell, liquid.z_factor);
    fill_viscosity(row, positions, GAS.viscosity, *gas.tank, cell, gas.z_factor);
    row.liquid_gravity = ratio(row.liquid_density, WATER_DENSITY);
    row.liquid_api =
        row.liquid_gravity == UNDEFINED ? UNDEFINED : ratio(141.5, row.liquid_gravity) - 131.5;
    row.gas_gravity = ratio(row.gas_mw, AIR_MW);

    row.z_factor_1 = liquid.fraction * liquid.z_factor + gas.fraction * gas.z_factor;
    row.mw_1 = mean_mw(*cell.feed);
    fill_densities(row, OVERALL_BEFORE, RT_P);
    row.mass_1 = row.moles_1 * row.mw_1;
    row.volume_1 = row.moles_1 * row.molar_volume_1;
    fill_phase_amounts(row, LIQUID);
    fill_phase_amounts(row, GAS);
    fill_relative(row, 0);
    fill_gas_oil_ratios(row, liquid.fraction, gas.fraction, &ExptData::gor_1, &ExptData::ogr_1);
    if (has_column(positions.interfacial_tension)) row.interfacial_tension = tension_of(cell);

    fill_k_values(row, positions, cell, liquid, gas);
    fill_composition(row, FEED_BEFORE, positions, *cell.feed);
    fill_composition(row, LIQUID_COMPOSITION, positions, *liquid.tank);
    fill_composition(row, GAS_COMPOSITION, positions, *gas.tank);
    store_phases(lab, row);
}

/// Amounts relative to the basis. 0 before, 1 after the removal.
void PVTzEXPA::fill_relative(ExptData& row, std::size_t after) const {
    const auto relate = [&row, after](const Fields& moles, const Fields& relative, double inverse) {
        row.*relative[after] = row.*moles[after] * inverse;
    };
    relate({&ExptData::moles_1, &ExptData::moles_2},
           {&ExptData::relative_moles_1, &ExptData::relative_moles_2}, inverse_moles);
    relate({&ExptData::mass_1, &ExptData::mass_2},
           {&ExptData::relative_mass_1, &ExptData::relative_mass_2}, inverse_mass);
    relate({&ExptData::volume_1, &ExptData::volume_2},
           {&ExptData::relative_volume_1, &ExptData::relative_volume_2}, inverse_volume);
    for (const PhaseFields* phase : {&LIQUID, &GAS}) {
        relate(phase->moles, phase->relative_moles, inverse_moles);
        relate(phase->mass, phase->relative_mass, inverse_mass);
        relate(phase->volume, phase->relative_volume, inverse_volume);
    }
}

void PVTzEXPA::store_phases(EOSLab& lab, const ExptData& row) {
    const PVTCell& cell = lab.cell();
    storeStageFluid(row.stage, row.nfv_name, *cell.nf_vapor, lab, StageFluid::FlashVapor);
    storeStageFluid(row.stage, row.nfl_name, *cell.nf_liquid, lab, StageFluid::FlashLiquid);
    storeStageFluid(row.stage, row.eqv_name, *cell.eq_vapor, lab, StageFluid::Vapor);
    storeStageFluid(row.stage, row.eql_name, *cell.eq_liquid, lab, StageFluid::Liquid);
    storeStageFluid(row.stage, row.feed_name_1, *cell.feed, lab, StageFluid::Feed);
}

bool PVTzEXPA::removes() const {
    return liquid_retained != 1.0 || gas_retained != 1.0;
}

bool PVTzEXPA::leaves_fluid(const ExptData& row) const {
    return row.liquid_mole_fraction_1 * liquid_retained + row.gas_mole_fraction_1 * gas_retained >
           0.0;
}

void PVTzEXPA::afterRemoval(EOSLab& lab, ExptData& row, const ExptData& positions, bool both) {
    PVTCell& cell = lab.cell();
    fill_amounts_after(row);
    // What loses nothing stays to the last digit, and what loses all keeps its composition.
    const bool changed = removes(), left = leaves_fluid(row);
    if (changed && left) {
        const StagePhase liquid = liquid_phase(cell, both), gas = gas_phase(cell, both);
        cell.feed->assign_scaled(*liquid.tank, row.liquid_mole_fraction_2);
        cell.feed->add_scaled(*gas.tank, row.gas_mole_fraction_2);
        cell.feed->normalize(0.0);
    }
    storeStageFluid(row.stage, row.feed_name_2, *cell.feed, lab, StageFluid::Feed);
    fill_overall_after(row, changed, left);
    if (left)
        fill_viscosity(row, positions, &ExptData::viscosity, *cell.feed, cell, row.z_factor_2);
    fill_ratios_after(row);
    fill_composition(row, FEED_AFTER, positions, *cell.feed);
}

/// What is retained of each phase, the sums, and the cumulative removals.
void PVTzEXPA::fill_amounts_after(ExptData& row) {
    row.moles_2 = row.mass_2 = row.volume_2 = 0.0;
    for (const PhaseFields* f : {&LIQUID, &GAS}) {
        const double retained = f == &LIQUID ? liquid_retained : gas_retained;
        for (const Fields* each : {&f->moles, &f->mass, &f->volume, &f->mole_fraction,
                                   &f->mass_fraction, &f->volume_fraction})
            row.*(*each)[1] = row.*(*each)[0] * retained;
        row.moles_2 += row.*f->moles[1];
        row.mass_2 += row.*f->mass[1];
        row.volume_2 += row.*f->volume[1];
        row.removed_moles += row.*f->moles[0] - row.*f->moles[1];
        row.removed_mass += row.*f->mass[0] - row.*f->mass[1];
    }
    if (!removes()) {
        row.moles_2 = row.moles_1;
        row.mass_2 = row.mass_1;
        row.volume_2 = row.volume_1;
    }
    removed_gas_ += row.gas_moles_1 - row.gas_moles_2;
    fill_relative(row, 1);
    row.removed_moles_per_volume = row.removed_moles * inverse_volume;
    row.removed_mass_per_volume = row.removed_mass * inverse_volume;
    row.removed_relative_moles = row.removed_moles * inverse_moles;
    row.removed_relative_mass = row.removed_mass * inverse_mass;
    if (!removes()) return;
    for (const auto fraction :
         {&PhaseFields::mole_fraction, &PhaseFields::mass_fraction, &PhaseFields::volume_fraction})
        normalize_pair(row.*(LIQUID.*fraction)[1], row.*(GAS.*fraction)[1], liquid_retained,
                       gas_retained);
}

/// Properties of the fluid that is left; those of nothing are undefined.
void PVTzEXPA::fill_overall_after(ExptData& row, bool changed, bool left) const {
    const DensityFields& after = OVERALL_AFTER;
    const double L = row.liquid_mole_fraction_2, V = row.gas_mole_fraction_2;
    if (!changed) {
        row.z_factor_2 = row.z_factor_1;
        row.mw_2 = row.mw_1;
    } else {
        row.z_factor_2 = left ? L * row.liquid_z_factor + V * row.gas_z_factor : UNDEFINED;
        row.mw_2 = left ? L * row.liquid_mw + V * row.gas_mw : UNDEFINED;
    }
    fill_densities(row, after, ratio(row.molar_volume_1, row.z_factor_1));
}

/// Ratios of gas to liquid after the removal. The cumulative ones count the gas taken out since the
/// start with what is left in the cell.
void PVTzEXPA::fill_ratios_after(ExptData& row) const {
    fill_gas_oil_ratios(row, row.liquid_mole_fraction_2, row.gas_mole_fraction_2, &ExptData::gor_2,
                        &ExptData::ogr_2);
    const double gas = removed_gas_ * gas_share + row.gas_moles_2;
    row.cum_gor_1 = ratio(gas, row.liquid_volume_1);
    row.cum_gor_2 = ratio(gas, row.liquid_volume_2);
    row.cum_ogr_1 = ratio(row.liquid_volume_1, gas);
    row.cum_ogr_2 = ratio(row.liquid_volume_2, gas);
}

}  // namespace kestrane
