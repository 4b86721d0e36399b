#pragma once

#include "fluid/Tension.h"

namespace kestrane {

/// The parachor rule: tension^(1/4) is the difference of the phases' parachor densities, the
/// parachors in (dyn/cm)^(1/4) cm3/mol. S. Sugden, J. Chem. Soc. 125 (1924) 1177; for mixtures
/// C.F. Weinaug and D.L. Katz, Ind. Eng. Chem. 35 (1943) 239.
class Sugden final : public Tension {
public:
    PropertyValue tension(const Tank& phase_a, const Tank& phase_b, double T, double P, double Z_a,
                          double Z_b) const override;
};

}  // namespace kestrane
