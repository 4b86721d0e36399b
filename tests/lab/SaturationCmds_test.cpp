#include <cmath>

#include "lab/LabRun.h"
#include "lab/PhaseTable.h"

namespace kestrane {
namespace {

const std::string FED = LIGHT_FLUID + "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\n";
constexpr double T_100F = (100.0 + 459.67) / 1.8;  // K

TEST(SaturationCmds, EveryNameOfACommandMakesItsSection) {
    LabRun run(FED +
               "SATP 100 F\nPSAT\nBUBPOINT\nPBUB\nDEWP\nPDEW\nVAPP\nVAPRES\nCONP\nTCRIT\nTCAV\n");
    ASSERT_FALSE(run.stopped) << run.report();
    for (const char* heading :
         {"Saturation Pressure Calculation 4\n=================================\n",
          "Dew-Point Pressure Calculation 2\n================================\n",
          "Vapor Pressure Calculation 2\n============================\n",
          "Convergence Pressure Calculation 1\n==================================\n",
          "Pseudo-Critical Temperature Calculation 1\n",
          "Average Critical Temperature Calculation 1\n"})
        EXPECT_EQ(run.count(heading), 1) << heading;
    EXPECT_EQ(run.counts.warnings, 0) << run.report();
}

TEST(SaturationCmds, TheTemperatureIsOptionalAndStays) {
    LabRun run(FED + "TEMP 300 K\nSATP\nSATP 100 F\nDEWP\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_NEAR(run.lab.cell().temperature.value, T_100F, 1e-10);
    EXPECT_TRUE(run.reports("Two Phases at Temperature = 300 K, Pressure = "));
    EXPECT_EQ(run.count("Two Phases at Temperature = 100 F, Pressure = "), 2);
}

TEST(SaturationCmds, ABareTemperatureIsAnError) {
    LabRun run(FED + "SATP 40\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("No temperature units specified"));
    EXPECT_FALSE(run.reports("Saturation Pressure Calculation"));
}

TEST(SaturationCmds, APressureIsNotTaken) {
    LabRun run(FED + "SATP 100 F 500 psia\n");
    EXPECT_TRUE(run.stopped);
}

TEST(SaturationCmds, BubbleAndDewPointTablesShowTheIncipientPhase) {
    LabRun bubble(FED + "PRES 500 psia\nSATP 100 F\n");
    const PhaseTable at_bubble = phase_table(bubble.lab.cell(), "Any");
    ASSERT_TRUE(at_bubble.two_phase);
    EXPECT_EQ(at_bubble.liquid.relative_moles, 1.0);
    EXPECT_EQ(at_bubble.vapor.relative_moles, 0.0);
    EXPECT_GT(at_bubble.k_values[0], 1.0);
    EXPECT_TRUE(
        bubble.reports("Component          Overall      Liquid        Vapor       K-Value"));
    LabRun dew(FED + "PRES 500 psia\nDEWP 100 F\n");
    const PhaseTable at_dew = phase_table(dew.lab.cell(), "Any");
    ASSERT_TRUE(at_dew.two_phase);
    EXPECT_EQ(at_dew.vapor.relative_moles, 1.0);
    EXPECT_LT(at_dew.pressure.value, 0.01 * at_bubble.pressure.value);
    // Units of the pressure are those it was given in.
    EXPECT_TRUE(dew.reports(" psia\n"));
}

TEST(SaturationCmds, AFlashAtTheResultHasAPhaseOfNoAmount) {
    for (const char* command : {"SATP 100 F\nFLASH\n", "DEWP 200 F\nFLASH\n"}) {
        LabRun run(FED + command);
        ASSERT_FALSE(run.stopped) << run.report();
        const PVTCell& cell = run.lab.cell();
        // The amount moves about as fast as the pressure, which is good to 1e-12 and less.
        EXPECT_NEAR(std::min(std::abs(cell.x_state.fraction), std::abs(cell.y_state.fraction)), 0.0,
                    1e-9);
    }
}

TEST(SaturationCmds, WithoutResultTheTableFollowsAtTheOldPressure) {
    LabRun run(FED + "PRES 500 psia\nSATP 2000 K\nDEWP 2000 K\n");
    EXPECT_FALSE(run.stopped);
    EXPECT_EQ(run.counts.warnings, 2) << run.report();
    EXPECT_EQ(run.count("One Phase at Temperature = 2000 K, Pressure = 500 psia"), 2);
    EXPECT_TRUE(
        run.reports("Uncertain results from saturation pressure calculation  ######\n"
                    "Problem for keyword \"SATP\" (line 10, column 1, standard input).\n"
                    "A saturation pressure (if one exists) could not be found\n"
                    "because no two-phase pressure could be found.\n"))
        << run.report();
    EXPECT_TRUE(
        run.reports("Uncertain results from dew-point pressure calculation  ######\n"
                    "Problem for keyword \"DEWP\" (line 11, column 1, standard input).\n"
                    "A dew-point pressure (if one exists) could not be found\n"
                    "because no two-phase pressure could be found.\n"));
}

TEST(SaturationCmds, PureVaporPressureByEveryCommandIsOne) {
    std::vector<double> pressures;
    for (const char* command : {"SATP", "DEWP", "VAPP", "CONP"}) {
        LabRun run(LIGHT_FLUID + "MIX FEED C3 1\n" + command + " 300 K\n");
        ASSERT_FALSE(run.stopped) << run.report();
        EXPECT_TRUE(run.reports("Two Phases at Temperature = 300 K"));
        pressures.push_back(run.lab.cell().pressure.value);
    }
    for (double P : pressures) EXPECT_EQ(P, pressures.front());
    // Propane at 300 K: 9.98 bar (Lemmon et al., J. Chem. Eng. Data 54 (2009) 3141); the cubic
    // equation is good to a percent.
    EXPECT_NEAR(pressures.front(), 9.98e5, 1e4);
}

TEST(SaturationCmds, CriticalTemperaturesPrintAndStay) {
    LabRun run(FED + "TEMP 100 F\nTCRIT\nTCAV\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(run.count("\nPseudo-Critical Temperature = "), 1);
    EXPECT_EQ(run.count("\nAverage Critical Temperature = "), 1);
    EXPECT_EQ(run.count(" F\n"), 2) << run.report();
    // The two averages differ, but not by much.
    EXPECT_NEAR(run.lab.cell().temperature.value, 500.0, 60.0);
}

TEST(SaturationCmds, CriticalTemperaturesNeedNoTemperature) {
    LabRun run(LIGHT_FLUID + "MIX FEED C3 1\nTCRIT\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_NEAR(run.lab.cell().temperature.value, 369.83, 0.01);
}

TEST(SaturationCmds, WithoutFeedOrFluidTheyAreFatal) {
    for (const char* command :
         {"SATP 300 K", "DEWP 300 K", "VAPP 300 K", "CONP 300 K", "TCRIT", "TCAV"}) {
        LabRun empty(LIGHT_FLUID + command + "\n");
        EXPECT_TRUE(empty.stopped) << command;
        EXPECT_TRUE(empty.reports("The feed stream was empty (or never defined properly)."));
        LabRun none(std::string(command) + "\n");
        EXPECT_TRUE(none.stopped) << command;
        EXPECT_TRUE(none.reports("No fluid characterization was ever defined."));
    }
}

TEST(SaturationCmds, AnUnsetTemperatureIsNonphysical) {
    for (const char* command : {"SATP", "DEWP", "VAPP", "CONP"}) {
        LabRun run(FED + command + "\n");
        EXPECT_TRUE(run.stopped) << command;
        EXPECT_TRUE(run.reports("The temperature (0")) << run.report();
    }
}

TEST(SaturationCmds, AnEquationThatComputesNothingFindsNothing) {
    LabRun run("EOS SW\n" + FED + "PRES 3 bar\nSATP 300 K\nDEWP\nVAPP\nCONP\nTCRIT\n");
    EXPECT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(run.counts.warnings, 3) << run.report();
    EXPECT_EQ(run.count("One Phase at Temperature = 300 K, Pressure = 3 bar"), 4);
    EXPECT_TRUE(run.reports("\nPseudo-Critical Temperature = 300 K\n"));
}

TEST(SaturationCmds, EvaluatedTwiceTheReportIsTheSame) {
    LabRun run(FED + "SATP 100 F\nDEWP\nCONP\nVAPP\nTCRIT\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const std::string first = run.evaluate(EvaluationMode::Final);
    EXPECT_EQ(first, run.evaluate(EvaluationMode::Final));
}

}  // namespace
}  // namespace kestrane
