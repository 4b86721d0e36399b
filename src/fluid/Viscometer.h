#pragma once

#include "fluid/PropertyValue.h"
#include "frame/ErrorList.h"
#include "frame/PtrTo.h"

namespace kestrane {

class Tank;

/// A model of phase viscosities.
class Viscometer {
public:
    virtual ~Viscometer() = default;
    /// Viscosity (Pa s) of a phase of that composition at T (K) and P (Pa) with its Z-factor. UNSET
    /// for input that describes no phase.
    virtual PropertyValue viscosity(const Tank& mixture, double T, double P, double Z) = 0;
    /// Warns of parameters with which viscosities are physically inconsistent.
    virtual void check(ErrorList& errors) const = 0;
};

/// The model in use, one for the whole run. Never null.
PtrTo<Viscometer>& viscometer();

}  // namespace kestrane
