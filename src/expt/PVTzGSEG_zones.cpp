// Zones of a column in gravity, and the rows that stand for their boundaries.

#include <algorithm>
#include <array>

#include "expt/PVTzGSEG_run.h"

namespace kestrane {

namespace {

constexpr const char* GAS_ZONE = "  Gas  ";
constexpr const char* OIL_ZONE = "  Oil  ";
/// What a single phase is called: above a gas-oil contact, below it, and below a contact of oil.
constexpr std::array<const char*, 3> PHASE_NAMES{GAS_ZONE, OIL_ZONE, "  Tar  "};

const char* zone_name(const CellConditions& state) {
    if (state.phase_count < 2) return is_gas(state) ? GAS_ZONE : OIL_ZONE;
    if (!(state.x_fraction > 0.0)) return "Gas-Oil";
    if (!(state.y_fraction > 0.0)) return "Oil-Gas";
    return is_gas(state) ? "Gas+Oil" : "Oil+Gas";
}

/// The texts of the zone column of that index.
std::vector<std::string>* zone_cells(Table& table, int index) {
    auto* column = dynamic_cast<DataColumn<std::string>*>(&table.ColumnAt(index));
    return column ? &column->cells : nullptr;
}

}  // namespace

void PVTzGSEG::labelZone(const CellConditions& state, ExptData& row) const {
    row.zone = zone_name(state);
}

/// A contact, with the gas above it and the oil below it.
void PVTzGSEG::keep_contact(ColumnRun& s, const CellConditions& at) {
    Boundary boundary{at.depth.value, true, {}};
    const bool shown = s.writer.active() && !s.depths.contains(at.depth.value);
    for (const bool gas : {true, false}) {
        if (!shown) break;
        place(s.cell, at);
        CellConditions side = s.cell.save();
        side.feed.copy(gas ? *s.cell.nf_vapor : *s.cell.nf_liquid);
        side.phase_count = 2;
        side.y_fraction = gas ? 1.0 : 0.0;
        side.x_fraction = 1.0 - side.y_fraction;
        place(s.cell, side);
        s.row = s.blank;
        s.row.depth = at.depth.value;
        s.row.weight = 0.0;
        calculate_row(s, side);
        boundary.rows.push_back(s.row);
    }
    s.boundaries.push_back(std::move(boundary));
}

/// A change within one phase, or the end of a zone of two.
void PVTzGSEG::keep_transition(ColumnRun& s, const CellConditions& at) {
    Boundary boundary{at.depth.value, false, {}};
    if (s.writer.active() && !s.depths.contains(at.depth.value)) {
        place(s.cell, at);
        s.row = s.blank;
        s.row.depth = at.depth.value;
        s.row.weight = 0.0;
        calculate_row(s, at);
        boundary.rows.push_back(s.row);
    }
    s.boundaries.push_back(std::move(boundary));
}

namespace {

/// A place among a table's rows.
struct Slot {
    int index;        ///< of the row that stands there
    bool from_above;  ///< deeper rows stand behind it
};

/// The place between the rows above and below the depth, in whichever order the table has these.
Slot slot_of(const std::multimap<double, int>& rows, double depth) {
    const auto below = rows.upper_bound(depth);
    if (below != rows.end() && below != rows.begin()) {
        const int above = std::prev(below)->second;
        return {std::max(above, below->second), above < below->second};
    }
    const bool from_above = rows.begin()->second <= std::prev(rows.end())->second;
    const bool deepest = below == rows.end();
    const int outermost = deepest ? std::prev(below)->second : below->second;
    return {deepest == from_above ? outermost + 1 : outermost, from_above};
}

/// Passes over a column's zones from above.
class PhaseNamer {
public:
    explicit PhaseNamer(std::vector<double> contact_depths) : contacts_(std::move(contact_depths)) {
        std::ranges::sort(contacts_);
    }
    /// The name of the zone there.
    std::string name(double depth, const std::string& zone) {
        const bool below_contact = zone == "Oil-Gas";
        for (; passed_ < contacts_.size() &&
               (contacts_[passed_] < depth || (contacts_[passed_] == depth && below_contact));
             ++passed_)
            level_ = std::min(std::max(level_, 0) + 1, static_cast<int>(PHASE_NAMES.size()) - 1);
        if (zone == GAS_ZONE || zone == "Gas-Oil") level_ = std::max(level_, 0);
        if (zone == OIL_ZONE || below_contact) level_ = std::max(level_, 1);
        if (zone != GAS_ZONE && zone != OIL_ZONE) return zone;
        return PHASE_NAMES[static_cast<std::size_t>(level_)];
    }

private:
    std::vector<double> contacts_;  ///< m
    std::size_t passed_ = 0;
    int level_ = -1;  ///< index of the name of the fluid just above; none yet
};

}  // namespace

void PVTzGSEG::addBoundaryRows(ColumnRun& s) {
    if (s.depths.empty()) return;
    for (const Boundary& boundary : s.boundaries) {
        if (s.depths.contains(boundary.depth)) continue;
        const Slot slot = slot_of(s.depths, boundary.depth);
        const int count = static_cast<int>(boundary.rows.size());
        for (auto& [depth, row] : s.depths)
            if (row >= slot.index) row += count;
        for (int i = 0; i < count; ++i) {
            const int row = slot.index + (slot.from_above ? i : 0);
            s.table.InsertRow(row, boundary.rows[static_cast<std::size_t>(i)]);
            s.weights.insert(s.weights.begin() + row, 0.0);
        }
        for (int i = 0; i < count; ++i)
            s.depths.emplace(boundary.depth, slot.index + (slot.from_above ? i : count - 1 - i));
    }
}

void PVTzGSEG::labelPhases(ColumnRun& s) {
    const AnyColHead* head = key_table().find("ZONE");
    for (int index = head ? s.table.ColumnIndex(*head) : -1; index >= 0;
         index = s.table.ColumnIndex(*head, index + 1)) {
        std::vector<std::string>* cells = zone_cells(s.table, index);
        if (!cells) continue;
        std::vector<double> contacts;
        for (const Boundary& boundary : s.boundaries)
            if (boundary.contact) contacts.push_back(boundary.depth);
        PhaseNamer namer(std::move(contacts));
        for (const auto& [depth, row] : s.depths) {
            std::string& cell = (*cells)[static_cast<std::size_t>(row)];
            cell = namer.name(depth, cell);
        }
    }
}

}  // namespace kestrane
