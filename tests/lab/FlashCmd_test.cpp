#include "lab/LabRun.h"
#include "lab/PhaseTable.h"

namespace kestrane {
namespace {

const std::string FED = LIGHT_FLUID + "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\n";

TEST(FlashCmd, TemperatureAndPressureInEitherOrder) {
    for (const char* script : {"FLASH 100 F 500 psia\n", "FLASH 500 psia 100 F\n"}) {
        LabRun run(FED + script);
        ASSERT_FALSE(run.stopped) << run.report();
        EXPECT_NEAR(run.lab.cell().temperature.value, (100.0 + 459.67) / 1.8, 1e-10);
        EXPECT_NEAR(run.lab.cell().pressure.value, 500.0 * 6894.757293168361, 1e-6);
        EXPECT_EQ(run.lab.cell().phase_count, 2);
    }
}

TEST(FlashCmd, BareNumbersAreTemperatureThenPressureWithErrors) {
    LabRun run(FED + "FLASH 40 35\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.counts.errors, 2) << run.report();
    EXPECT_TRUE(run.reports("No temperature units specified"));
    EXPECT_TRUE(run.reports("No pressure units specified"));
}

TEST(FlashCmd, ASecondTemperatureIsNotTaken) {
    LabRun run(FED + "FLASH 40 C 50 C\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("No pressure units specified"));
}

TEST(FlashCmd, WithoutValuesRepeatsTheCellsConditions) {
    LabRun run(FED + "FLASH 100 F 500 psia\nFLASH\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const std::string report = run.report();
    const std::size_t first = report.find("Flash Calculation 1");
    const std::size_t second = report.find("Flash Calculation 2");
    ASSERT_NE(first, std::string::npos);
    ASSERT_NE(second, std::string::npos);
    const auto table = [&](std::size_t at) {
        const std::size_t begin = report.find("Two Phases at ", at);
        return report.substr(begin, report.find('\n', report.find("Density", begin)) - begin);
    };
    EXPECT_EQ(table(first), table(second));
}

TEST(FlashCmd, AnUnsetCellIsNonphysicalAndPrintsZero) {
    LabRun run(FED + "FLASH\n");
    EXPECT_TRUE(run.stopped) << run.report();
    EXPECT_EQ(run.counts.fatals, 1);
    EXPECT_TRUE(run.reports("Unable to perform flash calculation"));
    EXPECT_TRUE(run.reports("Problem for keyword \"FLASH\" (line 9, column 1, standard input)."));
    EXPECT_TRUE(run.reports("The temperature (0"));
    EXPECT_TRUE(run.reports("was nonphysical"));
    EXPECT_TRUE(run.reports("One Phase at Temperature = 0"));
}

// 1e308 bar is more Pa than a double holds.
TEST(FlashCmd, AnInfinitePressureIsNonphysical) {
    LabRun run(FED + "FLASH 300 K 1E308 bar\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("The pressure (inf bar) was nonphysical")) << run.report();
    LabRun finite(FED + "FLASH 300 K 1E300 bar\nFLASH 300 K 1E200 bar\nFLASH 1E300 K 20 bar\n");
    EXPECT_FALSE(finite.stopped);
    EXPECT_EQ(finite.report().find("nan"), std::string::npos) << finite.report();
}

TEST(FlashCmd, WithoutACharacterization) {
    LabRun run("FLASH 100 F 500 psia\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("No fluid characterization was ever defined."));
}

TEST(FlashCmd, AnEmptyFeed) {
    LabRun run(LIGHT_FLUID + "FLASH 100 F 500 psia\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("The feed stream was empty (or never defined properly)."));
}

TEST(FlashCmd, AFeedThatIsNoFractionWarnsAndIsNormalized) {
    LabRun run(LIGHT_FLUID + "MIX FEED C1 3 C3 2 N-C10 1\nFLASH 100 F 500 psia\n");
    EXPECT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(run.counts.warnings, 1);
    EXPECT_TRUE(run.reports("Uncertain results from flash calculation"));
    EXPECT_TRUE(run.reports("The feed stream was altered by normalization."));
    LabRun percent(LIGHT_FLUID + "MIX FEED C1 50 C3 30 N-C10 20\nFLASH 100 F 500 psia\n");
    EXPECT_EQ(percent.counts.warnings, 0) << percent.report();
}

TEST(FlashCmd, TwoPhaseTableHasTheThreeColumnsAndK) {
    LabRun run(FED + "FLASH 100 F 500 psia\n");
    EXPECT_TRUE(
        run.reports("Flash Calculation 1\n"
                    "===================\n"
                    "\n"
                    "Two Phases at Temperature = 100 F, Pressure = 500 psia\n"
                    "\n"
                    "Component          Overall      Liquid        Vapor       K-Value\n"
                    "---------        ----------   ----------   ----------   -----------\n"))
        << run.report();
    for (const char* label :
         {"\nRel. Moles:", "\nMol. Weight:", "\nZ-Factor:", "\nDensity (g/cc):"})
        EXPECT_EQ(run.count(label), 1) << label;
}

TEST(FlashCmd, ANegativeFlashPrintsOnePhaseAndKeepsItsTieLine) {
    // Above the bubble point the tie-line through the feed still exists.
    LabRun run(FED + "FLASH 100 F 500 psia\nFLASH 100 F 2400 psia\nMIX E EQL 1\nMIX N NFL 1\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const PVTCell& cell = run.lab.cell();
    if (cell.phase_count != 1) GTEST_FAIL() << "no tie-line at these conditions";
    EXPECT_TRUE(run.reports("One Phase at Temperature = 100 F, Pressure = 2400 psia"));
    const PtrTo<Tank> equilibrium = run.lab.find_mixture("E");
    const PtrTo<Tank> tie_line = run.lab.find_mixture("N");
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_DOUBLE_EQ(equilibrium->moles()[i], cell.feed->moles()[i]);
    EXPECT_NE(tie_line->moles()[0], cell.feed->moles()[0]);
}

TEST(FlashCmd, TheTableAsValuesBalances) {
    LabRun run(FED + "FLASH 100 F 500 psia\n");
    const PhaseTable table = phase_table(run.lab.cell(), "Any");
    ASSERT_TRUE(table.two_phase);
    EXPECT_NEAR(table.liquid.relative_moles + table.vapor.relative_moles, 1.0, 1e-14);
    for (std::size_t i = 0; i < table.components.size(); ++i) {
        const double sum = table.liquid.relative_moles * table.liquid.mole_fractions[i] +
                           table.vapor.relative_moles * table.vapor.mole_fractions[i];
        EXPECT_NEAR(sum, table.overall.mole_fractions[i], 1e-13);
        EXPECT_NEAR(table.vapor.mole_fractions[i] / table.liquid.mole_fractions[i],
                    table.k_values[i], 1e-11 * table.k_values[i]);
    }
    EXPECT_GT(table.liquid.density, table.vapor.density);
    // P M = Z rho R T for each phase
    for (const PhaseColumn* phase : {&table.liquid, &table.vapor, &table.overall}) {
        const double pm = table.pressure.value * phase->mol_weight;
        EXPECT_NEAR(phase->z_factor * phase->density * GAS_CONSTANT * table.temperature.value, pm,
                    1e-12 * pm);
    }
}

}  // namespace
}  // namespace kestrane
