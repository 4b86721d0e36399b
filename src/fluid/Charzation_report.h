#pragma once

#include <string>
#include <vector>

namespace kestrane {

class Charzation;
class Writer;

/// The parts of the report on a characterization that stand apart from its component table.
struct CharzSummary {
    std::string name;  ///< may be empty
    std::string base;  ///< name of the base characterization, empty for none
    std::string eos;   ///< name of the equation
    std::vector<std::string> components;
    std::vector<double> bips;  ///< square, row by row, or empty
};

CharzSummary summarize(const Charzation& charz);

/// Prints "Fluid Characterization" on every active file: base, equation, critical properties and
/// binary interaction parameters.
void print_charzation(Writer& writer, Charzation& charz);

}  // namespace kestrane
