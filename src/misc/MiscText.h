#pragma once

#include <span>
#include <string>

#include "frame/Writer.h"

namespace kestrane {

/// Scientific notation with five decimals, 20 wide: immiscibilities in all tables.
std::string immiscibility_text(double value);
/// A pressure or an enrichment to five digits in fixed notation, 15 wide.
std::string trial_text(double value);
/// "VGD Miscibility Test:"
std::string test_title(int mechanism);
/// The table of contacts of one chain.
void print_contacts(Writer& writer, int mechanism, std::span<const double> values);
/// Title and head of the table of stages of a row of cells.
void print_stage_head(Writer& writer);

}  // namespace kestrane
