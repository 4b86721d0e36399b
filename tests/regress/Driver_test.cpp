// One run of a script: how often it is evaluated, what is seen of that, and how errors end it.

#include <gtest/gtest.h>

#include "DriverRun.h"

namespace kestrane {
namespace {

const std::string FLUID =
    "CHAR Oil\nNAME MW  TC(K) PC(bar) AF\nC1\nC3\nC7+  200 700   20      0.6\nEND\nEND\n"
    "QMIX FEED C1 0.5 C3 0.2 C7+ 0.3\n";
const std::string SATP = "SATP 100 C\n";

TEST(Driver, WithoutVariablesThereIsOnePass) {
    const DriverRun run(FLUID + SATP);
    EXPECT_EQ(run.lab.evaluation_count, 1);
    EXPECT_FALSE(run.shows("egression"));
    EXPECT_FALSE(run.reports("Variable"));
    EXPECT_EQ(run.times("Saturation Pressure Calculation 1\n"), 1);
}

TEST(Driver, FixedVariablesAreListedInOnePass) {
    const DriverRun run("VAR a 2\nVAR b 3 3\n" + FLUID + SATP);
    EXPECT_EQ(run.lab.evaluation_count, 1);
    EXPECT_FALSE(run.shows("egression"));
    EXPECT_TRUE(
        run.reports("\n\nVariable Definitions\n"
                    "====================\n"
                    " Var Num  Variable  Current\n"
                    " -------  --------  -------\n"
                    "       1  a         2.00000\n"
                    "       2  b         3.00000\n\n"))
        << run.report();
    EXPECT_FALSE(run.shows("Variable Definitions"));
    EXPECT_EQ(run.times("Saturation Pressure Calculation 1\n"), 1);
}

TEST(Driver, WithoutDataTheFitEndsAtOnce) {
    for (const std::string data : {"", "XRES x 1.7 0\nXRES x 1 -1\n"}) {
        const DriverRun run("VAR x 1 0 2\n" + FLUID + SATP + data);
        EXPECT_TRUE(run.shows("======  NOTE: Start of regression  ======\n")) << run.console();
        EXPECT_TRUE(run.shows("NOTE: Regression finished after 0 iterations (1 evaluation)  "));
        EXPECT_FALSE(run.shows("RMS"));
        EXPECT_FALSE(run.reports("egression"));
        EXPECT_EQ(run.lab.variable_value(0), 1.0);
        EXPECT_EQ(run.times("Saturation Pressure Calculation 1\n"), 2);
        EXPECT_EQ(run.times("Initial Variable Definitions\n"), 1);
        EXPECT_EQ(run.times("Final Variable Definitions\n"), 1);
    }
}

TEST(Driver, OneIterationIsSingular) {
    const DriverRun run("VAR x 1.30000001 0 2\nXRES x 1.3 1\n");
    EXPECT_TRUE(run.shows("NOTE: Regression finished after 1 iteration (3 evaluations)  "))
        << run.console();
    EXPECT_TRUE(run.shows("NOTE: 0.0000 % RMS average weighted error for 1 measurement  ======\n"));
    EXPECT_NEAR(run.lab.variable_value(0), 1.3, 1e-12);
}

TEST(Driver, EveryEvaluationShowsItsErrorOnTheConsole) {
    const DriverRun run("VAR x 1 0 2\nVAR y 1 0 4\nXRES x 1.5 1\nXRES y 3 2\n");
    EXPECT_TRUE(
        run.shows("NOTE: Start of regression  ======\n\n"
                  "======  NOTE: 1.8028 % RMS average weighted error for 2 measurements  "
                  "======\n\n"))
        << run.console();  // sqrt((0.5^2 + (2 * 2)^2)/(1^2 + 2^2))
    const std::string console = run.console();
    int lines = 0;
    for (std::size_t at = console.find("% RMS"); at != std::string::npos;
         at = console.find("% RMS", at + 1))
        ++lines;
    // Those of the fit, which it counted, and the final one.
    EXPECT_EQ(lines, run.lab.evaluation_count);
    EXPECT_FALSE(run.reports("RMS"));
    EXPECT_NEAR(run.lab.variable_value(0), 1.5, 1e-10);
    EXPECT_NEAR(run.lab.variable_value(1), 3.0, 1e-10);
}

TEST(Driver, StepsAreTabulatedAndColumnsAreNot) {
    const DriverRun run("VAR x 1 0 2\nVAR k 7\nVAR y 1 0 4\n" + FLUID + SATP +
                        "XRES x 1.5 1\nXRES y 3 1\n");
    EXPECT_TRUE(
        run.reports("Initial Variable Definitions\n============================\n"
                    " Var Num  Reg Var  Variable  Current  Lower Bound  Upper Bound\n"
                    " -------  -------  --------  -------  -----------  -----------\n"
                    "       1        1  x         1.00000      0.00000      2.00000\n"
                    "       2           k         7.00000                          \n"
                    "       3        2  y         1.00000      0.00000      4.00000\n"))
        << run.report();
    EXPECT_TRUE(
        run.reports("\nVariable Definitions (for iteration 1, evaluation 4)\n"
                    "====================================================\n"
                    " Var Num  Reg Var  Variable  Current  Initial  Lower Bound  Upper "))
        << run.report();
    EXPECT_FALSE(run.reports("evaluation 2)"));
    EXPECT_FALSE(run.reports("evaluation 3)"));
    EXPECT_EQ(run.times("Saturation Pressure Calculation 1\n"), 2);
    EXPECT_EQ(run.times("Now defining"), 2);
    EXPECT_EQ(run.lab.variable_value(1), 7.0);
}

TEST(Driver, AVariableThatNothingUsesStays) {
    const DriverRun run("VAR x 1 0 2\nVAR idle 0.7 0 1\nXRES x 1.5 1\n");
    EXPECT_NEAR(run.lab.variable_value(0), 1.5, 1e-10);
    EXPECT_EQ(run.lab.variable_value(1), 0.7);
}

TEST(Driver, WarningsOfSilentPassesArePrinted) {
    const DriverRun run("VAR x 1 0 2\n" + FLUID + "MUL TEMP BY x\nXRES x 1.30000001 1\n");
    EXPECT_EQ(run.counts.warnings, run.lab.evaluation_count);
    EXPECT_EQ(run.times("WARNING: Could not multiply temperature by "), run.counts.warnings);
}

TEST(Driver, SilentPassesWriteNothing) {
    DriverRun run(
        FLUID + "TITLE Study\nNOTE text\nSTAB ON\nTEMP 350 K\nPRES 60 bar\nFLASH\n" + SATP +
        "TCRIT\nMIX M C1 1\nMUL TEMP BY 1.01\nTIME\nJACOBY\nTWUMW 0.5\nLBC\nP0 0.11\nEND\n");
    const std::size_t report = run.report().size(), console = run.console().size();
    for (const EvaluationMode mode :
         {EvaluationMode::Step, EvaluationMode::Jacobian, EvaluationMode::Reduction})
        run.evaluate(mode);
    EXPECT_EQ(run.report().size(), report);
    EXPECT_EQ(run.console().size(), console);
}

TEST(Driver, AFatalErrorOfATrialEndsTheFitAndNotTheRun) {
    const DriverRun run("VAR x 1 0 2\n" + FLUID + "XFATAL x 1.5 0\n" + SATP + "XRES x 1.8 1\n");
    EXPECT_FALSE(run.stopped);
    EXPECT_EQ(run.counts.fatals, 0);
    EXPECT_TRUE(run.reports("FATAL ERROR: A fatal error of the test"));
    EXPECT_TRUE(
        run.reports("ERROR: Problem for regression  ######\n"
                    "An evaluation ended with a fatal error.\n"))
        << run.report();
    EXPECT_TRUE(run.shows("Regression finished after 1 iteration (3 evaluations)"));
    EXPECT_EQ(run.times("Saturation Pressure Calculation 1\n"), 2);
    EXPECT_EQ(run.times("Final Variable Definitions\n"), 1);
    EXPECT_NEAR(run.lab.variable_value(0), 1.8, 1e-9);
}

TEST(Driver, AFatalErrorOfTheFinalPassEndsTheRun) {
    const DriverRun run("VAR x 1 0 2\n" + FLUID + "XFATAL x 1.5 1\n" + SATP + "XRES x 1.8 1\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.counts.fatals, 1);
    EXPECT_EQ(run.times("FATAL ERROR: A fatal error of the test"), 2);
    EXPECT_EQ(run.times("Final Variable Definitions\n"), 1);
}

TEST(Driver, AFatalErrorOfAColumnPutsTheStartBack) {
    const DriverRun run("VAR x 1 0 2\nXFATAL x 1.000001 0\nXRES x 1.8 1\n");
    EXPECT_FALSE(run.stopped);
    EXPECT_EQ(run.lab.variable_value(0), 1.0);
    EXPECT_TRUE(run.shows("Regression finished after 1 iteration (2 evaluations)"));
}

TEST(Driver, ThreeErrorsOfAnEvaluationEndTheFit) {
    const DriverRun two("VAR x 1 0 2\nXERR 2 1\nXRES x 1.8 1\n");
    EXPECT_FALSE(two.stopped);
    EXPECT_FALSE(two.reports("Problem for regression"));
    EXPECT_NEAR(two.lab.variable_value(0), 1.8, 1e-9);
    const DriverRun three("VAR x 1 0 2\nXERR 3 1\nXRES x 1.8 1\n");
    EXPECT_FALSE(three.stopped);
    EXPECT_TRUE(
        three.reports("ERROR: Problem for regression  ######\n"
                      "Too many errors occurred in one evaluation.\n"));
    EXPECT_EQ(three.counts.errors, 4);
    EXPECT_TRUE(three.shows("Regression finished after 1 iteration (3 evaluations)"));
}

TEST(Driver, AnEvaluationMayHaveNineteenNewErrors) {
    const DriverRun nineteen("XERR 19 4\n");
    EXPECT_FALSE(nineteen.stopped);
    EXPECT_EQ(nineteen.counts.errors, 19);
    const DriverRun twenty("XERR 30 4\n");
    EXPECT_TRUE(twenty.stopped);
    EXPECT_EQ(twenty.counts.errors, 20);
    // Each evaluation counts anew: two in the first pass, nineteen in the last.
    const DriverRun anew("VAR x 1 0 2\nXERR 2 0\nXERR 19 4\n");
    EXPECT_FALSE(anew.stopped);
    EXPECT_EQ(anew.counts.errors, 21);
}

TEST(Driver, AnErrorOfReadingEndsTheRunBeforeTheRegression) {
    const DriverRun run("VAR x 1 0 2\nNONSENSE\nXRES x 1.8 1\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.lab.evaluation_count, 0);
    EXPECT_FALSE(run.shows("Start of regression"));
}

}  // namespace
}  // namespace kestrane
