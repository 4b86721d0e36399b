// Gibbs energies and tangent distances along the line from the feed to an injection.

#include <iomanip>
#include <sstream>

#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "lab/EnergyTable.h"
#include "lab/NumberText.h"
#include "lab/Section.h"

namespace kestrane {

// What the two calculations differ in.
struct Gibbs {
    static constexpr const char* TITLE = "Gibbs Energy Calculation";
    static constexpr const char* LABEL = "Gibbs energy calculation";
    static constexpr const char* QUANTITY = "Gibbs Energy / RT";
    static std::vector<MixtureEnergy> run(PVTCell& cell, Tank& injection, int points) {
        return cell.gibbs(injection, points);
    }
};
struct Tangent {
    static constexpr const char* TITLE = "Tangent Distance Calculation";
    static constexpr const char* LABEL = "tangent distance calculation";
    static constexpr const char* QUANTITY = "Tangent Distance / RT";
    static std::vector<MixtureEnergy> run(PVTCell& cell, Tank& injection, int points) {
        return cell.tangent(injection, points);
    }
};

/// A mixture and the number of intervals between feed and mixture.
template <class Calculation>
struct Energy_Data {
    std::string mixture;
    int points = 10;
};

namespace {

constexpr int MOST_POINTS = 10000;
constexpr int LABEL_WIDTH = 15;
constexpr int COLUMN_WIDTH = 15;
constexpr int DECIMALS = 8;

std::string row(const std::string& label, const MixtureEnergy& energy) {
    std::ostringstream line;
    line << std::left << std::setw(LABEL_WIDTH) << label << std::right;
    line << std::setw(COLUMN_WIDTH) << fixed_text(energy.low, DECIMALS);
    if (energy.two_roots) line << std::setw(COLUMN_WIDTH) << fixed_text(energy.high, DECIMALS);
    return line.str();
}

}  // namespace

void print_energies(Writer& writer, const EnergyTable& table) {
    if (!writer.active()) return;
    writer.Line(table.title);
    writer.Line(std::string(table.title.size(), '='));
    writer.Line("");
    writer.Line("Temperature = " + value_text(table.temperature, UnitKind::Temperature) +
                ", Pressure = " + value_text(table.pressure, UnitKind::Pressure));
    writer.Line("");
    writer.Line("Mole Fraction   " + table.quantity);
    writer.Line("Injected            Low Root      High Root");
    writer.Line("-------------  -------------  -------------");
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        const MixtureEnergy& energy = table.rows[i];
        writer.Line(row(i == 0   ? "Feed"
                        : i == 1 ? "Injection"
                                 : fixed_text(energy.injected, 6),
                        energy));
    }
    writer.Newlines(2);
}

template <class Calculation>
void read_data(UserCmd<EOSLab, Energy_Data<Calculation>>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    if (reader.NextWord(command.mixture) <= 0) {
        reader.ErrorHere({"No mixture was given for keyword \"" + command.word + "\"."});
        return;
    }
    reader.NextInt(command.points, 1, MOST_POINTS);
}

template <class Calculation>
void execute_data(UserCmd<EOSLab, Energy_Data<Calculation>>& command, Reader& reader) {
    EOSLab& lab = command.user();
    const PtrTo<Tank> mixture = lab.find_mixture(command.mixture);
    if (!mixture) {
        reader.Error({"Mixture \"" + command.mixture + "\" undefined.",
                      command.Location("Problem for ", ".")});
        return;
    }
    Section section(lab, reader, Calculation::TITLE, Calculation::LABEL);
    PVTCell& cell = lab.cell();
    Tank injection(mixture->name);
    injection.copy(*mixture);
    EnergyTable table{section.heading(), Calculation::QUANTITY, cell.temperature, cell.pressure,
                      Calculation::run(cell, injection, reader.active() ? command.points : 0)};
    print_energies(reader, table);
    section.close(command);
}

namespace {
const UserKey<EOSLab, Energy_Data<Gibbs>> gibbs_key{"GIBB&"};
const UserKey<EOSLab, Energy_Data<Tangent>> tangent_key{"TAN&"};
}  // namespace

}  // namespace kestrane
