#include "lab/PhaseTable.h"

#include <array>

#include "frame/NumberFormat.h"
#include "lab/NumberText.h"

namespace kestrane {

namespace {

constexpr std::size_t LABEL_WIDTH = 15;
/// Overall, liquid, vapor, K-value.
constexpr std::array<std::size_t, 4> COLUMN_WIDTHS{12, 13, 13, 14};

PhaseColumn column_of(const Tank& tank, const PhaseState& state, double relative_moles) {
    PhaseColumn column;
    column.mole_fractions.assign(tank.moles().begin(), tank.moles().end());
    column.relative_moles = relative_moles;
    column.mol_weight = tank.total_moles() > 0.0 ? tank.total_mass() / tank.total_moles() : 0.0;
    column.z_factor = state.z_factor;
    column.density = state.density;
    return column;
}

std::string row(const std::string& label, std::initializer_list<std::string> cells) {
    std::string line;
    append_left(line, label, LABEL_WIDTH);
    std::size_t at = 0;
    for (const std::string& cell : cells) append_right(line, cell, COLUMN_WIDTHS[at++]);
    return line;
}

void print_property(Writer& writer, const PhaseTable& table, const std::string& label,
                    double PhaseColumn::*property, int decimals, double scale = 1.0) {
    const auto cell = [&](const PhaseColumn& column) {
        return fixed_text(column.*property * scale, decimals);
    };
    writer.Line(table.two_phase
                    ? row(label, {cell(table.overall), cell(table.liquid), cell(table.vapor)})
                    : row(label, {cell(table.overall)}));
}

void print_components(Writer& writer, const PhaseTable& table) {
    const std::string label(LABEL_WIDTH - 9, ' ');
    writer.Line(
        "Component" + label +
        (table.two_phase ? "    Overall      Liquid        Vapor       K-Value" : "    Overall"));
    writer.Line("---------" + label +
                (table.two_phase ? "  ----------   ----------   ----------   -----------"
                                 : "  ----------"));
    for (std::size_t i = 0; i < table.components.size(); ++i) {
        const std::string overall = amount_text(table.overall.mole_fractions[i]);
        if (table.two_phase) {
            writer.Line(row(
                table.components[i],
                {overall, amount_text(table.liquid.mole_fractions[i]),
                 amount_text(table.vapor.mole_fractions[i]), general_text(table.k_values[i], 5)}));
        } else {
            writer.Line(row(table.components[i], {overall}));
        }
    }
}

}  // namespace

PhaseTable phase_table(const PVTCell& cell, const std::string& title) {
    PhaseTable table;
    table.title = title;
    table.temperature = cell.temperature;
    table.pressure = cell.pressure;
    table.two_phase = cell.phase_count >= 2;
    if (!cell.charz) return table;
    for (const Compnent& component : cell.charz->comps)
        table.components.push_back(component.name.shown());
    table.overall = column_of(*cell.feed, cell.feed_state, 1.0);
    table.overall.mole_fractions.resize(table.components.size());
    if (table.two_phase) {
        table.liquid = column_of(*cell.eq_liquid, cell.x_state, cell.x_state.fraction);
        table.vapor = column_of(*cell.eq_vapor, cell.y_state, cell.y_state.fraction);
        table.k_values = cell.k;
    }
    return table;
}

void print_phases(Writer& writer, const PhaseTable& table) {
    if (!writer.active()) return;
    writer.Line(table.title);
    writer.Line(std::string(table.title.size(), '='));
    writer.Line("");
    writer.Line((table.two_phase ? "Two Phases at " : "One Phase at ") +
                std::string("Temperature = ") +
                value_text(table.temperature, UnitKind::Temperature) +
                ", Pressure = " + value_text(table.pressure, UnitKind::Pressure));
    writer.Line("");
    print_components(writer, table);
    writer.Line("");
    constexpr double KG_PER_M3_TO_G_PER_CC = 1e-3;
    print_property(writer, table, "Rel. Moles:", &PhaseColumn::relative_moles, 4);
    print_property(writer, table, "Mol. Weight:", &PhaseColumn::mol_weight, 3);
    print_property(writer, table, "Z-Factor:", &PhaseColumn::z_factor, 4);
    print_property(writer, table, "Density (g/cc):", &PhaseColumn::density, 4,
                   KG_PER_M3_TO_G_PER_CC);
    writer.Newlines(2);
}

}  // namespace kestrane
