// The run of an expansion or depletion: the basis, then stage by stage.

#include "expt/PVTzEXPA.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "expt/PVTzEXPA_run.h"
#include "lab/NumberText.h"
#include "lab/Section.h"

namespace kestrane {

namespace {

constexpr std::array<const char*, 6> BASIS_NAMES{"Meaningless", "Saturation", "Bubble Point",
                                                 "Dew Point",   "Critical",   "Pseudo-Vapor"};

std::string pressure_name(BasisState state) {
    return std::string(BASIS_NAMES[static_cast<std::size_t>(state)]) + " Pressure";
}

std::size_t component_count(EOSLab& lab) {
    const Charzation* charz = lab.current(nullptr);
    return charz ? charz->size() : 0;
}

std::size_t lump_count(EOSLab& lab) {
    const Charzation* charz = lab.current(nullptr);
    return charz ? charz->lumps.size() : 0;
}

/// True if only one component is present: its phases are told apart by their roots alone.
bool is_pure(const Tank& feed) {
    return std::ranges::count_if(feed.moles(), [](double moles) { return moles > 0.0; }) <= 1;
}

double reciprocal_or_zero(double value) {
    return value > 0.0 ? 1.0 / value : 0.0;
}

const Units* column_unit(const Table& table, double position) {
    return has_column(position) ? table.ColumnAt(static_cast<int>(position)).unit : nullptr;
}

}  // namespace

bool is_vaporized(const PVTCell& cell, double two_phase) {
    return cell.pressure.value < two_phase && cell.feed_state.root > 0;
}

UnitKind basis_unit_kind(BasisKind kind) {
    if (kind == BasisKind::Mass) return UnitKind::Mass;
    return kind == BasisKind::Volume ? UnitKind::Volume : UnitKind::Mole;
}

double cell_z_factor(const PVTCell& cell) {
    if (cell.phase_count < 2) return cell.feed_state.z_factor;
    return std::clamp(cell.x_state.fraction, 0.0, 1.0) * cell.x_state.z_factor +
           std::clamp(cell.y_state.fraction, 0.0, 1.0) * cell.y_state.z_factor;
}

PVTzEXPA::StageRun::StageRun(const PVTzEXPA& experiment, EOSLab& laboratory, Writer& report)
    : lab(laboratory),
      cell(laboratory.cell()),
      writer(report),
      table(experiment.table),
      blank(component_count(laboratory), lump_count(laboratory)),
      positions(blank),
      input(blank),
      row(blank),
      weights(static_cast<std::size_t>(table.rowCount), 1.0) {
    table.ReadRowBackward(positions);
    for (int i = 0; i < table.rowCount; ++i) {
        input.weight = UNSET;
        table.TakeRow(i, input);
        if (input.weight != UNSET) weights[static_cast<std::size_t>(i)] = input.weight;
    }
}

std::string PVTzEXPA::title() const {
    return "Expansion Without Fluid Removal";
}

void PVTzEXPA::setRemoval(const ExptData&) {
    liquid_retained = gas_retained = 1.0;
    liquid_share = gas_share = 0.0;
}

/// An excess that is the round-off of adding up the phases is none.
void PVTzEXPA::deplete_gas(double basis, double liquid, double gas) {
    constexpr double ROUND_OFF = 1e-13;
    liquid_share = 0.0;
    gas_share = 1.0;
    liquid_retained = gas_retained = 1.0;
    if (liquid + gas <= basis * (1.0 + ROUND_OFF)) return;
    if (basis < liquid) {
        liquid_retained = basis / liquid;
        gas_retained = 0.0;
    } else {
        gas_retained = (basis - liquid) / gas;
    }
}

void PVTzEXPA::deplete_liquid(double basis, double liquid, double gas) {
    deplete_gas(basis, gas, liquid);
    std::swap(liquid_retained, gas_retained);
    std::swap(liquid_share, gas_share);
}

void PVTzEXPA::run(Reader&, EOSLab& lab, Writer& writer) {
    follow_columns(lab, writer);
    Section section(lab, writer, "Experiment", label(), number);
    print_heading(section, writer);
    StageRun s(*this, lab, writer);
    const bool complete = start(s, section) && run_stages(s);
    // However the experiment ended, a regression gets as many residuals as ever.
    if (!s.compared && saturation_kind != BasisState::None && measured_saturation.value > 0.0)
        lab.addResidual(percent_error(UNSET, measured_saturation.value, measured_saturation.value),
                        saturation_weight);
    s.table.compare(lab, s.weights);
    if (complete && writer.active()) {
        writer.Newlines(1);
        s.table.Print(writer.fileList, 3, 1, 0);
        writer.Newlines(2);
    }
    if (command) section.close(*command);
}

void PVTzEXPA::print_heading(const Section& section, Writer& writer) const {
    if (!writer.active()) return;
    const std::string heading = section.heading() + ": " + (id.empty() ? title() : id);
    writer.Line(heading);
    writer.Line(std::string(heading.size(), '='));
    writer.Line("");
}

/// The cell at the basis, and what is known there. False if the experiment can not go on.
bool PVTzEXPA::start(StageRun& s, Section& section) {
    removed_gas_ = two_phase_pressure_ = 0.0;
    const bool wanted = saturation_kind != BasisState::None || !(s.cell.pressure.value > 0.0);
    if (!find_basis(s, wanted)) return false;
    if (command) section.close(*command);
    const bool has_pressure = s.cell.pressure.value > 0.0;
    if (has_pressure) print_basis(s);
    if (saturation_kind != BasisState::None) {
        compare_saturation(s.lab, s.writer, s.state, s.saturation);
        s.compared = true;
    }
    if (!has_pressure) {
        s.lab.errors().Add("The experiment has no basis, for want of a pressure", ERROR);
        return false;
    }
    setBasis(s.cell);
    s.moles = basis_moles;
    return true;
}

/// The cell flashed at its pressure, or at the saturation pressure if it has none. The saturation
/// pressure is an aid to tell what a single phase is where it is not wanted for itself.
bool PVTzEXPA::find_basis(StageRun& s, bool wanted) {
    PVTCell& cell = s.cell;
    const Restored<int> policy(cell.test1);
    if (cell.test1 == TEST_SUSPECTED) cell.test1 = TEST_TRIVIAL;
    const ValueWithUnit saved = cell.pressure;
    bool searched = wanted;
    if (!wanted) {
        cell.flash();
        if (!s.lab.errors().usable()) return false;
        searched = cell.phase_count < 2;
    }
    if (searched) search_saturation(s, wanted);
    if (!s.lab.errors().usable()) return false;
    kept_ln_k_ = cell.ln_k;
    if (!searched) label_ = cell.y_state.fraction > 0.5 ? 1.0 : 0.0;
    if (searched && wanted && s.state == BasisState::PseudoVapor) cell.pressure = saved;
    if (!searched || !(saved.value > 0.0)) return true;
    cell.pressure = saved;
    cell.flash();
    identify(cell);
    return s.lab.errors().usable();
}

/// The upper saturation pressure from the guess or the cell's pressure, and what the feed is beside
/// the incipient phase. Problems are kept only if the pressure is wanted for itself.
void PVTzEXPA::search_saturation(StageRun& s, bool wanted) {
    PVTCell& cell = s.cell;
    const Restored<PtrTo<ErrorList>> list(cell.errors);
    if (!wanted) cell.errors = make_dyn<ErrorList>();
    if (guess.value > 0.0) cell.pressure.value = guess.value;
    if (!cell.pressure.unit) cell.pressure.unit = measured_saturation.unit;
    const bool found = cell.saturation(+1);
    label_ = cell.y_state.fraction > 0.5 ? 1.0 : 0.0;
    if (found && cell.phase_count < 2)
        s.state = BasisState::Critical;
    else if (found)
        s.state = label_ > 0.5 ? BasisState::DewPoint : BasisState::BubblePoint;
    else if (wanted && cell.errors->usable())
        cell.vapor_pressure();
    s.saturation = cell.pressure.value;
    if (found) two_phase_pressure_ = s.saturation;
}

void PVTzEXPA::print_basis(const StageRun& s) const {
    if (!s.writer.active()) return;
    s.writer.Line("Basis: " + value_text(basis_amount, basis_unit_kind(basis_kind)) + " at " +
                  value_text(s.cell.temperature, UnitKind::Temperature) + " and " +
                  value_text(s.cell.pressure, UnitKind::Pressure));
}

void PVTzEXPA::compare_saturation(EOSLab& lab, Writer& writer, BasisState state,
                                  double calculated) const {
    ValueWithUnit measured = measured_saturation;
    if (!(measured.value > 0.0)) measured.value = UNSET;
    const Units* unit = measured.unit ? measured.unit : lab.cell().pressure.unit;
    if (!unit) unit = &unit_set(UnitKind::Pressure).default_unit();
    lab.compareValue(writer, pressure_name(saturation_kind), pressure_name(state), measured,
                     {calculated, unit}, measured.value, saturation_weight);
}

void PVTzEXPA::setBasis(PVTCell& cell) {
    basis_moles = 1.0;
    basis_mass = cell.feed->total_mass() / cell.feed->total_moles();
    basis_volume =
        cell_z_factor(cell) * GAS_CONSTANT * cell.temperature.value / cell.pressure.value;
    double b = basis_amount.value;
    if (basis_kind == BasisKind::Mass) b *= reciprocal_or_zero(basis_mass);
    if (basis_kind == BasisKind::Volume) b *= reciprocal_or_zero(basis_volume);
    basis_moles *= b;
    basis_mass *= b;
    basis_volume *= b;
    inverse_moles = reciprocal_or_zero(basis_moles);
    inverse_mass = reciprocal_or_zero(basis_mass);
    inverse_volume = reciprocal_or_zero(basis_volume);
}

/// A single phase has no identity of its own: it stays what it was beside the other phase. The
/// phases of a pure component are told apart by their roots, and never coexist off its vapor
/// pressure.
void PVTzEXPA::identify(PVTCell& cell) {
    if (cell.phase_count >= 2) {
        kept_ln_k_ = cell.ln_k;
        label_ = cell.y_state.fraction > 0.5 ? 1.0 : 0.0;
        two_phase_pressure_ = cell.pressure.value;
        return;
    }
    if (is_vaporized(cell, two_phase_pressure_)) label_ = 1.0;
    if (is_pure(*cell.feed)) label_ = cell.y_state.fraction > 0.5 ? 1.0 : 0.0;
    cell.y_state.fraction = label_;
    cell.x_state.fraction = 1.0 - label_;
}

void PVTzEXPA::flash_stage(PVTCell& cell) {
    if (cell.phase_count < 2 && kept_ln_k_.size() == cell.ln_k.size()) {
        cell.ln_k = kept_ln_k_;
        std::ranges::transform(kept_ln_k_, cell.k.begin(),
                               [](double ln_k) { return std::exp(ln_k); });
    }
    cell.flash();
}

bool PVTzEXPA::run_stages(StageRun& s) {
    for (int i = 0; i < s.table.rowCount; ++i)
        if (!run_stage(s, i)) return false;
    return true;
}

/// One row. A row with nonphysical conditions stays without results. False ends the experiment.
bool PVTzEXPA::run_stage(StageRun& s, int index) {
    const ErrorList& errors = s.lab.errors();
    read_stage(s, index);
    ExptData& row = s.row;
    if (!set_conditions(s)) {
        s.table.PutRow(index, row);
        return true;
    }
    if (!inject(s)) return false;
    fill_injected(s);
    if (!stageSaturations(s.lab, row, s.positions)) flash_stage(s.cell);
    if (!errors.usable()) return false;
    identify(s.cell);
    row.moles_1 = s.moles;
    row.removed_moles = s.removed_moles;
    row.removed_mass = s.removed_mass;
    beforeRemoval(s.lab, row, s.positions, false);
    setRemoval(row);
    afterRemoval(s.lab, row, s.positions, false);
    afterSaturations(s.lab, row, s.positions);
    s.moles = row.moles_2;
    s.removed_moles = row.removed_moles;
    s.removed_mass = row.removed_mass;
    s.table.PutRow(index, row);
    return errors.usable();
}

/// The record of a stage holds what the row sets; what it measures stays in the table.
void PVTzEXPA::read_stage(StageRun& s, int index) const {
    static constexpr std::array SET_FIELDS{&ExptData::temperature,
                                           &ExptData::pressure,
                                           &ExptData::inj_moles,
                                           &ExptData::inj_moles_per_volume,
                                           &ExptData::inj_relative_moles,
                                           &ExptData::inj_mass,
                                           &ExptData::inj_mass_per_volume,
                                           &ExptData::inj_relative_mass,
                                           &ExptData::weight,
                                           &ExptData::depth};
    static constexpr std::array NAME_FIELDS{
        &ExptData::zone,     &ExptData::feed_name_1, &ExptData::feed_name_2, &ExptData::eql_name,
        &ExptData::eqv_name, &ExptData::nfl_name,    &ExptData::nfv_name};
    s.input = s.blank;
    s.row = s.blank;
    s.table.TakeRow(index, s.input);
    for (const auto field : SET_FIELDS) s.row.*field = s.input.*field;
    for (const auto field : NAME_FIELDS) s.row.*field = s.input.*field;
    s.row.stage = index + 1;
}

/// The row's temperature and pressure, if it has them; false if one is nonphysical.
bool PVTzEXPA::set_conditions(StageRun& s) const {
    const auto physical = [&s](double value, double position, UnitKind kind, const char* name) {
        if (value == UNSET || value > 0.0) return true;
        s.lab.errors().Add("The stage " + std::to_string(s.row.stage) + " " + name + " (" +
                               value_text({value, column_unit(s.table, position)}, kind) +
                               ") was nonphysical",
                           ERROR);
        return false;
    };
    const bool legal_T =
        physical(s.row.temperature, s.positions.temperature, UnitKind::Temperature, "temperature");
    const bool legal_P =
        physical(s.row.pressure, s.positions.pressure, UnitKind::Pressure, "pressure");
    if (!legal_T || !legal_P) return false;
    if (s.row.temperature != UNSET) s.cell.temperature.value = s.row.temperature;
    if (s.row.pressure != UNSET) s.cell.pressure.value = s.row.pressure;
    return true;
}

void PVTzEXPA::injectedAmounts(const ExptData& row, const ExptData& positions, double& moles,
                               double& mass) {
    struct Column {
        double ExptData::*field;
        double factor;
        bool is_mass;
    };
    const std::array<Column, 6> columns{{{&ExptData::inj_moles, 1.0, false},
                                         {&ExptData::inj_moles_per_volume, basis_volume, false},
                                         {&ExptData::inj_relative_moles, basis_moles, false},
                                         {&ExptData::inj_mass, 1.0, true},
                                         {&ExptData::inj_mass_per_volume, basis_volume, true},
                                         {&ExptData::inj_relative_mass, basis_mass, true}}};
    moles = mass = 0.0;
    double leftmost = UNDEFINED;
    for (const Column& column : columns) {
        const double position = positions.*column.field, value = row.*column.field;
        if (!has_column(position) || position >= leftmost || value == UNSET) continue;
        leftmost = position;
        moles = column.is_mass ? 0.0 : value * column.factor;
        mass = column.is_mass ? value * column.factor : 0.0;
    }
}

/// Brings the cumulative injection up to what the row asks for. False ends the experiment.
bool PVTzEXPA::inject(StageRun& s) {
    double moles = 0.0, mass = 0.0;
    injectedAmounts(s.row, s.positions, moles, mass);
    if (!(moles > 0.0) && !(mass > 0.0)) return true;
    const PtrTo<Tank> stream = s.lab.find_mixture("INJ");
    if (!s.cell.prepare() || !s.cell.prepare_stream(stream.get(), "injection")) return false;
    if (mass > 0.0) moles = mass * reciprocal_or_zero(stream->total_mass() / stream->total_moles());
    if (!(moles > s.injected)) return true;
    add_injection(s, moles - s.injected);
    s.injected = moles;
    return true;
}

void PVTzEXPA::add_injection(StageRun& s, double increment) {
    s.mixed.rebind(s.cell.charz);
    s.mixed.assign_scaled(*s.cell.feed, s.moles);
    s.mixed.add_amount(*s.lab.find_mixture("INJ"), increment);
    s.mixed.normalize(0.0);
    s.cell.feed->copy(s.mixed);
    s.moles += increment;
}

void PVTzEXPA::fill_injected(StageRun& s) const {
    ExptData& row = s.row;
    const PtrTo<Tank> stream = s.injected > 0.0 ? s.lab.find_mixture("INJ") : PtrTo<Tank>();
    row.inj_moles = s.injected;
    row.inj_moles_per_volume = s.injected * inverse_volume;
    row.inj_relative_moles = s.injected * inverse_moles;
    row.inj_mass = stream ? s.injected * stream->total_mass() / stream->total_moles() : 0.0;
    row.inj_mass_per_volume = row.inj_mass * inverse_volume;
    row.inj_relative_mass = row.inj_mass * inverse_mass;
}

}  // namespace kestrane
