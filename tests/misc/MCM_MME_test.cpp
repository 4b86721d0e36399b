// Contact tables at one pressure, and the search for an enrichment.

#include <gtest/gtest.h>

#include "misc/MiscExpt.h"
#include "misc/MiscFluids.h"
#include "misc/reference/KeyTieLines.h"

namespace kestrane {
namespace {

using fluids::GAS_DRIVE_T;
using Composition = std::vector<double>;

std::string published() {
    return fluids::gas_drive(fluids::gas_drive_fluid(), GAS_DRIVE_T, {0.2, 0.15, 0.65, 0.0},
                             {0.2, 0.0, 0.0, 0.8});
}

std::string three_components() {
    fluids::Fluid fluid = fluids::gas_drive_fluid();
    fluid.components.pop_back();
    return fluids::gas_drive(fluid, GAS_DRIVE_T, {0.3, 0.1, 0.6}, {0.7, 0.3, 0.0});
}

/// Numbers of a table column (from 0) in the lines behind a head.
std::vector<double> column(const std::string& report, const std::string& head, std::size_t at) {
    std::istringstream text(report.substr(report.find(head)));
    std::string line;
    std::getline(text, line);
    std::getline(text, line);
    std::vector<double> values;
    while (std::getline(text, line) && !line.empty()) {
        std::istringstream words(line);
        std::string word;
        for (std::size_t i = 0; i <= at; ++i) words >> word;
        values.push_back(std::stod(word));
    }
    return values;
}

TEST(MCM_Expt, RowOfCellsComesToTheCrossoverTieLine) {
    const fluids::Fluid fluid = fluids::gas_drive_fluid();
    const Composition oil = fluids::with_traces({0.2, 0.15, 0.65, 0.0}, 2);
    const Composition gas = fluids::with_traces({0.2, 0.0, 0.0, 0.8}, 2);
    textbook::CrossoverTieLine crossover(fluid, GAS_DRIVE_T, oil, gas);
    const double P = fluids::from_psia(1900.0);
    const auto line = crossover.at(P, nullptr);
    ASSERT_TRUE(line);
    const LabRun run(published() + "PRES 1900 psia\nMCM GAS CELLS 200\nEND\n");
    const std::string head = " Stage     Mechanism     Immiscibility     Extrapolated";
    const std::vector<double> values = column(run.report(), head, 2);
    const std::vector<double> extrapolated = column(run.report(), head, 3);
    ASSERT_EQ(values.size(), 200u);
    EXPECT_NEAR(values.back() / line->squared_length(), 1.0, 0.01);
    EXPECT_NEAR(extrapolated.back() / line->squared_length(), 1.0, 0.01);
    EXPECT_EQ(extrapolated.front(), -1.0);
    EXPECT_TRUE(run.reports("C/V Miscibility Test:"));
    EXPECT_TRUE(run.reports("  200       C/V         "));
    EXPECT_TRUE(run.reports("MCM Calculation 1\n=================\nTemperature = "));
    EXPECT_TRUE(run.reports("\nPressure    = 1900 psia\n"));
}

TEST(MCM_Expt, ThreeComponentsGetTheirTwoContactTables) {
    const LabRun run(three_components() + "PRES 100 bar\nMCM GAS CELLS 30\nEND\n");
    EXPECT_TRUE(run.reports("VGD Miscibility Test:"));
    EXPECT_TRUE(run.reports("CGD Miscibility Test:"));
    EXPECT_FALSE(run.reports("C/V Miscibility Test:"));
    const std::string head = " Contact      Immiscibility";
    const std::vector<double> contacts = column(run.report(), head, 0);
    ASSERT_EQ(contacts.size(), 30u);
    EXPECT_EQ(contacts.back(), 30.0);
}

/// The last contact is the fresh fluid itself: its tie-line, extended.
TEST(MCM_Expt, LastContactIsTheTieLineThroughTheFreshFluid) {
    fluids::Fluid fluid = fluids::gas_drive_fluid();
    fluid.components.pop_back();
    const double P = 130e5;
    const textbook::Mixture<double> mixture(fluid, GAS_DRIVE_T);
    const auto expected = textbook::tie_line_through(mixture, P, Composition{0.3, 0.1, 0.6},
                                                     textbook::wilson_ln_k(fluid, GAS_DRIVE_T, P));
    ASSERT_TRUE(expected);
    for (const char* cells : {"1", "2", "5", "80"}) {
        const LabRun run(three_components() + "PRES 130 bar\nMCM GAS CELLS " + cells + "\nEND\n");
        const std::vector<double> values = column(run.report(), " Contact      Immiscibility", 1);
        ASSERT_EQ(values.size(), std::stoul(cells));
        EXPECT_NEAR(values.back(), expected->squared_length(), 2e-5) << cells;
    }
}

TEST(MCM_Expt, MiscibleInAllProportionsPrintsNoContacts) {
    const LabRun run(three_components() + "PRES 2000 bar\nMCM GAS CELLS 5\nEND\n");
    EXPECT_TRUE(run.reports("MCM Calculation 1"));
    EXPECT_FALSE(run.reports(" Contact      Immiscibility"));
}

TEST(MCM_Expt, ComponentsAreFluidsToo) {
    const LabRun run(published() + "PRES 1500 psia\nMCM CO2 CELLS 5\nEND\n");
    EXPECT_TRUE(run.reports("C/V Miscibility Test:"));
    EXPECT_EQ(run.counts.errors, 0);
}

TEST(MME_Expt, AgreesWithTheMinimumPressure) {
    const std::string fluid = published() + "PRES 500 psia\nMMP GAS CELLS 100\nEND\n";
    // The cell stands at the pressure found for 80 % carbon dioxide.
    LabRun run(fluid + "MME C1 CO2 CELLS 100\nDATA 75 % WT 3\nEND\n");
    ASSERT_EQ(run.lab.residuals().size(), 1u);
    const double found = run.lab.residuals()[0] / 3.0 + 75.0;
    EXPECT_NEAR(found, 80.0, 0.05);
    EXPECT_TRUE(
        run.reports("Expt. Minimum Miscibility Enrichment = 75% \"CO2\" (with 25% \"C1\")"));
    EXPECT_TRUE(run.reports("Calc. Minimum Miscibility Enrichment = "));
    EXPECT_TRUE(run.reports("   Injectant        Immiscibility\n"));
}

/// The first name is the lean fluid whatever it is: with the richer one there, none is needed.
TEST(MME_Expt, SwappedFluidsNeedNothingOfTheSecond) {
    const LabRun run(published() + "PRES 2400 psia\nMME CO2 C1 CELLS 10\nEND\n");
    EXPECT_TRUE(run.reports("Minimum Miscibility Enrichment = 0% \"C1\" (with 100% \"CO2\")"));
}

TEST(MME_Expt, EndsOfTheRange) {
    const LabRun rich(published() + "PRES 1000 psia\nMME C1 CO2 CELLS 20\nEND\n");
    EXPECT_TRUE(rich.reports("Minimum Miscibility Enrichment = 100% \"CO2\" (with 0% \"C1\")"));
    EXPECT_TRUE(rich.reports("No mixture of the two was miscible with the feed."));
    const LabRun lean(published() + "PRES 9000 psia\nMME C1 CO2 CELLS 20\nEND\n");
    EXPECT_TRUE(lean.reports("Minimum Miscibility Enrichment = 0% \"CO2\" (with 100% \"C1\")"));
    EXPECT_TRUE(lean.reports("Results of 20 stages (using C1 and CO2) at 9000 psia and "));
}

TEST(MiscCmds, MissingNames) {
    const LabRun one(published() + "MME GAS\nEND\n");
    EXPECT_TRUE(one.reports("Not enough input for \"MME\" command"));
    EXPECT_TRUE(
        one.reports("The \"MME\" command requires the names of two injectants (one lean, "
                    "one rich). "));
    EXPECT_TRUE(one.reports("Only one such name was supplied."));
    const LabRun none(published() + "MME\nEND\n");
    EXPECT_TRUE(none.reports("No such names were supplied."));
    for (const char* keyword : {"MCM", "MMP"}) {
        const LabRun run(published() + keyword + "\nEND\n");
        EXPECT_TRUE(run.reports("No such name was supplied.")) << keyword;
        EXPECT_TRUE(run.stopped);
    }
}

TEST(MiscCmds, BlockEndsAtAForeignWord) {
    const LabRun run(published() + "PRES 1500 psia\nMCM GAS STAGES 2\nPRES 1234 psia\n");
    EXPECT_NEAR(run.lab.cell().pressure.value, fluids::from_psia(1234.0), 1e-3);
    EXPECT_EQ(run.counts.errors, 0);
}

TEST(MiscCmds, BadNumbers) {
    for (const char* bad : {"MMP GAS CELLS\nEND\n", "MMP GAS DATA\nEND\n", "MMP GAS CELLS 0\nEND\n",
                            "MMP GAS DATA 100 bar WT\nEND\n", "MMP GAS DATA 5 K\nEND\n"}) {
        const LabRun run(published() + bad);
        EXPECT_GT(run.counts.errors + run.counts.warnings, 0) << bad;
    }
}

TEST(Immiscibility, Definition) {
    const Composition x{0.2, 0.8}, y{0.7, 0.3};
    EXPECT_DOUBLE_EQ(immiscibility(x, y), 1.0);
    EXPECT_DOUBLE_EQ(immiscibility(x, x), 0.0);
    EXPECT_DOUBLE_EQ(immiscibility(Composition{1.0, 0.0}, Composition{0.0, 1.0}), 4.0);
}

TEST(TieLineSide, PhaseTowardsTheFirstFluid) {
    const Composition gas{0.9, 0.1}, oil{0.1, 0.9}, vapor{0.8, 0.2}, liquid{0.3, 0.7};
    EXPECT_TRUE(tieLineSide(gas, oil, vapor, liquid));
    EXPECT_FALSE(tieLineSide(gas, oil, liquid, vapor));
    EXPECT_TRUE(tieLineSide(oil, gas, liquid, vapor));
    // Components that neither phase holds do not count.
    EXPECT_TRUE(tieLineSide(Composition{0.9, 0.1, 0.0}, Composition{0.1, 0.4, 0.5},
                            Composition{0.8, 0.2, 0.0}, Composition{0.3, 0.7, 0.0}));
}

TEST(Extrapolation, LimitsOfKnownHistories) {
    std::vector<double> work(400);
    const auto limit = [&work](const std::vector<double>& history) {
        return extrapolated_immiscibility(history, work);
    };
    EXPECT_EQ(limit({}), -1.0);
    EXPECT_EQ(limit({0.5}), -1.0);
    // A plateau is its own limit; a straight line in 1/stage ends at its intercept.
    EXPECT_NEAR(limit(std::vector<double>(50, 0.3)), 0.3, 1e-12);
    std::vector<double> straight, hyperbola;
    for (int s = 1; s <= 200; ++s) {
        const double t = 1.0 / s;
        straight.push_back(0.1 + 2.0 * t);
        hyperbola.push_back((0.1 + 30.0 * t) / (1.0 + 50.0 * t));
    }
    EXPECT_NEAR(limit(straight), 0.1, 1e-10);
    // The mean that bends towards the last value: a = 0.1, d = 0.15, e = 0.25, u = 1.25.
    const double d = 0.15, e = 0.25, u = 1.25, a = 0.1;
    EXPECT_NEAR(limit(hyperbola), ((a + d - (d - a * e) * 2.0 / (3.0 * u)) * e / u + a) / u, 1e-8);
    // A limit further below 0 than the last value is above it says nothing.
    std::vector<double> falling;
    for (int s = 1; s <= 19; ++s) falling.push_back(-0.5 + 20.0 / s);
    EXPECT_NEAR(limit(falling), -0.5, 1e-9);
    falling.resize(38);
    for (int s = 1; s <= 38; ++s) falling[static_cast<std::size_t>(s - 1)] = -0.5 + 20.0 / s;
    EXPECT_EQ(limit(falling), -1.0);
}

}  // namespace
}  // namespace kestrane
