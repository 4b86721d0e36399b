#pragma once

#include <cmath>
#include <limits>

#include "equil/EOS.h"

namespace kestrane {

// Tolerances of the equilibrium solvers, all derived from NUM_EPS and the range of doubles.
inline constexpr double E96 = 96.0 * NUM_EPS;  ///< absolute
inline constexpr double E12 = 12.0 * NUM_EPS;  ///< proportional to a spread of ln K
inline const double ESQRT = std::sqrt(E96);
inline constexpr double E6144 = 64.0 * E96;  ///< smallest usable pivot
/// Spread of ln K below which two phases are the same phase.
inline const double SPREAD_TRIVIAL = std::pow(32.0 * E96, 0.2);
inline constexpr double DOUBLE_MIN = std::numeric_limits<double>::min();
inline const double TINY_AMOUNT = std::sqrt(DOUBLE_MIN);  ///< floor of a feed mole fraction
/// "No value" in comparisons of Gibbs energies.
inline const double BIG = std::sqrt(std::numeric_limits<double>::max() / 2.0);
inline const double LN_MIN = std::log(2.0 * DOUBLE_MIN);  ///< bounds of ln K
inline const double LN_MAX = std::log(std::numeric_limits<double>::max() / 2.0);

}  // namespace kestrane
