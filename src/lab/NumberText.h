#pragma once

#include <string>

#include "input/Units.h"

namespace kestrane {

/// Fixed notation with that many decimals.
std::string fixed_text(double value, int decimals);
/// That many significant digits, as a stream prints by default.
std::string general_text(double value, int digits = 6);
/// An amount or a fraction for a column at least 10 wide: six decimals, fewer for large amounts,
/// scientific with four digits for traces.
std::string amount_text(double value);
/// A value in its unit, with the unit's name; without one in the default unit of the kind. A value
/// never given prints as 0.
std::string value_text(const ValueWithUnit& value, UnitKind kind);

}  // namespace kestrane
