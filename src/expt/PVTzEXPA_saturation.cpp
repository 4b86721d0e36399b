// The saturation quantities of a stage.

#include <algorithm>
#include <array>

#include "expt/PVTzEXPA.h"
#include "expt/PVTzEXPA_run.h"

namespace kestrane {

namespace {

using Field = double ExptData::*;

/// What a column of saturation pressures or temperatures asks of the cell.
enum class Quantity { Saturation, Dew, Vapor, Convergence, Temperature };

struct SaturationField {
    Field before, after;
    Quantity quantity;
};
constexpr std::array<SaturationField, 8> SATURATION_FIELDS{
    {{&ExptData::sat_pressure_1, &ExptData::sat_pressure_2, Quantity::Saturation},
     {&ExptData::dew_pressure_1, &ExptData::dew_pressure_2, Quantity::Dew},
     {&ExptData::vapor_pressure_1, &ExptData::vapor_pressure_2, Quantity::Vapor},
     {&ExptData::con_pressure_1, &ExptData::con_pressure_2, Quantity::Convergence},
     {&ExptData::sat_temperature_1, &ExptData::sat_temperature_2, Quantity::Temperature},
     {&ExptData::bub_temperature_1, &ExptData::bub_temperature_2, Quantity::Temperature},
     {&ExptData::vapor_temperature_1, &ExptData::vapor_temperature_2, Quantity::Temperature},
     {&ExptData::con_temperature_1, &ExptData::con_temperature_2, Quantity::Temperature}}};

/// The column next to the right of `last`, or null.
const SaturationField* next_field(const ExptData& positions, double last) {
    const SaturationField* next = nullptr;
    for (const SaturationField& field : SATURATION_FIELDS) {
        const double position = positions.*field.before;
        if (has_column(position) && position > last &&
            (!next || position < positions.*next->before))
            next = &field;
    }
    return next;
}

/// The pressure, which the cell is left at; UNSET if there is none.
double calculate(PVTCell& cell, Quantity quantity) {
    bool found = true;
    if (quantity == Quantity::Saturation)
        found = cell.saturation(+1);
    else if (quantity == Quantity::Dew)
        found = cell.saturation(-1);
    else if (quantity == Quantity::Convergence)
        found = cell.convergence_pressure();
    else
        cell.vapor_pressure();
    return found && cell.errors->usable() ? cell.pressure.value : UNSET;
}

/// The state of one component at its vapor pressure is none of a mixture.
bool leaves_equilibrium(const PVTCell& cell, Quantity quantity) {
    if (quantity != Quantity::Vapor) return true;
    return std::ranges::count_if(cell.feed->moles(), [](double m) { return m > 0.0; }) <= 1;
}

/// A cell of its own with the feed and the state of another, for calculations on the side.
PVTCell side_cell(const PVTCell& cell) {
    PVTCell side(make_dyn<Tank>("FEED"), make_dyn<Tank>("EQL"), make_dyn<Tank>("EQV"),
                 make_dyn<Tank>("NFL"), make_dyn<Tank>("NFV"), cell.errors);
    side.feed->copy(*cell.feed);
    side.set_charz(cell.charz);
    side.temperature = cell.temperature;
    side.init_policy = side.current_init = cell.init_policy;
    side.test1 = cell.test1;
    side.test2 = cell.test2;
    side.third_phase_severity = cell.third_phase_severity;
    return side;
}

}  // namespace

bool PVTzEXPA::stageSaturations(EOSLab& lab, ExptData& row, const ExptData& positions) {
    PVTCell& cell = lab.cell();
    const double T = cell.temperature.value;
    double P = cell.pressure.value;
    bool stands = false;
    double last = -1.0;
    while (const SaturationField* field = next_field(positions, last)) {
        last = positions.*field->before;
        if (field->quantity == Quantity::Temperature) {
            if (!stands) flash_stage(cell);
            stands = true;
            row.*field->before = T;
            continue;
        }
        const double value = calculate(cell, field->quantity);
        row.*field->before = value;
        if (row.pressure == UNSET && value != UNSET) row.pressure = P = value;
        stands = cell.pressure.value == P && leaves_equilibrium(cell, field->quantity);
        cell.pressure.value = P;
        if (!cell.errors->usable()) break;
    }
    row.temperature = T;
    row.pressure = P;
    return stands;
}

void PVTzEXPA::afterSaturations(EOSLab& lab, ExptData& row, const ExptData& positions) {
    PVTCell& cell = lab.cell();
    const bool any = std::ranges::any_of(SATURATION_FIELDS, [&positions](const auto& field) {
        return has_column(positions.*field.after);
    });
    if (!any) return;
    const bool unchanged = !removes(), empty = !leaves_fluid(row);
    for (const SaturationField& field : SATURATION_FIELDS) {
        if (!has_column(positions.*field.after)) continue;
        if (field.quantity == Quantity::Temperature) {
            row.*field.after = cell.temperature.value;
        } else if (unchanged && has_column(positions.*field.before)) {
            row.*field.after = row.*field.before;
        } else if (empty) {
            row.*field.after = UNDEFINED;
        } else {
            PVTCell side = side_cell(cell);
            side.pressure = cell.pressure;
            row.*field.after = calculate(side, field.quantity);
        }
    }
}

}  // namespace kestrane
