#pragma once

#include "frame/Unset.h"
#include "input/Units.h"

namespace kestrane {

/// A calculated property in internal units, with the family of units it is printed in.
struct PropertyValue {
    double value = UNSET;  ///< UNSET where the input allows no answer
    UnitKind family;
};

}  // namespace kestrane
