// Reading an expansion or depletion: sub-keywords, and the names under which fluids are kept.

#include <array>
#include <cstdio>

#include "expt/PVTzEXPA.h"
#include "expt/PVTzEXPA_run.h"
#include "input/FileReader.h"
#include "input/UserCmd.h"
#include "lab/NumberText.h"

namespace kestrane {

/// BAS&
struct ExptBasis_Data {};
using ExptBasis_Cmd = UserCmd<PVTzEXPA, ExptBasis_Data>;
/// SATP&, BUBP&, DEWP&
template <BasisState kind>
struct ExptSaturation_Data {};
template <BasisState kind>
using ExptSaturation_Cmd = UserCmd<PVTzEXPA, ExptSaturation_Data<kind>>;

template <>
void ExptBasis_Cmd::Read(Reader& reader, const std::string&) {
    user().readBasis(reader);
}

template <BasisState kind>
void read_data(ExptSaturation_Cmd<kind>& command, Reader& reader) {
    command.user().readSaturation(reader, kind);
}

namespace {

template <BasisState kind>
using ExptSaturation_Key = UserKey<PVTzEXPA, ExptSaturation_Data<kind>>;

const UserKey<PVTzEXPA, ExptBasis_Data> basis_key{"BAS&"};
const ExptSaturation_Key<BasisState::Saturation> saturation_key{"SATP&", "PSAT&"};
const ExptSaturation_Key<BasisState::BubblePoint> bubble_key{"BUBP&", "PBUB&"};
const ExptSaturation_Key<BasisState::DewPoint> dew_key{"DEWP&", "PDEW&"};

/// Names that are no user's to give to a fluid of a stage.
constexpr std::array<const char*, 11> RESERVED_NAMES{
    "TANK&", "MOLE&", "MASS&", "TMOLE&", "TMASS&", "EQL&", "EQV&", "NFL&", "NFV&", "FEED", "INJ&"};

bool is_reserved(const std::string& name) {
    double number;
    if (parse_number(name, number)) return true;  // no ingredient list could name it
    for (const char* reserved : RESERVED_NAMES)
        if (KeyCompare(reserved, name.c_str()) == 0) return true;
    return false;
}

bool is_cell_phase(const PVTCell& cell, const Tank* tank) {
    return tank && (tank == cell.eq_liquid.get() || tank == cell.eq_vapor.get() ||
                    tank == cell.nf_liquid.get() || tank == cell.nf_vapor.get());
}

/// The name of a stage's own copy of a phase of the cell: EQL_Expt_001_Stg_002.
std::string snapshot_name(StageFluid fluid, int experiment, int stage) {
    constexpr std::array<const char*, 4> PHASES{"EQL", "NFL", "EQV", "NFV"};
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%s_Expt_%03d_Stg_%03d",
                  PHASES[static_cast<std::size_t>(fluid)], experiment, stage);
    return text.data();
}

/// The mixture of a stage's own copy of a phase, whose name begins as that of the phase does.
Tank& snapshot(EOSLab& lab, StageFluid fluid, int experiment, int stage) {
    const std::string name = snapshot_name(fluid, experiment, stage);
    return *lab.mixtures.set_exact(name, make_dyn<Tank>(name));
}

/// A pressure on the present line; a unit alone is a unit without a value.
void read_pressure(Reader& reader, ValueWithUnit& pressure) {
    const LineLimitScope one_line(reader, 0);
    const UnitSet* const sets[] = {&unit_set(UnitKind::Pressure)};
    ValueWithUnit read;
    if (ReadValue(reader, read, sets) >= 0) pressure = read;
}

}  // namespace

const Keyword& weight_words() {
    static const Keyword words{"WT", "WGT", "WGH&", "WEIG&"};
    return words;
}

PVTzEXPA::PVTzEXPA() : basis_amount{0.001, &unit_of(UnitKind::Mole, "mol")} {}

