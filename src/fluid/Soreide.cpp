#include <algorithm>
#include <cmath>

#include "fluid/Correlations.h"

namespace kestrane {

bool Soreide::sg_from_mw(double mw, double& sg, double* slope) const {
    if (!active() || !(mw >= mw0)) return false;
    const double d = mw - mw0;
    const double e = std::pow(d, mw1);
    const double value = sg1 * e + sg0;
    if (!std::isfinite(e) || !std::isfinite(value)) return false;
    sg = value;
    // At MW = mw0 the slope is infinite for exponents below 1; it is held at 0.05 kg/kmol above.
    if (slope) *slope = sg1 * e * mw1 / std::max(d, 0.05);
    return true;
}

bool Soreide::mw_from_sg(double sg, double& mw, double* slope) const {
    if (!active()) return false;
    const double u = (sg - sg0) / sg1;
    const double exponent = 1.0 / mw1;
    if (!(u >= 0.0) || (exponent <= 0.0 && u == 0.0)) return false;
    const double v = std::pow(u, exponent);
    const double value = v + mw0;
    if (!std::isfinite(value)) return false;
    mw = value;
    if (slope) *slope = std::abs(v / mw1) / std::max(std::abs(sg - sg0), 0.0001);
    return true;
}

}  // namespace kestrane
