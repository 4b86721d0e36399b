#pragma once

#include <string>
#include <vector>

#include "equil/PVTCell.h"
#include "frame/Writer.h"

namespace kestrane {

/// What a report says of one phase, or of the fluid over all.
struct PhaseColumn {
    std::vector<double> mole_fractions;
    double relative_moles = 0.0;  ///< per mole of feed
    double mol_weight = 0.0;      ///< kg/kmol
    double z_factor = 0.0;
    double density = 0.0;  ///< kg/m3
};

/// The outcome of a phase calculation as values, apart from how it is printed.
struct PhaseTable {
    std::string title;
    ValueWithUnit temperature;  ///< K
    ValueWithUnit pressure;     ///< Pa
    bool two_phase = false;     ///< false for a negative flash too
    std::vector<std::string> components;
    PhaseColumn overall;
    PhaseColumn liquid;  ///< the heavier phase; empty when there is one phase
    PhaseColumn vapor;
    std::vector<double> k_values;
};

/// Reads the cell as a calculation left it.
PhaseTable phase_table(const PVTCell& cell, const std::string& title);

/// Prints the table to every active file.
void print_phases(Writer& writer, const PhaseTable& table);

}  // namespace kestrane
