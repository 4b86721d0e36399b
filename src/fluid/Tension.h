#pragma once

#include "fluid/PropertyValue.h"
#include "frame/PtrTo.h"

namespace kestrane {

class Tank;

/// A model of interfacial tension.
class Tension {
public:
    virtual ~Tension() = default;
    /// Tension (N/m) between two phases at T (K) and P (Pa) with their Z-factors. UNSET for input
    /// that describes no pair of phases.
    virtual PropertyValue tension(const Tank& phase_a, const Tank& phase_b, double T, double P,
                                  double Z_a, double Z_b) const = 0;
};

/// The model in use, one for the whole run. Never null.
PtrTo<Tension>& tension_model();

}  // namespace kestrane
