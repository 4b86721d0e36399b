#pragma once

#include <string>
#include <vector>

#include "equil/PVTCell.h"
#include "frame/Writer.h"

namespace kestrane {

/// Energies of mixtures of a feed with an injection, as values apart from how they are printed.
struct EnergyTable {
    std::string title;
    std::string quantity;             ///< heads the columns
    ValueWithUnit temperature;        ///< K
    ValueWithUnit pressure;           ///< Pa
    std::vector<MixtureEnergy> rows;  ///< feed, injection, mixtures
};

/// Prints the table to every active file; a second energy stands where the cubic has two roots.
void print_energies(Writer& writer, const EnergyTable& table);

}  // namespace kestrane