const CmdKey* PVTzEXPA::FindKey(const std::string& word) const {
    if (const CmdKey* key = dictionary_of<PVTzEXPA>().find(word)) return key;
    return PVTzExpt::FindKey(word);
}

void PVTzEXPA::parse(Reader& reader, EOSLab& lab, Writer& writer) {
    PVTzExpt::parse(reader, lab, writer);
    validate_names(reader, lab);
}

void PVTzEXPA::readBasis(Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    const UnitSet* const sets[] = {&unit_set(UnitKind::Mole), &unit_set(UnitKind::Mass),
                                   &unit_set(UnitKind::Volume)};
    ValueWithUnit amount;
    const int kind = ReadValue(reader, amount, sets);
    if (kind < 0) return;
    if (amount.value == UNSET) amount.value = amount.unit->to_base(1.0);
    basis_amount = amount;
    basis_kind = static_cast<BasisKind>(kind);
    if (amount.value > 0.0) return;
    std::vector<std::string> lines{"Illegal experiment basis (" +
                                   value_text(amount, UnitKind::Mole) + ")."};
    reader.Locate(lines, 3, true, "Problem detected");
    lines.push_back("Basis amount must be positive.");
    reader.Error(lines);
}

void PVTzEXPA::readSaturation(Reader& reader, BasisState kind) {
    static const Keyword guess_word{"GUESS"};
    saturation_kind = kind;
    read_pressure(reader, measured_saturation);
    const LineLimitScope any_lines(reader, -1);
    std::string word;
    while (reader.NextKeyword(word) > 0) {
        if (weight_words().matches(word)) {
            const LineLimitScope one_line(reader, 0);
            reader.NextDouble(saturation_weight);
        } else if (guess_word.matches(word)) {
            read_pressure(reader, guess);
        } else {
            reader.Unread();
            return;
        }
    }
}

/// Checks the names of all rows before anything is reported.
void PVTzEXPA::validate_names(Reader& reader, EOSLab& lab) {
    ErrorList errors;
    NameSet used;
    for (int i = 0; i < table.rowCount; ++i) {
        ExptData row;
        table.TakeRow(i, row);
        const int stage = i + 1;
        nameStageFluid(stage, row.feed_name_1, lab, used, errors, StageFluid::Feed);
        nameStageFluid(stage, row.feed_name_2, lab, used, errors, StageFluid::Feed);
        nameStageFluid(stage, row.eql_name, lab, used, errors, StageFluid::Liquid);
        nameStageFluid(stage, row.eqv_name, lab, used, errors, StageFluid::Vapor);
        nameStageFluid(stage, row.nfl_name, lab, used, errors, StageFluid::FlashLiquid);
        nameStageFluid(stage, row.nfv_name, lab, used, errors, StageFluid::FlashVapor);
    }
    const std::string place = command ? command->Location() : std::string();
    errors.Report(reader, label(), place, ValidityHeadline);
}

void PVTzEXPA::nameStageFluid(int stage, const std::string& name, EOSLab& lab, NameSet& used,
                              ErrorList& errors, StageFluid fluid) {
    if (name.empty()) return;
    if (fluid != StageFluid::Feed && is_cell_phase(lab.cell(), lab.find_mixture(name).get())) {
        snapshot(lab, fluid, number, stage);
        return;
    }
    const std::string suffix =
        " mixture name \"" + name + "\" for storing a fluid at stage " + std::to_string(stage);
    if (is_reserved(name))
        errors.Add("Illegal" + suffix, ERROR);
    else if (!used.insert(name).second)
        errors.Add("Duplicate" + suffix, ERROR);
    else
        lab.store_mixture(name, Tank(name));
}

void PVTzEXPA::storeStageFluid(int stage, const std::string& name, const Tank& tank, EOSLab& lab,
                               StageFluid fluid) {
    if (name.empty()) return;
    if (fluid != StageFluid::Feed && is_cell_phase(lab.cell(), lab.find_mixture(name).get()))
        snapshot(lab, fluid, number, stage).copy(tank);
    else
        lab.store_mixture(name, tank);
}

}  // namespace kestrane
