#include <cmath>

#include "lab/LabRun.h"

namespace kestrane {
namespace {

double temperature_after(const std::string& script) {
    LabRun run(script);
    EXPECT_FALSE(run.stopped) << run.report();
    return run.lab.cell().temperature.value;
}

TEST(VariableCmds, ValueAndUnitInEitherOrder) {
    // (200 + 459.67)/1.8 K
    EXPECT_DOUBLE_EQ(temperature_after("TEMP 200 F\n"), 366.48333333333335);
    EXPECT_DOUBLE_EQ(temperature_after("TEMP F 200\n"), 366.48333333333335);
}

TEST(VariableCmds, AMissingUnitIsAnError) {
    LabRun run("PRES 100\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("No pressure units specified"));
    EXPECT_TRUE(run.reports("units of \"bar\" will be assumed."));
}

TEST(VariableCmds, AKeywordWithNothingToSetIsAnError) {
    for (const char* script : {"TEMP\n", "PRES\n", "DEPTH\n"}) {
        LabRun run(script);
        EXPECT_TRUE(run.stopped) << script;
        EXPECT_EQ(run.counts.errors, 1) << script;
    }
}

TEST(VariableCmds, ConditionsStartUnset) {
    LabRun run("");
    EXPECT_EQ(run.lab.cell().temperature.value, UNSET);
    EXPECT_EQ(run.lab.cell().pressure.value, UNSET);
}

TEST(VariableCmds, SavesAndRestores) {
    EXPECT_DOUBLE_EQ(temperature_after("TEMP 300 K SAVE T1\nTEMP 400 K\nTEMP RESTORE T1\n"), 300.0);
    EXPECT_DOUBLE_EQ(temperature_after("TEMP 300 K\nTEMP STORE t1\nTEMP 400 K\nTEMP RES T1\n"),
                     300.0);
}

TEST(VariableCmds, ANumberAfterASubKeywordIsTheNewValue) {
    LabRun run("TEMP 300 K\nTEMP SAVE T1 350 K\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_DOUBLE_EQ(run.lab.cell().temperature.value, 350.0);
    ASSERT_TRUE(run.lab.saved_temperatures.find("T1"));
    EXPECT_DOUBLE_EQ(run.lab.saved_temperatures.find("T1")->value, 300.0);
}

TEST(VariableCmds, RestoresPartOfTheWay) {
    const std::string start = "TEMP 300 K SAVE T1\nTEMP 400 K\n";
    EXPECT_DOUBLE_EQ(temperature_after(start + "TEMP RES T1 0.25\n"), 375.0);
    EXPECT_DOUBLE_EQ(temperature_after(start + "TEMP RES T1 LIN 0.25\n"), 375.0);
    EXPECT_DOUBLE_EQ(temperature_after(start + "TEMP RES T1 0.25 LIN\n"), 375.0);
    EXPECT_DOUBLE_EQ(temperature_after(start + "TEMP RES T1 0\n"), 400.0);
    EXPECT_DOUBLE_EQ(temperature_after(start + "TEMP RES T1 1.5\n"), 250.0);
}

TEST(VariableCmds, LogarithmicHalfWayIsTheGeometricMean) {
    const std::string start = "TEMP 300 K SAVE T1\nTEMP 400 K\n";
    const double mean = std::sqrt(300.0 * 400.0);
    EXPECT_NEAR(temperature_after(start + "TEMP RES T1 LOG 0.5\n"), mean, 1e-12 * mean);
    EXPECT_NEAR(temperature_after(start + "TEMP RES T1 0.5 LOG\n"), mean, 1e-12 * mean);
}

TEST(VariableCmds, LogarithmicFromZero) {
    LabRun zero("PRES 4 bar SAVE P1\nPRES 0 bar\nPRES RES P1 LOG 0.5\n");
    ASSERT_FALSE(zero.stopped) << zero.report();
    EXPECT_EQ(zero.lab.cell().pressure.value, 0.0);
}

TEST(VariableCmds, LogarithmicWithoutAPhysicalResultIsFatal) {
    LabRun run("PRES 0 bar SAVE P1\nPRES 4 bar\nPRES RES P1 LOG 0.5\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.counts.fatals, 1);
    EXPECT_TRUE(run.reports("Could not restore pressure \"P1\" logarithmically"));
    EXPECT_TRUE(
        run.reports("The current, stored, or resulting pressure was found to be nonphysical."));
}

TEST(VariableCmds, UndefinedNamesAreErrors) {
    LabRun temperature("TEMP RES X\n");
    EXPECT_TRUE(temperature.reports("Cannot restore undefined temperature variable \"X\""));
    LabRun pressure("PRES RES X\n");
    EXPECT_TRUE(pressure.reports("Cannot restore undefined pressure variable \"X\""));
    LabRun depth("DEPTH RES X\n");
    EXPECT_TRUE(depth.reports("Cannot restore undefined depth variable \"X\""));
    EXPECT_EQ(depth.counts.errors, 1);
}

TEST(VariableCmds, DepthIsRestoredLinearlyOnly) {
    LabRun run("DEPTH 1000 m SAVE D\nDPTH 2000 m\nDEPTH RES D 0.5\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_DOUBLE_EQ(run.lab.cell().depth.value, 1500.0);
    LabRun logarithmic("DEPTH 1000 m SAVE D\nDEPTH RES D LOG 0.5\n");
    EXPECT_TRUE(logarithmic.stopped);
}

}  // namespace
}  // namespace kestrane
