#include <gtest/gtest.h>

#include "fluid/CharzScript.h"
#include "fluid/Correlations.h"

namespace kestrane {
namespace {

using Mode = CharzScript::Mode;

/// Each test begins and ends with the correlations that a run begins with.
class CorrelationKeys : public ::testing::Test {
protected:
    void SetUp() override { correlation_state() = CorrelationState{}; }
    void TearDown() override { correlation_state() = CorrelationState{}; }
    static const Soreide& soreide() { return correlation_state().soreide; }
};

TEST_F(CorrelationKeys, EverySubKeyword) {
    const CharzScript run("SOREIDE\nMW0 60\nMW1 0.2\nSG0 0.3\nSG1 0.25\nEND\n");
    EXPECT_EQ(soreide().mw0, 60.0);
    EXPECT_EQ(soreide().mw1, 0.2);
    EXPECT_EQ(soreide().sg0, 0.3);
    EXPECT_EQ(soreide().sg1, 0.25);
    EXPECT_EQ(run.times("NOTE: Soreide/Jacoby correlation update"), 1) << run.report();
    EXPECT_TRUE(run.prints("\nSG  =  0.3 + 0.25*(MW - 60)^(0.2)\n")) << run.report();
    EXPECT_FALSE(run.prints("/MW"));
    for (const char* word : {"CF", "SLOPE", "FACTOR"}) {
        const CharzScript alias(std::string("SOR\n") + word + " 0.5\nEND\n");
        EXPECT_EQ(soreide().sg1, 0.5) << word;
        correlation_state() = CorrelationState{};
    }
    const CharzScript exponent("SOR\nEXPONENT 0.4\nEND\n");
    EXPECT_EQ(soreide().mw1, 0.4);
}

TEST_F(CorrelationKeys, DefaultsComeBackInOrder) {
    const CharzScript run("SOR\nMW0 10\nSTANDARD\nSG1 0.3\nEND\n");
    EXPECT_EQ(soreide().mw0, 66.0);
    EXPECT_EQ(soreide().sg1, 0.3);
    const CharzScript second("SOR\nSG1 9\nDEFAULT\nEND\n");
    EXPECT_TRUE(second.prints("SG  =  0.2855 + 0.29*(MW - 66)^(0.13)")) << second.report();
}

TEST_F(CorrelationKeys, WithoutANumberTheValueStays) {
    const CharzScript run("SOR\nSG1\nMW0\n70\nEND\nJACOBY 0.2\nJACOBY\nTWUMW 0.5\nTWUMW\n");
    EXPECT_EQ(correlation_state().aromaticity, 0.2);
    EXPECT_DOUBLE_EQ(soreide().sg0, 0.8468 + 0.2456 * 0.2);
    EXPECT_EQ(run.times("Twu MW damping factor is now 0.5"), 2);
    EXPECT_TRUE(run.prints("SG  =  0.2855 + 0.29*(MW - 66)^(0.13)")) << run.report();
}

TEST_F(CorrelationKeys, SignsFollowTheValues) {
    const CharzScript run("SOR\nMW0 -5\nMW1 -0.5\nSG1 -2\nSG0 1\nEND\n");
    EXPECT_TRUE(run.prints("\nSG  =  1 - 2*(MW + 5)^(-0.5)\n")) << run.report();
    const CharzScript line("SOR\nMW0 0\nMW1 1\nSG1 0.001\nSG0 0.6\nEND\n");
    EXPECT_TRUE(line.prints("\nSG  =  0.6 + 0.001*(MW)\n")) << line.report();
}

TEST_F(CorrelationKeys, InactiveForms) {
    for (const char* parameter : {"SG1 0", "MW1 0", "SG1 -0.3"}) {
        correlation_state() = CorrelationState{};
        const CharzScript run(std::string("SOR\n") + parameter + "\nEND\n");
        EXPECT_TRUE(run.prints("NOTE: Soreide/Jacoby correlation is now inactive")) << run.report();
        EXPECT_FALSE(run.prints("SG  ="));
    }
}

TEST_F(CorrelationKeys, JacobyWithBothReadings) {
    const CharzScript run("JACOBY 0.5\n");
    EXPECT_EQ(soreide().mw0, 0.0);
    EXPECT_EQ(soreide().mw1, -1.0);
    EXPECT_DOUBLE_EQ(soreide().sg1, -15.8 - 0.885);
    EXPECT_DOUBLE_EQ(soreide().sg0, 0.8468 + 0.1228);
    EXPECT_TRUE(
        run.prints("\nSG  =  0.9696 - 16.685*(MW)^(-1)\n"
                   "    =  0.8468 - 15.8/MW + 0.5*(0.2456 - 1.77/MW)\n"))
        << run.report();
    const CharzScript negative("JACOBY -0.5\n");
    EXPECT_TRUE(negative.prints("    =  0.8468 - 15.8/MW - 0.5*(0.2456 - 1.77/MW)\n"))
        << negative.report();
    correlation_state() = CorrelationState{};
    const CharzScript plain("JACOBY\n");
    EXPECT_TRUE(plain.prints("    =  0.8468 - 15.8/MW + 0*(0.2456 - 1.77/MW)\n")) << plain.report();
}

TEST_F(CorrelationKeys, JacobyReadingOfASoreideBlock) {
    const CharzScript run("SOR\nMW0 0\nMW1 -1\nSG1 -10\nSG0 0.8468\nEND\n");
    EXPECT_TRUE(run.prints("    =  0.8468 - 10/MW + 0*(0.2456 - 1.77/MW)\n")) << run.report();
}

TEST_F(CorrelationKeys, SecondEvaluationRepeatsTheFirst) {
    CharzScript run("JACOBY 0.3\nSOR\nMW0 60\nEND\nJACOBY\nSOR\nDEF\nCF 0.3\nEND\nTWUM 0.7\n",
                    Mode::Deferred);
    EXPECT_EQ(soreide().mw0, 66.0);  // nothing acts while it is read
    EXPECT_FALSE(run.prints("correlation"));
    run.clear_report();  // of the note on what is read
    run.run_pass();
    const std::string first = run.report();
    EXPECT_EQ(run.times("NOTE"), 5) << first;
    EXPECT_EQ(soreide().sg1, 0.3);
    EXPECT_EQ(correlation_state().twu_damping, 0.7);
    run.clear_report();
    run.run_pass();
    EXPECT_EQ(run.report(), first);
}

TEST_F(CorrelationKeys, RerunRestoresTheDefaults) {
    CharzScript run("JACOBY 0.3\n", Mode::Deferred);
    run.run_pass();
    EXPECT_EQ(correlation_state().aromaticity, 0.3);
    std::stringbuf no_text, no_report;
    InFile in(no_text);
    OutFile out(no_report);
    ErrorCounts counts;
    Writer writer(counts, nullptr, &out);
    Reader reader(writer, in);
    for (const auto& command : run.user.commands) command->Rerun(reader);
    EXPECT_EQ(correlation_state().aromaticity, 0.0);
    EXPECT_EQ(soreide().mw0, 66.0);
    EXPECT_EQ(soreide().mw1, 0.13);
    EXPECT_EQ(soreide().sg1, 0.29);
    EXPECT_EQ(soreide().sg0, 0.2855);
}

TEST_F(CorrelationKeys, UnknownWordEndsTheBlock) {
    const CharzScript run("SOR\nMW0 61\nNONSENSE 5\nTWUMW 0.8\n");
    EXPECT_EQ(soreide().mw0, 61.0);
    EXPECT_EQ(correlation_state().twu_damping, 0.8);
    EXPECT_TRUE(run.prints("NONSENSE")) << run.report();
}

}  // namespace
}  // namespace kestrane
