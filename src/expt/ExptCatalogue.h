#pragma once

#include <memory>
#include <vector>

#include "expt/ExptHeads.h"

namespace kestrane {

/// The fixed column heads of experiments in their order. They live for the run. Where a head
/// exists before and after removal, the plain one, "1" and "2" follow each other.
struct ExptCatalogue {
    using Heads = std::vector<const AnyColHead*>;

    ExptCatalogue();
    ExptCatalogue(const ExptCatalogue&) = delete;
    ExptCatalogue& operator=(const ExptCatalogue&) = delete;

    /// Expansion and depletion: conditions are set, material is injected and removed.
    Heads expansion() const;
    /// Gravity segregation: the depth is set, conditions are results.
    Heads segregation() const;

    std::vector<std::unique_ptr<const AnyColHead>> owned;  ///< all, in order of construction
    const AnyColHead* stage = nullptr;
    const AnyColHead* set_temperature = nullptr;
    const AnyColHead* set_pressure = nullptr;
    const AnyColHead* depth = nullptr;
    const AnyColHead* temperature = nullptr;  ///< as results
    const AnyColHead* pressure = nullptr;
    const AnyColHead* weight = nullptr;
    const AnyColHead* zone = nullptr;
    Heads injected;  ///< 6
    Heads results;   ///< saturation, ratios, amounts, fractions, phase properties
    Heads removed;   ///< 6
    Heads names;     ///< 7, under which fluids are stored
};

/// The one catalogue.
const ExptCatalogue& expt_catalogue();

}  // namespace kestrane
