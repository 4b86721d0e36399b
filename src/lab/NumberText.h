#pragma once

#include <string>

#include "input/Units.h"

namespace kestrane {

/// Fixed notation with that many decimals.
std::string fixed_text(double value, int decimals);
/// That many significant digits, as a stream prints by default.
std::string general_text(double value, int digits = 6);
/// An amount or a fraction for a column at least 9 wide: six decimals where they show the value,
/// else scientific with four digits, so that traces and large amounts keep theirs.
std::string amount_text(double value);
/// A value in its unit, with the unit's name. A value never given prints as 0; without a unit the
/// base unit of the kind is used.
std::string value_text(const ValueWithUnit& value, UnitKind kind);

}  // namespace kestrane
