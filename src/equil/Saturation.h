#pragma once

#include <cmath>

namespace kestrane {

/// Relative closeness at which a bracket of the saturation pressure is closed, twice.
inline constexpr double P_LOW_LIMIT = 1e-7;
/// Upper limit of searches for pressures, Pa: 100000 atm.
inline constexpr double P_HIGH_LIMIT = 100000.0 * 101325.0;
inline const double LN_P_HIGH_LIMIT = std::log(P_HIGH_LIMIT);

/// How the Newton iteration for a saturation pressure ended. The first two of a found pressure are
/// multiplied by the sense.
enum SaturationEnd : int {
    SATURATION_NONE = 0,          ///< no saturation pressure of that sense from there
    SATURATION_FOUND = 1,         ///< converged
    SATURATION_THROUGH_ROOT = 2,  ///< converged after a phase had changed its root of the cubic
    SATURATION_ABOVE_LIMIT = 3,   ///< the feed is still unstable at the upper limit
};

}  // namespace kestrane
