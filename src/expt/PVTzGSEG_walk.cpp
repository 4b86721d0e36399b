// The walk along a column in gravity: from the reference to deeper rows, and to shallower ones.

#include <algorithm>
#include <array>
#include <cmath>

#include "expt/PVTzGSEG_run.h"

namespace kestrane {

namespace {

constexpr double CONTACT_TOLERANCE = 0.01;  ///< m
constexpr int BISECTION_LIMIT = 200;

/// True if both states are of one zone: gas or oil, of one phase or of two.
bool same_zone(const CellConditions& a, const CellConditions& b) {
    return is_gas(a) == is_gas(b) && (a.phase_count >= 2) == (b.phase_count >= 2);
}

/// True if a second phase begins or ends there.
bool on_verge(const CellConditions& state) {
    return state.phase_count >= 2 && state.x_fraction * state.y_fraction == 0.0;
}

}  // namespace

BasisState PVTzGSEG::findSaturationPressure(PVTCell& cell, double& pressure, double& label,
                                            bool messages) {
    const Restored<PtrTo<ErrorList>> list(cell.errors);
    if (!messages) cell.errors = make_dyn<ErrorList>();
    const double P = cell.pressure.value;
    const bool single = !(P > 0.0) || cell.phase_count < 2;
    double from = pressure > 0.0 ? 0.9 * pressure : 0.5 * P;
    double upper = single ? 3.0 * P : P;
    if (P > 0.0) from = std::min(from, 0.5 * P);
    if (guess.value > 0.0) {
        from = from > 0.0 ? std::min(from, guess.value) : guess.value;
        upper = std::max(upper, guess.value);
    }
    if (from > 0.0) cell.pressure.value = from;
    if (!cell.pressure.unit) cell.pressure.unit = measured_saturation.unit;
    bool found = cell.saturation(+1);
    if (!found && upper > 0.0 && cell.errors->usable()) {
        cell.pressure.value = upper;
        found = cell.saturation(+1);
    }
    pressure = found ? cell.pressure.value : UNSET;
    if (!found) return BasisState::PseudoVapor;
    if (cell.phase_count < 2) return BasisState::Critical;
    label = std::clamp(cell.y_state.fraction, 0.0, 1.0);
    return label > 0.5 ? BasisState::DewPoint : BasisState::BubblePoint;
}

/// A single phase is called what it is beside the incipient phase at its saturation pressure. Below
/// the region of two phases, which ends at that pressure, it is vapor.
void PVTzGSEG::identify(ColumnRun& s) {
    PVTCell& cell = s.cell;
    if (cell.phase_count >= 2) return;
    CellConditions at = cell.save();
    double label = is_gas(at) ? 1.0 : 0.0;
    const int root = cell.feed_state.root;
    findSaturationPressure(cell, s.row_saturation, label, false);
    if (root > 0 && at.pressure.value < s.row_saturation) label = 1.0;
    at.y_fraction = label;
    at.x_fraction = 1.0 - label;
    place(cell, at);
}

bool PVTzGSEG::stepToDepth(ColumnRun& s, const CellConditions& from, double depth) {
    PVTCell& cell = s.cell;
    cell.restore(from);
    if (!cell.segregate(from.depth.value - depth, s.damping, false, cell.init_policy)) return false;
    cell.depth.value = depth;
    identify(s);
    return !Fitter::ended_by(*cell.errors);
}

void PVTzGSEG::nextState(ColumnRun& s, const CellConditions& state) {
    s.last = state;
}

/// The rows without results: what the script sets, and no more. Rows without a depth are at the
/// reference.
void PVTzGSEG::begin_rows(ColumnRun& s) {
    std::vector<double> of_row(static_cast<std::size_t>(s.table.rowCount), UNSET);
    for (const auto& [depth, row] : depths)
        of_row[static_cast<std::size_t>(row)] = depth == UNSET ? s.reference.depth.value : depth;
    for (int row = 0; row < s.table.rowCount; ++row) {
        s.depths.emplace(of_row[static_cast<std::size_t>(row)], row);
        take_row(s, row);
        s.row.depth = of_row[static_cast<std::size_t>(row)];
        s.table.PutRow(row, s.row);
    }
}

/// What it measures stays in the table.
void PVTzGSEG::take_row(ColumnRun& s, int index) const {
    static constexpr std::array NAME_FIELDS{&ExptData::feed_name_1, &ExptData::feed_name_2,
                                            &ExptData::eql_name,    &ExptData::eqv_name,
                                            &ExptData::nfl_name,    &ExptData::nfv_name};
    s.input = s.blank;
    s.row = s.blank;
    s.table.TakeRow(index, s.input);
    for (const auto field : NAME_FIELDS) s.row.*field = s.input.*field;
    s.row.weight = s.input.weight;
    s.row.depth = s.input.depth;
    s.row.stage = index + 1;
}

/// One pass from the reference, its own rows included in the one downward. It ends where the column
/// can not be followed: the rows beyond stay without results.
void PVTzGSEG::walk(ColumnRun& s, bool down) {
    nextState(s, s.reference);
    place(s.cell, s.reference);
    const auto middle = s.depths.lower_bound(s.reference.depth.value);
    if (down) {
        for (auto at = middle; at != s.depths.end(); at = s.depths.upper_bound(at->first))
            if (!visit(s, at->first)) return;
    } else {
        for (auto at = middle; at != s.depths.begin();) {
            at = s.depths.lower_bound(std::prev(at)->first);
            if (!visit(s, at->first)) return;
        }
    }
}

/// Goes to a depth, and calculates its rows.
bool PVTzGSEG::visit(ColumnRun& s, double depth) {
    CellConditions state = s.reference;
    if (depth != s.reference.depth.value) {
        if (!stepToDepth(s, s.last, depth)) return false;
        state = s.cell.save();
        if (s.searching && !same_zone(s.last, state)) {
            look_for_boundary(s, s.last, state);
            place(s.cell, state);
        }
    }
    const auto [first, end] = s.depths.equal_range(depth);
    for (auto at = first; at != end; ++at) {
        take_row(s, at->second);
        s.row.depth = depth;
        calculate_row(s, state);
        s.table.PutRow(at->second, s.row);
        if (Fitter::ended_by(s.lab.errors())) return false;
    }
    nextState(s, state);
    return true;
}

/// Fills the record from the cell, which stands in the state.
void PVTzGSEG::calculate_row(ColumnRun& s, const CellConditions& state) {
    labelZone(state, s.row);
    if (!stageSaturations(s.lab, s.row, s.positions)) place(s.cell, state);
    setAmounts(s.cell, s.row);
    beforeRemoval(s.lab, s.row, s.positions, false);
    setRemoval(s.row);
    afterRemoval(s.lab, s.row, s.positions, false);
    afterSaturations(s.lab, s.row, s.positions);
}

bool PVTzGSEG::stageSaturations(EOSLab& lab, ExptData& row, const ExptData& positions) {
    const double T = lab.cell().temperature.value, P = lab.cell().pressure.value;
    row.temperature = T;
    row.pressure = P;
    // The state comes from its own flash, whatever these calculations leave.
    PVTzEXPA::stageSaturations(lab, row, positions);
    row.temperature = T;
    row.pressure = P;
    return false;
}

void PVTzGSEG::setAmounts(const PVTCell& cell, ExptData& row) {
    row.removed_moles = row.removed_mass = 0.0;
    row.moles_1 = basis_moles;
    if (basis_kind == BasisKind::Mass)
        row.moles_1 = basis_mass * cell.feed->total_moles() / cell.feed->total_mass();
    if (basis_kind == BasisKind::Volume)
        row.moles_1 = basis_volume * cell.pressure.value /
                      (cell_z_factor(cell) * GAS_CONSTANT * cell.temperature.value);
}

/// The boundary between two depths visited. The problems of trial states are nobody's.
void PVTzGSEG::look_for_boundary(ColumnRun& s, const CellConditions& near,
                                 const CellConditions& far) {
    // At a reference of two phases the column leaves its contact.
    if (near.phase_count >= 2 && near.depth.value == s.reference.depth.value) return;
    const Restored<PtrTo<ErrorList>> list(s.cell.errors);
    s.cell.errors = make_dyn<ErrorList>();
    CellConditions at;
    if (!findContact(s, near, far, at)) return;
    if (!on_verge(at)) return keep_transition(s, at);
    if (s.contact == UNSET) s.contact = at.depth.value;
    keep_contact(s, at);
}

bool PVTzGSEG::findContact(ColumnRun& s, const CellConditions& near, const CellConditions& far,
                           CellConditions& at) {
    PVTCell& cell = s.cell;
    CellConditions low = near;
    double beyond = far.depth.value;
    for (int round = 0; round < BISECTION_LIMIT; ++round) {
        if (std::abs(beyond - low.depth.value) <= CONTACT_TOLERANCE) break;
        const double middle = 0.5 * (low.depth.value + beyond);
        if (!stepToDepth(s, low, middle)) return false;
        CellConditions trial = cell.save();
        if (same_zone(trial, near))
            low = std::move(trial);
        else
            beyond = middle;
    }
    // The rest of the way ends where a second phase appears, if one does.
    if (low.phase_count < 2) {
        cell.restore(low);
        if (cell.segregate(low.depth.value - beyond, s.damping, true, cell.init_policy)) {
            at = cell.save();
            if (on_verge(at)) return true;
        }
    }
    if (!stepToDepth(s, low, beyond)) return false;
    at = cell.save();
    return true;
}

}  // namespace kestrane
