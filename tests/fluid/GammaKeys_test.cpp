#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "fluid/CharzScript.h"
#include "fluid/GammaState.h"

namespace kestrane {
namespace {

/// The state is one for the whole process: each test begins and ends with the defaults.
struct GammaKeys : testing::Test {
    GammaKeys() { reset(); }
    ~GammaKeys() override { reset(); }
    static void reset() {
        gamma_state() = GammaState{};
        conserved_basis() = Conserved::Moles;
    }
    const GammaState& state = gamma_state();
};

using Mode = CharzScript::Mode;

TEST_F(GammaKeys, BeginsWithDefaults) {
    EXPECT_EQ(state.current, (GammaValues{1.0, 1.0, 0.95, 1.0}));
    EXPECT_EQ(state.guess, state.current);
    EXPECT_EQ(state.lower, (GammaValues{0.2, 0.5, 0.9, 1.0}));
    EXPECT_EQ(state.upper, (GammaValues{5.0, 1.5, 1.0, 1.0}));
    EXPECT_TRUE(state.split_to.empty());
}

TEST_F(GammaKeys, OneNumberIsValueAndLimits) {
    const CharzScript run("GAMMA\nSHAPE 0.8\nAVERAGE 143\nBOUND 90\nORIGIN 0.9\nEND\n");
    EXPECT_EQ(run.counts.errors, 0);
    const GammaValues values{0.8, 143.0, 90.0, 0.9};
    EXPECT_EQ(state.current, values);
    EXPECT_EQ(state.guess, values);
    EXPECT_EQ(state.lower, values);
    EXPECT_EQ(state.upper, values);
}

TEST_F(GammaKeys, MoreNumbersAreARange) {
    const CharzScript run("GAMMA\nSHAPE 0.8 2 0.5\nAVE 1.1 0.7\nEND\n");
    EXPECT_EQ(state.current[SHAPE], 0.8);
    EXPECT_EQ(state.guess[SHAPE], 0.8);
    EXPECT_EQ(state.lower[SHAPE], 0.5);
    EXPECT_EQ(state.upper[SHAPE], 2.0);
    EXPECT_EQ(state.lower[AVERAGE], 0.7);
    EXPECT_EQ(state.upper[AVERAGE], 1.1);
    EXPECT_EQ(state.current[BOUND], 0.95);
}

TEST_F(GammaKeys, NumbersOutsideTheHardLimitsAreReplaced) {
    const CharzScript run("GAMMA\nSHAPE 0\nAVE -1\nBOUND 2e6\nORIG 90\nEND\n");
    EXPECT_EQ(state.current, (GammaValues{0.001, 0.0, 1e6, 1.0}));
    EXPECT_EQ(run.counts.warnings, 4);
    EXPECT_TRUE(run.prints("The input value 90 was replaced by 1."));
}

TEST_F(GammaKeys, ACommandResetsTheFitButNotTheValues) {
    const CharzScript run("GAMMA\nSHAPE 2 1 3\nEND\nGAMMA\nBOUND 0.97\nEND\n");
    EXPECT_EQ(state.current[SHAPE], 2.0);
    EXPECT_EQ(state.guess[SHAPE], 1.0);
    EXPECT_EQ(state.lower[SHAPE], 0.2);
    EXPECT_EQ(state.upper[SHAPE], 5.0);
    EXPECT_EQ(state.current[BOUND], 0.97);
}

TEST_F(GammaKeys, FixTakesThePresentValue) {
    const CharzScript run("GAMMA\nSHAPE 2 1 3\nEND\nGAMMA\nSHAPE FIX\nEND\n");
    EXPECT_EQ(state.current[SHAPE], 2.0);
    EXPECT_EQ(state.guess[SHAPE], 2.0);
    EXPECT_EQ(state.lower[SHAPE], 2.0);
    EXPECT_EQ(state.upper[SHAPE], 2.0);
}

TEST_F(GammaKeys, StoredSetsAreRestoredWholeOrInPart) {
    const CharzScript run(
        "GAMMA\nSHAPE 2\nAVE 150\nBOUND 92\nSTORE LongSetName1\nSHAPE 3\nAVE 160\nSAVE other\nEND\n"
        "GAMMA\nAVE RESTORE longsetname9\nEND\n");
    EXPECT_EQ(run.counts.errors, 0);
    EXPECT_EQ(state.current, (GammaValues{3.0, 150.0, 92.0, 1.0}));
    EXPECT_EQ(state.guess[AVERAGE], 1.0);
    const CharzScript whole("GAMMA\nRES LongSetNa\nEND\n");
    EXPECT_EQ(state.current, (GammaValues{2.0, 150.0, 92.0, 1.0}));
    const CharzScript again("GAMMA\nSHAPE 4\nSTO OTHER\nSHAPE 5\nRES other\nEND\n");
    EXPECT_EQ(state.current[SHAPE], 4.0);
    EXPECT_EQ(state.stored.size(), 2u);
}

TEST_F(GammaKeys, UnknownSetsAreErrors) {
    CharzScript run("GAMMA\nShape RES none\nRES nil\nSTORE\nSPLIT\nEND\n");
    const auto lines = run.report_lines();
    const auto has = [&lines](const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    EXPECT_TRUE(has("######  ERROR: Cannot restore Gamma \"Shape\" parameter  ######"));
    EXPECT_TRUE(has("Problem detected for keyword \"Shape\" (line 2, column 1, standard input)."));
    EXPECT_TRUE(has("Gamma parameters have never been stored under the name \"none\"."));
    EXPECT_TRUE(has("######  ERROR: Cannot restore Gamma parameters  ######"));
    EXPECT_TRUE(has("Gamma parameters have never been stored under the name \"nil\"."));
    EXPECT_TRUE(has("######  ERROR: Cannot store Gamma parameters  ######"));
    EXPECT_TRUE(has("######  ERROR: Cannot split a fraction  ######"));
    EXPECT_EQ(run.counts.errors, 4);
    EXPECT_EQ(state.current, GAMMA_GUESS);
}

TEST_F(GammaKeys, ReportsOnlyWhereSomethingIsSplit) {
    const CharzScript silent("GAMMA\nSHAPE 0.8\nEND\n");
    EXPECT_FALSE(silent.prints("Gamma Parameters"));
    CharzScript run("GAMMA\nAVE 1.05\nSPLIT HeavyFraction C7\nEND\n");
    const auto lines = run.report_lines();
    const auto at = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.rfind("Gamma Parameters", 0) == 0;
    });
    ASSERT_LT(lines.end() - lines.begin() - (lines.end() - at) + 2, lines.end() - lines.begin());
    EXPECT_EQ(at[0], "Gamma Parameters (for splitting HeavyFrac and heavier into C7 and heavier)");
    EXPECT_EQ(at[1], std::string(at[0].size(), '='));
    EXPECT_EQ(at[2], "Shape:  0.8,  Average:  1.05,  Bound:  0.95,  Origin:  1");
}

TEST_F(GammaKeys, OneNameSplitsIntoItself) {
    const CharzScript run("GAMMA\nSPLIT C7+\nEND\nGAMMA\nSHAPE 2\nEND\n");
    EXPECT_EQ(state.split_from, "C7+");
    EXPECT_EQ(state.split_to, "C7+");
    EXPECT_EQ(run.times("Gamma Parameters"), 2);  // the names stay
}

TEST_F(GammaKeys, AReplayBeginsFromTheDefaults) {
    CharzScript run("GAMMA\nSTORE first\nSHAPE 2\nEND\nGAMMA\nAVE RES first\nEND\nCONS MASS\n",
                    Mode::Deferred);
    EXPECT_EQ(state.current, GAMMA_GUESS);  // nothing acts while it is read
    for (int pass = 0; pass < 2; ++pass) {
        gamma_state().current[ORIGIN] = 0.5;  // as a regression leaves it
        gamma_state().split_from = gamma_state().split_to = "X";
        run.run_pass();
        EXPECT_EQ(state.current, (GammaValues{2.0, 1.0, 0.95, 1.0}));
        EXPECT_EQ(state.stored.size(), 1u);
        EXPECT_EQ(state.stored[0].second, GAMMA_GUESS);
        EXPECT_TRUE(state.split_to.empty());
        EXPECT_EQ(conserved_basis(), Conserved::Mass);
    }
}

TEST_F(GammaKeys, WordsThatAreNotItsOwnEndTheBlock) {
    CharzScript run("GAMMA\nSHAPE 2\nNONSENSE\nEND\n");
    EXPECT_TRUE(run.prints("Keyword \"NONSENSE\" not recognized in current context"));
    EXPECT_EQ(state.current[SHAPE], 2.0);
}

TEST_F(GammaKeys, ConserveChoosesTheBasis) {
    const CharzScript mass("CONSERVE MASS\n");
    EXPECT_EQ(conserved_basis(), Conserved::Mass);
    const CharzScript moles("CONS Moles\n");
    EXPECT_EQ(conserved_basis(), Conserved::Moles);
    const CharzScript wrong("CONS VOLUME\nCONS\n");
    EXPECT_EQ(conserved_basis(), Conserved::Moles);
    EXPECT_EQ(wrong.counts.errors, 2);
    EXPECT_TRUE(wrong.prints("One of the options, \"MASS\" or \"MOLES\", is required here."));
}

TEST_F(GammaKeys, RelativeValuesFollowTheFraction) {
    // Bound first, then the average against it, then the origin.
    EXPECT_EQ(absolute_gamma({1.0, 1.0, 0.95, 1.0}, 200.0),
              (GammaValues{1.0, 200.0, 190.0, 190.0}));
    EXPECT_EQ(absolute_gamma({1.0, 1.05, 0.95, 0.5}, 200.0),
              (GammaValues{1.0, 210.0, 190.0, 95.0}));
    EXPECT_EQ(absolute_gamma({2.0, 1.05, 90.0, 0.9}, 200.0), (GammaValues{2.0, 210.0, 90.0, 81.0}));
    EXPECT_EQ(absolute_gamma({2.0, 143.0, 90.0, 1.0}, 200.0),
              (GammaValues{2.0, 143.0, 90.0, 90.0}));
}

}  // namespace
}  // namespace kestrane
