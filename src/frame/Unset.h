#pragma once

#include <limits>

namespace kestrane {

/// A double with no value: the lowest double. It compares below zero, so that `value <= 0` also
/// means "not usable"; test with == where only "not given" is meant.
inline constexpr double UNSET = std::numeric_limits<double>::lowest();
/// An int with no value.
inline constexpr int UNSET_INT = std::numeric_limits<int>::lowest();
/// The undefined result of a calculation: the largest double.
inline constexpr double UNDEFINED = std::numeric_limits<double>::max();

}  // namespace kestrane
