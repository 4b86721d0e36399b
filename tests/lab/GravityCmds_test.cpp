#include <cmath>

#include "lab/DampingOption.h"
#include "lab/LabRun.h"

namespace kestrane {
namespace {

const std::string COLUMN = LIGHT_FLUID +
                           "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nTEMP 340 K\nPRES 200 bar\n"
                           "DEPTH 2000 m\n";

TEST(GravityCmds, DistancesAreUpwardAndDescentIsNegated) {
    LabRun run(COLUMN + "ELEV 10 m\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_DOUBLE_EQ(run.lab.cell().depth.value, 1990.0);
    EXPECT_LT(run.lab.cell().pressure.value, 200e5);
    EXPECT_TRUE(
        run.reports("Elevation Change 1, to depth of 1990 m (10 m)\n"
                    "=============================================\n"));
    LabRun up(COLUMN + "ASCEND 10 m\n"), down(COLUMN + "DESCEND 10 m\n");
    EXPECT_EQ(up.lab.cell().pressure.value, run.lab.cell().pressure.value);
    EXPECT_DOUBLE_EQ(down.lab.cell().depth.value, 2010.0);
    EXPECT_GT(down.lab.cell().pressure.value, 200e5);
    EXPECT_TRUE(down.reports("Elevation Change 1, to depth of 2010 m (-10 m)\n"));
    LabRun to(COLUMN + "DESCEND TO 1990 m\n");
    EXPECT_EQ(to.lab.cell().depth.value, 1990.0);
    EXPECT_EQ(to.lab.cell().pressure.value, run.lab.cell().pressure.value);
}

TEST(GravityCmds, OptionsStandOnEitherSide) {
    LabRun behind(COLUMN + "ELEV -50 m DAMP 0.5 STOP\n");
    LabRun before(COLUMN + "ELEV DAMP 0.5 STOP ON -50 m\n");
    ASSERT_FALSE(behind.stopped) << behind.report();
    ASSERT_FALSE(before.stopped) << before.report();
    EXPECT_EQ(behind.lab.cell().pressure.value, before.lab.cell().pressure.value);
    EXPECT_TRUE(behind.reports(", to depth of 2050 m (-50 m, damping 0.5)"));
}

TEST(GravityCmds, StopEndsAtTheContact) {
    LabRun stop(COLUMN + "ELEV 1500 m STOP\n"), go(COLUMN + "ELEV 1500 m STOP OFF\n");
    ASSERT_FALSE(stop.stopped) << stop.report();
    EXPECT_EQ(stop.lab.cell().phase_count, 2);
    EXPECT_GT(stop.lab.cell().depth.value, 500.0);
    EXPECT_DOUBLE_EQ(go.lab.cell().depth.value, 500.0);
    LabRun contact(COLUMN + "GOC\n");
    ASSERT_FALSE(contact.stopped) << contact.report();
    EXPECT_NEAR(contact.lab.cell().depth.value, stop.lab.cell().depth.value, 0.1);
    EXPECT_TRUE(contact.reports("Gas-Oil Contact Calculation 1 (Depth = "));
    EXPECT_TRUE(contact.reports("Two Phases at Temperature = 340 K"));
    LabRun damped(COLUMN + "GOC DAMP 0\n");
    EXPECT_TRUE(damped.reports(" m, damping 0)\n")) << damped.report();
}

TEST(GravityCmds, DampingOutOfRangeGetsTheReadersWarning) {
    for (const char* command : {"ELEV 1 m DAMP 2\n", "GOC DAMP -1\n"}) {
        LabRun run(COLUMN + command);
        EXPECT_EQ(run.counts.warnings, 1) << run.report();
        EXPECT_FALSE(run.reports("The requested damping factor"));
    }
}

TEST(GravityCmds, DampingMayBeAVariable) {
    EOSLab lab;
    lab.addVariable("Mixing", 1.5, 0.0, 2.0);
    DampingOption option;
    option.variable = lab.findVariable("Mixing");
    EXPECT_EQ(option.factor(lab), 1.0);
    ASSERT_EQ(lab.errors().entries.size(), 1u);
    EXPECT_EQ(lab.errors().entries[0]->text,
              "The requested damping factor (1.5) was changed to the upper limit of 1");
    EXPECT_EQ(lab.errors().severity, WARNING);
    lab.errors().Clear();
    lab.addVariable("Less", -0.25, -1.0, 1.0);
    option.variable = lab.findVariable("Less");
    EXPECT_EQ(option.factor(lab), 0.0);
    EXPECT_EQ(lab.errors().entries[0]->text,
              "The requested damping factor (-0.25) was changed to the lower limit of 0");
    lab.errors().Clear();
    lab.addVariable("Inside", 0.25, 0.0, 1.0);
    option.variable = lab.findVariable("Inside");
    EXPECT_EQ(option.factor(lab), 0.25);
    EXPECT_TRUE(lab.errors().empty());
}

TEST(GravityCmds, AWordThatIsNoVariableIsHandedBack) {
    LabRun run(COLUMN + "ELEV 1 m DAMP Nothing\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("Keyword \"Nothing\" not recognized in current context"));
}

TEST(GravityCmds, ADistanceIsNeeded) {
    LabRun run(COLUMN + "ELEV\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("No distance or depth was given for keyword \"ELEV\""));
}

TEST(GravityCmds, ZeroPressureIsFatal) {
    for (const char* command : {"ELEV 1 m\n", "GOC\n"}) {
        LabRun run(COLUMN + "PRES 0 bar\n" + command);
        EXPECT_TRUE(run.stopped);
        EXPECT_TRUE(run.reports("The reference pressure was nonphysical.")) << run.report();
    }
}

TEST(GravityCmds, ADepthNeverGivenIsZero) {
    LabRun run(LIGHT_FLUID +
               "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nTEMP 340 K\nPRES 200 bar\n"
               "ELEV -100 ft\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_NEAR(run.lab.cell().depth.value, 30.48, 1e-12);
    EXPECT_TRUE(run.reports(", to depth of 100 ft (-100 ft)"));
}

TEST(GravityCmds, EvaluatedTwiceTheReportIsTheSame) {
    LabRun run(COLUMN + "ELEV 30 m\nGOC DAMP 0.3\nBOUND 300 bar TO 10 bar\nGIBB FEED 3\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const std::string first = run.evaluate(EvaluationMode::Final);
    EXPECT_EQ(first, run.evaluate(EvaluationMode::Final));
}

TEST(BoundaryCmd, PrintsBothSides) {
    LabRun run(COLUMN + "BOUND PRES 300 bar TO PRES 10 bar\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(run.count("Boundary Calculation 1-A (Near Boundary)\n"), 1);
    EXPECT_EQ(run.count("Boundary Calculation 1-B (Far Boundary)\n"), 1);
    EXPECT_EQ(run.count("One Phase at "), 1);
    EXPECT_EQ(run.count("Two Phases at "), 1);
    LabRun judge(COLUMN + "SATP\n");
    EXPECT_NEAR(run.lab.cell().pressure.value / judge.lab.cell().pressure.value, 1.0, 1e-6);
    for (const char* other : {"BOUND 300 bar AND 10 bar\n",
                              "PRES SAVE Here\nPRES 300 bar SAVE High\nPRES 10 bar SAVE Low\n"
                              "BOUND PRES High TO PRES Low\n",
                              "TEMP SAVE Warm\nBOUND TEMP Warm 300 bar TO MIX FEED 10 bar\n"}) {
        LabRun same(COLUMN + other);
        EXPECT_FALSE(same.stopped) << same.report();
        EXPECT_EQ(same.count("(Far Boundary)"), 1) << same.report();
    }
}

TEST(BoundaryCmd, WithoutBoundaryItWarns) {
    LabRun run(COLUMN + "BOUND 300 bar TO 400 bar\n");
    EXPECT_EQ(run.counts.warnings, 1);
    EXPECT_TRUE(run.reports("No boundary could be found."));
    EXPECT_EQ(run.count("One Phase at "), 2);
}

TEST(BoundaryCmd, IncompleteCommandsAreErrors) {
    for (const char* command :
         {"BOUND\n", "BOUND 300 bar\n", "BOUND 300 bar TO\n", "BOUND TO 300 bar\n"}) {
        LabRun run(COLUMN + command);
        EXPECT_TRUE(run.stopped) << command;
        EXPECT_TRUE(run.reports("Incomplete \"BOUND\" command")) << run.report();
        EXPECT_TRUE(run.reports("A limit was expected but not found."));
    }
}

TEST(BoundaryCmd, UndefinedNamesAreErrors) {
    const std::pair<const char*, const char*> cases[] = {
        {"BOUND TEMP Tx 1 bar TO 10 bar\n", "Temperature variable \"Tx\" undefined"},
        {"BOUND PRES Px TO 10 bar\n", "Pressure variable \"Px\" undefined"},
        {"BOUND 1 bar TO MIX Mx\n", "Mixture \"Mx\" undefined"}};
    for (const auto& [command, message] : cases) {
        LabRun run(COLUMN + command);
        EXPECT_EQ(run.counts.errors, 1) << run.report();
        EXPECT_TRUE(run.reports(message)) << run.report();
        EXPECT_FALSE(run.reports("Boundary Calculation"));
    }
}

TEST(EnergyCmds, RowsAreFeedInjectionAndPoints) {
    LabRun run(COLUMN + "QMIX Gas C1 3 C3 1\nGIBBS Gas 4\nTANGENT Gas 4\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(run.count("\nFeed    "), 2);
    EXPECT_EQ(run.count("\nInjection     "), 2);
    for (const char* fraction : {"\n0.000000 ", "\n0.250000 ", "\n0.750000 ", "\n1.000000 "})
        EXPECT_EQ(run.count(fraction), 2) << run.report();
    EXPECT_TRUE(run.reports("Gibbs Energy Calculation 1\n==========================\n"));
    EXPECT_TRUE(run.reports("Tangent Distance Calculation 1\n"));
    EXPECT_EQ(run.lab.find_mixture("Gas")->total_moles(), 4.0);
}

TEST(EnergyCmds, MixturesMustBeDefined) {
    LabRun undefined(COLUMN + "GIBBS Gas 4\n"), none(COLUMN + "TANGENT\n");
    EXPECT_TRUE(undefined.reports("Mixture \"Gas\" undefined")) << undefined.report();
    EXPECT_TRUE(none.reports("No mixture was given for keyword \"TANGENT\""));
    LabRun empty(COLUMN + "GIBBS INJ 4\n");
    EXPECT_TRUE(empty.stopped);
    EXPECT_TRUE(empty.reports("The injection stream was empty (or never defined properly)."));
}

}  // namespace
}  // namespace kestrane
