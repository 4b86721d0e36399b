// Gravity segregation: reading, the fluid at the reference depth, and the report.

#include "expt/PVTzGSEG.h"

#include <algorithm>
#include <cmath>

#include "expt/PVTzGSEG_run.h"
#include "input/UserCmd.h"
#include "lab/NumberText.h"
#include "lab/Section.h"

namespace kestrane {

/// GOC
struct ExptContact_Data {};
using ExptContact_Cmd = UserCmd<PVTzGSEG, ExptContact_Data>;
/// DAMP&
struct ExptDamping_Data {};
using ExptDamping_Cmd = UserCmd<PVTzGSEG, ExptDamping_Data>;

template <>
void ExptContact_Cmd::Read(Reader& reader, const std::string&) {
    user().readContact(reader);
}

template <>
void ExptDamping_Cmd::Read(Reader& reader, const std::string&) {
    user().readDamping(reader);
}

namespace {

const UserKey<PVTzGSEG, ExptContact_Data> contact_key{"GOC"};
const UserKey<PVTzGSEG, ExptDamping_Data> damping_key{"DAMP&"};

const AnyColHead& depth_head() {
    const AnyColHead* head = ExptHeads::segregation().find("DEPTH");
    if (!head) throw LogicError{};
    return *head;
}

/// The first depth that the row gives, m; UNSET if it gives none.
double depth_of_row(const Table& table, int row) {
    for (int i = table.ColumnIndex(depth_head()); i >= 0;
         i = table.ColumnIndex(depth_head(), i + 1)) {
        const auto* column = dynamic_cast<const DataColumn<double>*>(&table.ColumnAt(i));
        if (!column || row >= column->RowCount()) continue;
        const double depth = column->cells[static_cast<std::size_t>(row)];
        if (depth != UNSET) return depth;
    }
    return UNSET;
}

/// The unit of the script's depths.
const Units* unit_of_depths(const Table& table) {
    const int index = table.ColumnIndex(depth_head());
    const Units* unit = index >= 0 ? table.ColumnAt(index).unit : nullptr;
    return unit ? unit : &unit_set(UnitKind::Distance).default_unit();
}

}  // namespace

const CmdKey* PVTzGSEG::FindKey(const std::string& word) const {
    if (const CmdKey* key = dictionary_of<PVTzGSEG>().find(word)) return key;
    return PVTzEXPA::FindKey(word);
}

ExptHeads& PVTzGSEG::key_table() const {
    return ExptHeads::segregation();
}

std::string PVTzGSEG::title() const {
    return "Gravitational Segregation";
}

void PVTzGSEG::parse(Reader& reader, EOSLab& lab, Writer& writer) {
    lab_ = &lab;
    PVTzEXPA::parse(reader, lab, writer);
    depths.clear();
    for (int row = 0; row < table.rowCount; ++row) depths.emplace(depth_of_row(table, row), row);
}

void PVTzGSEG::readContact(Reader& reader) {
    contact_wanted = true;
    {
        const LineLimitScope one_line(reader, 0);
        const UnitSet* const set = &unit_set(UnitKind::Distance);
        ValueWithUnit depth;
        if (ReadValue(reader, depth, {&set, 1}) >= 0) measured_contact = depth;
    }
    const LineLimitScope any_lines(reader, -1);
    std::string word;
    while (reader.NextKeyword(word) > 0) {
        if (!weight_words().matches(word)) {
            reader.Unread();
            return;
        }
        const LineLimitScope one_line(reader, 0);
        reader.NextDouble(contact_weight);
    }
}

void PVTzGSEG::readDamping(Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    if (lab_) damping.read(reader, *lab_);
}

void PVTzGSEG::run(Reader&, EOSLab& lab, Writer& writer) {
    follow_columns(lab, writer);
    Section section(lab, writer, "Experiment", label(), number);
    print_heading(section, writer);
    ColumnRun s(*this, lab, writer);
    s.damping = damping.factor(lab);
    // Without calculations of two phases there are no contacts.
    s.searching = s.cell.init_policy != INIT_NEVER &&
                  (writer.active() || (contact_wanted && measured_contact.value != UNSET));
    {
        const PolicyScope policies(s.cell);
        s.cell.init_policy = std::min<int>(s.cell.init_policy, INIT_STABILITY);
        s.cell.test2 = TEST_ALWAYS;
        s.complete = start(s);
        if (command) section.close(*command);
        if (s.complete) {
            print_basis(s);
            walk(s, true);
            if (lab.errors().usable()) walk(s, false);
        }
    }
    if (s.complete && lab.errors().usable())
        place(s.cell, s.reference);
    else if (s.complete)
        s.cell.restore(s.reference);
    finish(s);
    if (command) section.close(*command);
}

/// Residuals, however the experiment ended, and the table.
void PVTzGSEG::finish(ColumnRun& s) {
    compare_all(s);
    const bool prints = s.complete && s.writer.active();
    if (prints) addBoundaryRows(s);
    s.table.compare(s.lab, s.weights);
    if (!prints) return;
    labelPhases(s);
    s.writer.Newlines(1);
    s.table.Print(s.writer.fileList, 3, 1, 0);
    s.writer.Newlines(2);
}

void PVTzGSEG::compare_all(ColumnRun& s) const {
    if (s.complete && saturation_kind != BasisState::None)
        compare_saturation(s.lab, s.writer, s.state, s.saturation);
    else if (saturation_kind != BasisState::None && measured_saturation.value > 0.0)
        s.lab.addResidual(
            percent_error(UNSET, measured_saturation.value, measured_saturation.value),
            saturation_weight);
    const double measured = measured_contact.value;
    if (!contact_wanted || (measured == UNSET && s.contact == UNSET)) return;
    // Depths may be counted from the contact, or upward.
    const double scale = measured == 0.0 || measured == UNSET ? 1.0 : std::abs(measured);
    const std::string name = "Gas-Oil Contact Depth";
    s.lab.compareValue(s.writer, name, name, measured_contact, {s.contact, s.depth_unit}, scale,
                       contact_weight);
}

/// The reference, and the amount that it is of. False if there is none.
bool PVTzGSEG::start(ColumnRun& s) {
    PVTCell& cell = s.cell;
    if (cell.depth.value == UNSET) cell.depth.value = 0.0;
    s.depth_unit = cell.depth.unit ? cell.depth.unit : unit_of_depths(s.table);
    if (!find_reference(s)) return false;
    if (!(s.reference.pressure.value > 0.0)) {
        s.lab.errors().Add("The experiment has no basis, for want of a pressure", ERROR);
        return false;
    }
    begin_rows(s);
    if (s.reference.phase_count >= 2) {
        s.contact = s.reference.depth.value;
        keep_contact(s, s.reference);
    }
    return true;
}

/// The cell flashed at its pressure, or at the saturation pressure if it has none.
bool PVTzGSEG::find_reference(ColumnRun& s) {
    PVTCell& cell = s.cell;
    const bool given = cell.pressure.value > 0.0;
    const bool wanted = saturation_kind != BasisState::None || !given;
    if (given) {
        cell.flash();
        if (Fitter::ended_by(s.lab.errors())) return false;
        s.reference = cell.save();
    }
    if (wanted || cell.phase_count < 2) search_saturation(s, wanted);
    if (Fitter::ended_by(s.lab.errors())) return false;
    if (!given) {
        if (s.state == BasisState::PseudoVapor) return true;  // without a pressure
        s.reference = cell.save();
    }
    place(cell, s.reference);
    setBasis(cell);
    return !Fitter::ended_by(s.lab.errors());
}

/// The saturation pressure at the reference, which tells what a single phase is.
void PVTzGSEG::search_saturation(ColumnRun& s, bool wanted) {
    PVTCell& cell = s.cell;
    const bool single = cell.phase_count < 2;
    const bool thin = cell.feed_state.root > 0;
    double label = cell.y_state.fraction > 0.5 ? 1.0 : 0.0;
    s.state = findSaturationPressure(cell, s.row_saturation, label, wanted);
    s.saturation = s.row_saturation;
    if (s.state == BasisState::PseudoVapor && wanted && cell.errors->usable()) {
        cell.vapor_pressure();
        s.saturation = cell.pressure.value;
    }
    if (!single) return;
    if (thin && s.reference.pressure.value < s.row_saturation) label = 1.0;
    s.reference.y_fraction = label;
    s.reference.x_fraction = 1.0 - label;
}

void PVTzGSEG::print_basis(const ColumnRun& s) const {
    if (!s.writer.active()) return;
    const CellConditions& at = s.reference;
    s.writer.Line("Basis: " + value_text(basis_amount, basis_unit_kind(basis_kind)) + ", " +
                  value_text({at.depth.value, s.depth_unit}, UnitKind::Distance) + " deep, at " +
                  value_text(at.temperature, UnitKind::Temperature) + " and " +
                  value_text(at.pressure, UnitKind::Pressure));
    if (s.damping == 1.0) return;
    std::string text = "Compositional damping factor: " + general_text(s.damping);
    if (damping.variable >= 0)
        text += " (variable " + std::to_string(damping.variable + 1) + ", " +
                s.lab.variable_name(static_cast<std::size_t>(damping.variable)) + ")";
    s.writer.Line(text);
}

}  // namespace kestrane
