#pragma once

#include <string>
#include <vector>

#include "frame/Unset.h"
#include "input/Table.h"

namespace kestrane {

/// One stage of an experiment: what a row of its table is read to and written from, in base units
/// (K, Pa, m3, kmol, kg, Pa s, N/m). Suffix 1 is before, 2 after the stage's removal. UNSET: not
/// known; UNDEFINED: without a value (a ratio to nothing).
struct ExptData : Row {
    /// A blank record for a characterization with that many components and lumps.
    explicit ExptData(std::size_t component_count = 0, std::size_t lump_count = 0);

    double temperature = UNSET, pressure = UNSET;
    // Cumulative injection: amount, per basis volume, per basis amount.
    double inj_moles = UNSET, inj_moles_per_volume = UNSET, inj_relative_moles = UNSET;
    double inj_mass = UNSET, inj_mass_per_volume = UNSET, inj_relative_mass = UNSET;

    double sat_pressure_1 = UNSET, sat_pressure_2 = UNSET;
    double dew_pressure_1 = UNSET, dew_pressure_2 = UNSET;
    double vapor_pressure_1 = UNSET, vapor_pressure_2 = UNSET;
    double con_pressure_1 = UNSET, con_pressure_2 = UNSET;
    double sat_temperature_1 = UNSET, sat_temperature_2 = UNSET;
    double bub_temperature_1 = UNSET, bub_temperature_2 = UNSET;
    double vapor_temperature_1 = UNSET, vapor_temperature_2 = UNSET;
    double con_temperature_1 = UNSET, con_temperature_2 = UNSET;

    // Gas over liquid in kmol/m3, and its reciprocal kind; at the stage and cumulative.
    double gor_1 = UNSET, gor_2 = UNSET, ogr_1 = UNSET, ogr_2 = UNSET;
    double cum_gor_1 = UNSET, cum_gor_2 = UNSET, cum_ogr_1 = UNSET, cum_ogr_2 = UNSET;

    double moles_1 = UNSET, moles_2 = UNSET;
    double gas_moles_1 = UNSET, gas_moles_2 = UNSET;
    double liquid_moles_1 = UNSET, liquid_moles_2 = UNSET;
    double relative_moles_1 = UNSET, relative_moles_2 = UNSET;
    double gas_relative_moles_1 = UNSET, gas_relative_moles_2 = UNSET;
    double liquid_relative_moles_1 = UNSET, liquid_relative_moles_2 = UNSET;
    double mass_1 = UNSET, mass_2 = UNSET;
    double gas_mass_1 = UNSET, gas_mass_2 = UNSET;
    double liquid_mass_1 = UNSET, liquid_mass_2 = UNSET;
    double relative_mass_1 = UNSET, relative_mass_2 = UNSET;
    double gas_relative_mass_1 = UNSET, gas_relative_mass_2 = UNSET;
    double liquid_relative_mass_1 = UNSET, liquid_relative_mass_2 = UNSET;
    double volume_1 = UNSET, volume_2 = UNSET;
    double gas_volume_1 = UNSET, gas_volume_2 = UNSET;
    double liquid_volume_1 = UNSET, liquid_volume_2 = UNSET;
    double relative_volume_1 = UNSET, relative_volume_2 = UNSET;
    double gas_relative_volume_1 = UNSET, gas_relative_volume_2 = UNSET;
    double liquid_relative_volume_1 = UNSET, liquid_relative_volume_2 = UNSET;

    double gas_mole_fraction_1 = UNSET, gas_mole_fraction_2 = UNSET;
    double liquid_mole_fraction_1 = UNSET, liquid_mole_fraction_2 = UNSET;
    double gas_mass_fraction_1 = UNSET, gas_mass_fraction_2 = UNSET;
    double liquid_mass_fraction_1 = UNSET, liquid_mass_fraction_2 = UNSET;
    double gas_volume_fraction_1 = UNSET, gas_volume_fraction_2 = UNSET;
    double liquid_volume_fraction_1 = UNSET, liquid_volume_fraction_2 = UNSET;

    double z_factor_1 = UNSET, z_factor_2 = UNSET, gas_z_factor = UNSET, liquid_z_factor = UNSET;
    double mw_1 = UNSET, mw_2 = UNSET, gas_mw = UNSET, liquid_mw = UNSET;
    double density_1 = UNSET, density_2 = UNSET, gas_density = UNSET, liquid_density = UNSET;
    double specific_volume_1 = UNSET, specific_volume_2 = UNSET;
    double gas_specific_volume = UNSET, liquid_specific_volume = UNSET;
    double molar_density_1 = UNSET, molar_density_2 = UNSET;
    double gas_molar_density = UNSET, liquid_molar_density = UNSET;
    double molar_volume_1 = UNSET, molar_volume_2 = UNSET;
    double gas_molar_volume = UNSET, liquid_molar_volume = UNSET;
    double viscosity = UNSET, gas_viscosity = UNSET, liquid_viscosity = UNSET;
    double gas_gravity = UNSET, liquid_gravity = UNSET, liquid_api = UNSET;
    double interfacial_tension = UNSET;

    // Cumulative removal: amount, per basis volume, per basis amount.
    double removed_moles = UNSET, removed_moles_per_volume = UNSET, removed_relative_moles = UNSET;
    double removed_mass = UNSET, removed_mass_per_volume = UNSET, removed_relative_mass = UNSET;

    double weight = UNSET;
    double depth = UNSET;  ///< m

    // One entry for each component, then one for each lump.
    std::vector<double> k_values;
    std::vector<double> z_1, z_2, x, y;                              ///< mole fractions
    std::vector<double> mass_z_1, mass_z_2, mass_x, mass_y;          ///< mass fractions
    std::vector<double> lump_mw_1, lump_mw_2, lump_mw_x, lump_mw_y;  ///< lumps alone

    std::string zone;
    // Names under which the stage's fluids are kept; empty: not kept.
    std::string feed_name_1, feed_name_2, eql_name, eqv_name, nfl_name, nfv_name;
    int stage = UNSET_INT;  ///< from 1
};

}  // namespace kestrane
