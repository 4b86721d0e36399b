#pragma once

#include <span>

namespace kestrane {

// Functions of all elements of an array. `out` has as many elements as `x` and is another array.

/// exp(x) and exp(x) - 1, each within one unit of the last place, for -708 <= x <= 709.
void exp_of(std::span<const double> x, std::span<double> exp, std::span<double> expm1);
/// exp(x) within one unit of the last place, for -708 <= x <= 709.
void exp_of(std::span<const double> x, std::span<double> out);
/// ln x within one unit of the last place, for normal x > 0.
void log_of(std::span<const double> x, std::span<double> out);

}  // namespace kestrane
