#pragma once

#include <map>
#include <vector>

#include "expt/PVTzEXPA_run.h"
#include "expt/PVTzGSEG.h"

namespace kestrane {

/// A depth where the zone changes.
struct PVTzGSEG::Boundary {
    double depth = 0.0;          ///< m
    bool contact = false;        ///< two phases in equilibrium; else a transition within one
    std::vector<ExptData> rows;  ///< its fluids, from above; empty if nothing prints
};

/// What the depths of one run share.
struct PVTzGSEG::ColumnRun : PVTzEXPA::StageRun {
    using StageRun::StageRun;

    double damping = 1.0;
    CellConditions reference;           ///< the fluid that the column is of
    CellConditions last;                ///< at the depth reached last
    std::multimap<double, int> depths;  ///< m, with row numbers of `table`
    std::vector<Boundary> boundaries;   ///< in order of discovery
    double contact = UNSET;             ///< m: the first gas-oil contact met
    const Units* depth_unit = nullptr;
    double row_saturation = UNSET;  ///< Pa: the last one found, where the next is expected
    bool searching = false;         ///< for the depths of boundaries
    bool complete = false;          ///< the column has a reference
};

/// Puts a state of a column into the cell. What the flash can not tell of one phase, or of one on
/// the verge of a second, is taken from the state.
inline void place(PVTCell& cell, const CellConditions& state) {
    cell.restore_and_flash(state, false);
    if (state.phase_count >= 2 && state.x_fraction * state.y_fraction > 0.0) return;
    cell.x_state.fraction = state.x_fraction;
    cell.y_state.fraction = state.y_fraction;
}

/// True if the gas fraction is the greater.
inline bool is_gas(const CellConditions& state) {
    return state.y_fraction > 0.5;
}

}  // namespace kestrane
