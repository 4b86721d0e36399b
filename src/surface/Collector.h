#pragma once

#include <map>
#include <string>

#include "equil/Tank.h"
#include "input/Units.h"

namespace kestrane {

class EOSLab;
class Writer;

/// What of a flash is stored: the equilibrium phases, or those of the tie-line, which a negative
/// flash has too.
enum class StoreKind : int { EQL = 0, NFL = 1, EQV = 2, NFV = 3 };

/// "EQL", "NFL", "EQV" or "NFV".
const char* store_word(StoreKind kind);

/// A stored state: a fluid with its conditions, and the split it was taken from.
struct TPzSet {
    Tank fluid;
    ValueWithUnit temperature, pressure, depth;  ///< K, Pa, m; UNSET if never given
    int phase_count = 0;                         ///< of the cell it comes from
    double liquid = 1.0, vapor = 0.0;            ///< mole fractions of that cell's feed
};

/// Fluids gathered from the points of a study, by name. All have one characterization.
class Collector {
public:
    /// Stores a phase of the laboratory's cell, or the whole fluid if there is none apart. An
    /// error message and LogicError if the cell's characterization is not that of the collector.
    void Store(EOSLab& lab, Writer& writer, StoreKind kind, const std::string& fluid_name);
    /// Empties the collector; any characterization will do again.
    void clear();
    /// What is wrong with storing fluids of that characterization; empty if nothing is.
    std::string refusal(const Charzation& charz) const;

    std::string name;
    std::map<std::string, PtrTo<TPzSet>> fluids;
    Charzation* characterization = nullptr;  ///< not owned; null until the first store
};

}  // namespace kestrane
