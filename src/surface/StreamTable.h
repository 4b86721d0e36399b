#pragma once

#include <string>
#include <vector>

#include "equil/Tank.h"
#include "frame/Writer.h"

namespace kestrane {

/// Compositions of streams side by side, as values: mole fractions, and the totals below them.
struct StreamTable {
    struct Column {
        std::string head;
        std::vector<double> mole_fractions;
        double moles = 0.0;       ///< kmol
        double mass = 0.0;        ///< kg
        double mol_weight = 0.0;  ///< kg/kmol, 0 for an empty stream
        double density = 0.0;     ///< kg/m3, UNSET where it is not known
    };
    std::string title;
    std::vector<std::string> components;
    std::vector<Column> columns;
};

StreamTable::Column stream_column(const std::string& head, const Tank& stream, double density);

/// Prints the table to every active file. A stream of another characterization than the first
/// column's must not stand in it.
void print_streams(Writer& writer, const StreamTable& table);

/// Lines of text in columns: each column as wide as its widest cell, two blanks apart; the first
/// `left` columns are left-aligned. A row with no cells is a rule under the columns.
std::vector<std::string> aligned(const std::vector<std::vector<std::string>>& rows,
                                 std::size_t left);

}  // namespace kestrane
