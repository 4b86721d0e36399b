#include "lab/MixtureTable.h"

#include <cmath>

#include "frame/NumberFormat.h"
#include "lab/NumberText.h"

namespace kestrane {

namespace {

constexpr std::size_t NAME_WIDTH = 10;
constexpr std::size_t COLUMN_WIDTH = 15;

std::string row(const MixtureTable::Line& line) {
    std::string text;
    append_left(text, line.component, NAME_WIDTH);
    for (const double value : {line.moles, line.mole_fraction, line.mass, line.mass_fraction})
        append_right(text, amount_text(value), COLUMN_WIDTH);
    return text;
}

/// 0 where the whole is 0, or what round-off leaves of amounts that cancel.
double share(double part, double whole) {
    const double result = part / whole;
    return std::isfinite(result) ? result : 0.0;
}

}  // namespace

MixtureTable mixture_table(const Tank& tank, const std::string& name) {
    MixtureTable table;
    table.title = "Mixture \"" + name + "\" Compositions";
    const auto line = [&](const std::string& label, double moles, double mass) {
        return MixtureTable::Line{label, moles, share(moles, tank.total_moles()), mass,
                                  share(mass, tank.total_mass())};
    };
    for (std::size_t i = 0; i < static_cast<std::size_t>(tank.n()); ++i)
        if (tank.moles()[i] != 0.0 || tank.masses()[i] != 0.0)
            table.lines.push_back(
                line(tank.charz()->comps[i].name.shown(), tank.moles()[i], tank.masses()[i]));
    table.totals = line("Totals:", tank.total_moles(), tank.total_mass());
    return table;
}

void print_mixture(Writer& writer, const MixtureTable& table) {
    writer.Newlines(2);
    writer.Line(table.title);
    writer.Line(std::string(table.title.size(), '='));
    writer.Line("");
    writer.Line("Component         Moles       Mole Fracs        Mass        Mass Fracs");
    writer.Line("----------     ----------     ----------     ----------     ----------");
    for (const MixtureTable::Line& line : table.lines) writer.Line(row(line));
    writer.Line(row(table.totals));
    writer.Newlines(2);
}

}  // namespace kestrane
