#pragma once

#include <string>
#include <vector>

#include "surface/Process.h"

namespace kestrane {

/// Gas-oil ratios of a run, as values. UNDEFINED where there is no oil.
struct GasOilRatios {
    struct Line {
        std::string stage;
        ValueWithUnit temperature, pressure;
        double of_stage = UNDEFINED;  ///< gas per liquid of the stage at its conditions
        double of_tank = UNDEFINED;   ///< gas per product oil; both kmol/m3, the unit sets' base
    };
    std::vector<Line> stages;
    double total = UNDEFINED;                ///< product gas per product oil
    double oil_density = UNSET;              ///< of the product oil at standard conditions, kg/m3
    double oil_gravity = UNSET;              ///< degrees API
    double gas_gravity = UNSET;              ///< of the product gas, air = 1
    double formation_volume_factor = UNSET;  ///< incoming volume per volume of product oil
    ValueWithUnit temperature, pressure;     ///< of the incoming stream
};

/// Reads a process as a run with report left it.
GasOilRatios gas_oil_ratios(const Process& process);

/// Prints the stages, then the table of stages and products and the gas-oil ratios.
void print_process(Writer& writer, const Process& process);

}  // namespace kestrane
