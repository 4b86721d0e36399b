#pragma once

#include <string>
#include <vector>

#include "equil/Tank.h"
#include "frame/Writer.h"

namespace kestrane {

/// The amounts of a mixture as values: one row per component with a nonzero amount.
struct MixtureTable {
    struct Line {
        std::string component;
        double moles = 0.0, mole_fraction = 0.0, mass = 0.0, mass_fraction = 0.0;
    };
    std::string title;
    std::vector<Line> lines;
    Line totals;
};

MixtureTable mixture_table(const Tank& tank, const std::string& name);

/// Prints the table to every active file.
void print_mixture(Writer& writer, const MixtureTable& table);

}  // namespace kestrane
