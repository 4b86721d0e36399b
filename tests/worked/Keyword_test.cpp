// The worked example of a keyword in doc/architecture.md: what the document shows stands here, is
// compiled, and runs in scripts.

#include "input/UserCmd.h"
#include "lab/Conditions.h"
#include "lab/LabRun.h"
#include "lab/NumberText.h"
#include "lab/PhaseTable.h"
#include "lab/Section.h"

namespace kestrane {

/// DENSITY [temperature] [pressure], in either order: one line with the density of the feed.
struct Density_Data {
    ValueWithUnit temperature;  ///< K; UNSET: as the cell has it
    ValueWithUnit pressure;     ///< Pa
};
using Density_Cmd = UserCmd<EOSLab, Density_Data>;

template <>
void Density_Cmd::Read(Reader& reader, const std::string&) {
    read_temperature_and_pressure(reader, temperature, pressure);
}

template <>
void Density_Cmd::Execute(Reader& reader) {
    EOSLab& lab = user();
    Section section(lab, reader, "Density Calculation", "density calculation");
    PVTCell& cell = lab.cell();
    if (temperature.value != UNSET) cell.temperature = temperature;
    if (pressure.value != UNSET) cell.pressure = pressure;
    cell.flash();
    if (reader.active()) {
        const PhaseTable table = phase_table(cell, section.heading());
        reader.Line(section.heading() + ": " + fixed_text(table.overall.density, 3) + " kg/m3");
    }
    section.close(*this);
}

namespace {
const UserKey<EOSLab, Density_Data> density_key{"DENS&"};
}

namespace {

/// Methane with the constants of the hand calculation in doc/theory.md.
const std::string METHANE =
    "CHAR\n"
    "NAME  MW      TC(K)   PC(bar)  AF\n"
    "C1    16.043  190.56  45.99    0.011\n"
    "END\nEND\n"
    "QMIX FEED C1 1\n";

TEST(WorkedKeyword, PrintsTheDensityOfTheHandCalculation) {
    const LabRun run(METHANE + "DENSITY 300 K 100 bar\n");
    EXPECT_TRUE(run.reports("Density Calculation 1: 77.141 kg/m3\n")) << run.report();
    EXPECT_EQ(run.counts.errors, 0);
}

TEST(WorkedKeyword, TakesWhatIsNotGivenFromTheCell) {
    const LabRun run(METHANE + "TEMP 300 K\nPRES 100 bar\nDENS\nDENS 50 bar\n");
    EXPECT_TRUE(run.reports("Density Calculation 1: 77.141 kg/m3\n")) << run.report();
    EXPECT_EQ(run.count("Density Calculation 2: "), 1);
    EXPECT_FALSE(run.reports("Density Calculation 2: 77.141 kg/m3\n"));
}

TEST(WorkedKeyword, ABareNumberIsAnError) {
    const LabRun run(METHANE + "DENS 300\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("No temperature units specified")) << run.report();
}

}  // namespace
}  // namespace kestrane
