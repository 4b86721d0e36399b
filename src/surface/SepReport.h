#pragma once

#include "surface/Sep.h"

namespace kestrane {

/// Prints the definition: conditions, and the table with its variables.
void print_definition(Writer& writer, const Sep& sep);

/// Prints what a separator used in a split: conditions, variables, K-values or factors.
void print_split(Writer& writer, const Sep& sep, const SepSplit& split);

/// "Temperature = 75 F, Pressure = 100 psig".
std::string conditions_text(const ValueWithUnit& temperature, const ValueWithUnit& pressure);

}  // namespace kestrane
