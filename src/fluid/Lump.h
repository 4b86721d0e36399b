#pragma once

#include <string>
#include <vector>

#include "input/UserWord.h"

namespace kestrane {

class Charzation;

/// A named linear combination of components: the factors by which their amounts add up to one
/// pseudo-component. Never changed after its definition.
struct Lump {
    UserWord name;
    std::vector<double> fractions;       ///< one factor per component, of any sign, not normalized
    std::vector<UserWord> components{};  ///< what the factors belong to; empty: not recorded

    /// True if the factors are those of `charz`: one for each of its components and, where that is
    /// recorded, for components of the same names.
    bool fits(const Charzation& charz) const;
};

}  // namespace kestrane
