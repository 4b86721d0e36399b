// How an experiment ends: what the fitter gets, and what the cell keeps, whichever way.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "expt/ExptRun.h"
#include "regress/DriverRun.h"

namespace kestrane {
namespace {

constexpr double BAR = 1e5;

/// Three stages with a measured saturation pressure, two columns and a blank cell: six residuals.
const std::string MEASURED =
    "SATP 100 BAR\n" + aligned({"PRES BAR|RV|GMF", "50|2|0.3", "40|3", "30|4|0.5"});
constexpr double RESIDUALS = 6.0;

std::string with_equation(const std::string& eos) {
    std::string fluid = OIL;
    return fluid.replace(fluid.find("NAME"), 0, "EOS " + eos + "\n");
}

/// Checks that all residuals are there, and that all of them say "not calculated".
void expect_missing_results(ExptRun<PVTzEXPA>& run, int severity) {
    EXPECT_TRUE(run.rows().empty());
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), RESIDUALS);
    EXPECT_EQ(run.setting.lab.sum_of_squares(), RESIDUALS * 9999.0 * 9999.0);
    EXPECT_EQ(run.setting.lab.errors().severity, severity) << run.problems();
}

TEST(ExptEndings, AWholeRunGivesThatManyResiduals) {
    ExptRun<PVTzEXPA> run(OIL, MEASURED);
    EXPECT_EQ(run.rows().size(), 3u);
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), RESIDUALS);
    EXPECT_LT(run.setting.lab.sum_of_squares(), 9999.0 * 9999.0);
}

TEST(ExptEndings, NoFluidGivesAllResiduals) {
    ExptRun<PVTzEXPA> none("TEMP 350 K\nPRES 100 BAR\n", MEASURED);
    expect_missing_results(none, FATAL_ERROR);
    ExptRun<PVTzEXPA> empty(LIGHT_FLUID + "TEMP 350 K\nPRES 100 BAR\n", MEASURED);
    expect_missing_results(empty, FATAL_ERROR);
}

// An equation without fugacities finds no second phase: there is no basis at a saturation pressure,
// and one phase at any other.
TEST(ExptEndings, AnEquationThatCalculatesNothingGivesAllResiduals) {
    ExptRun<PVTzEXPA> none(with_equation("SCHMIDT"), MEASURED);
    expect_missing_results(none, ERROR);
    ExptRun<PVTzEXPA> one_phase(with_equation("SCHMIDT") + "PRES 100 BAR\n", MEASURED);
    EXPECT_EQ(one_phase.setting.lab.sum_of_squared_weights(), RESIDUALS);
}

// The stages before the one that fails are compared as they are.
TEST(ExptEndings, AStageThatFailsLeavesTheEarlierOnes) {
    const std::string block = aligned({"PRES BAR|MI MOL|RV", "50|0|2", "40|1|3", "30|1|4"});
    ExptRun<PVTzEXPA> failed(OIL + "PRES 100 BAR\n", block);
    ExptRun<PVTzEXPA> whole(OIL + "PRES 100 BAR\nQMIX INJ C1 1\n", block);
    ASSERT_EQ(failed.rows().size(), 1u);
    ASSERT_EQ(whole.rows().size(), 3u);
    const double e = (whole.rows()[0].relative_volume_1 - 2.0) * 100.0 / 4.0;
    EXPECT_NEAR(failed.setting.lab.sum_of_squares(), e * e + 2 * 9999.0 * 9999.0, 1e-6);
    EXPECT_EQ(failed.setting.lab.sum_of_squared_weights(),
              whole.setting.lab.sum_of_squared_weights());
}

// Nothing stands behind the line of the basis.
TEST(ExptEndings, AnEmptyTableIsNoFault) {
    for (const char* head : {"PRES BAR\n", ""}) {
        const LabRun run(OIL + "PRES 100 BAR\nCCE\n" + head + "END\n");
        EXPECT_FALSE(run.stopped);
        EXPECT_EQ(run.counts.errors + run.counts.warnings, 0) << run.report();
        EXPECT_TRUE(run.lab.residuals().empty());
        std::string report = run.report();
        report.erase(report.find_last_not_of(" \n") + 1);
        EXPECT_TRUE(report.ends_with("Basis: 1 mol at 350 K and 100 bar")) << report;
    }
}

TEST(ExptEndings, ATableWithNothingMeasuredHasNoResiduals) {
    const LabRun run(OIL + "PRES 100 BAR\nCCE\n" + aligned({"PRES BAR|RV|GZ", "50", "30"}));
    EXPECT_TRUE(run.lab.residuals().empty());
    EXPECT_TRUE(run.reports("Calc")) << run.report();
    EXPECT_FALSE(run.reports("RMS")) << run.report();
}

// Less than the basis volume is in the cell above the saturation pressure: it all stays.
TEST(ExptEndings, ADepletionAboveSaturationTakesNothingOut) {
    ExptRun<PVTzCVDG> run(CONDENSATE, aligned({"PRES BAR", "600", "500", "50"}));
    ASSERT_EQ(run.rows().size(), 3u) << run.problems();
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_LT(run.rows()[i].volume_1, run.experiment.basis_volume);
        EXPECT_EQ(run.rows()[i].removed_moles, 0.0);
        EXPECT_EQ(run.rows()[i].moles_2, run.rows()[i].moles_1);
    }
    EXPECT_GT(run.rows()[2].removed_moles, 0.0);
    EXPECT_NEAR(run.rows()[2].volume_2 / run.experiment.basis_volume, 1.0, 1e-10);
}

/// Two experiments of a script, one behind the other.
const std::string STUDY = OIL + "PRES 100 BAR\nCCE\n" + MEASURED +
                          "QMIX FEED C1 0.5 C3 0.2 N-C10 0.3\nPRES 0 BAR\nCVD\n" + MEASURED;

/// The residuals of one more evaluation.
std::vector<double> residuals_again(DriverRun& run, EvaluationMode mode) {
    run.lab.evaluateNow(run.reader(), run.lab.errors(), mode);
    return {run.lab.residuals().begin(), run.lab.residuals().end()};
}

TEST(ExptReplay, EveryEvaluationGivesTheSameResiduals) {
    DriverRun run(STUDY);
    ASSERT_EQ(run.counts.errors, 0) << run.report();
    const std::vector<double> first(run.lab.residuals().begin(), run.lab.residuals().end());
    ASSERT_EQ(first.size(), 2 * RESIDUALS);
    for (const double e : first) EXPECT_LT(std::abs(e), 9999.0);
    EXPECT_EQ(first, residuals_again(run, EvaluationMode::Final));
    EXPECT_EQ(first, residuals_again(run, EvaluationMode::First));
}

TEST(ExptReplay, AnEvaluationThatPrintsNothingGivesThemToo) {
    DriverRun run(STUDY);
    const std::vector<double> first(run.lab.residuals().begin(), run.lab.residuals().end());
    const std::string report = run.report();
    run.lab.evaluate(run.reader(), run.lab.errors(), EvaluationMode::Jacobian);
    // Those of the silent evaluation stand behind the first ones.
    EXPECT_EQ(run.lab.pending_residuals(), 2 * first.size());
    EXPECT_EQ(run.report(), report);
    EXPECT_EQ(first, residuals_again(run, EvaluationMode::Final));
}

TEST(ExptReplay, AFailedExperimentRepeatsItself) {
    ExptRun<PVTzEXPA> run(with_equation("SCHMIDT"), MEASURED);
    run.setting.lab.errors().Clear();
    run.run();
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 2 * RESIDUALS);
    EXPECT_EQ(run.setting.lab.sum_of_squares(), 2 * RESIDUALS * 9999.0 * 9999.0);
}

/// Policies unlike the cell's own.
void set_policies(PVTCell& cell) {
    cell.init_policy = INIT_WILSON;
    cell.test1 = TEST_SUSPECTED;
    cell.test2 = TEST_ALWAYS;
    cell.third_phase_severity = NO_PROBLEM;
}

void expect_policies(const PVTCell& cell) {
    EXPECT_EQ(cell.init_policy, INIT_WILSON);
    EXPECT_EQ(cell.test1, TEST_SUSPECTED);
    EXPECT_EQ(cell.test2, TEST_ALWAYS);
    EXPECT_EQ(cell.third_phase_severity, NO_PROBLEM);
}

TEST(ExptPolicies, ComeBackAfterTheLastStage) {
    ExptRun<PVTzDFLG> run(OIL, aligned({"PRES BAR|SATP2 BAR|SATP BAR", "50", "30"}));
    set_policies(run.setting.lab.cell());
    run.run();
    EXPECT_EQ(run.rows().size(), 2u) << run.problems();
    expect_policies(run.setting.lab.cell());
}

TEST(ExptPolicies, ComeBackWhereTheExperimentHasNoBasis) {
    for (const std::string& fluid : {with_equation("SCHMIDT"), LIGHT_FLUID + "TEMP 350 K\n",
                                     LIGHT_FLUID + "TEMP 350 K\nPRES 100 BAR\n"}) {
        ExptRun<PVTzEXPA> run(fluid, MEASURED);
        set_policies(run.setting.lab.cell());
        run.setting.lab.errors().Clear();
        run.run();
        EXPECT_TRUE(run.rows().empty());
        expect_policies(run.setting.lab.cell());
        EXPECT_EQ(run.setting.lab.cell().errors.get(), &run.setting.lab.errors());
    }
}

TEST(ExptPolicies, ComeBackAfterAStageThatFails) {
    ExptRun<PVTzEXPA> run(OIL + "PRES 100 BAR\n", aligned({"PRES BAR|MI MOL", "50|0", "40|1"}));
    set_policies(run.setting.lab.cell());
    run.setting.lab.errors().Clear();
    run.run();
    EXPECT_EQ(run.rows().size(), 1u);
    expect_policies(run.setting.lab.cell());
}

// The limit is reached when the problems of the stages are reported.
TEST(ExptPolicies, ComeBackWhenTooManyErrorsEndTheRun) {
    std::string block = "PRES BAR\n";
    for (int stage = 0; stage < 5; ++stage) block += "-1\n";
    LabRun run(OIL + "PRES 100 BAR\nCCE\n" + block + "END\n");
    ASSERT_FALSE(run.stopped) << run.report();
    set_policies(run.lab.cell());
    run.counts.errorLimit = run.counts.errors + 1;
    EXPECT_THROW(run.repeat_last(), FatalError);
    expect_policies(run.lab.cell());
    EXPECT_EQ(run.lab.cell().errors.get(), &run.lab.errors());
}

TEST(ExptPolicies, ComeBackWhenALumpDoesNotFit) {
    ExptRun<PVTzEXPA> run(
        LIGHT_FLUID + "LUMP C1-3 C1 C3\nQMIX FEED C1 0.5 C3 0.2 N-C10 0.3\nTEMP 350 K\n",
        aligned({"PRES BAR|Z-C1-3", "50"}));
    ASSERT_EQ(run.rows().size(), 1u) << run.problems();
    Charzation& charz = *run.setting.lab.current(nullptr);
    auto wrong = make_dyn<Lump>(*charz.lumps[0]);
    wrong->fractions.pop_back();
    charz.lumps[0] = wrong;
    set_policies(run.setting.lab.cell());
    EXPECT_THROW(run.run(), BadLump);
    expect_policies(run.setting.lab.cell());
}

TEST(ExptLumps, OneThatDoesNotFitIsNoMatterWithoutAColumn) {
    ExptRun<PVTzEXPA> run(
        LIGHT_FLUID + "LUMP C1-3 C1 C3\nQMIX FEED C1 0.5 C3 0.2 N-C10 0.3\nTEMP 350 K\n",
        aligned({"PRES BAR|RV", "50"}));
    Charzation& charz = *run.setting.lab.current(nullptr);
    auto wrong = make_dyn<Lump>(*charz.lumps[0]);
    wrong->fractions.push_back(1.0);
    charz.lumps[0] = wrong;
    EXPECT_NO_THROW(run.run());
    EXPECT_EQ(run.rows().size(), 1u);
}

/// The saturation pressure that a guess leads to, Pa.
double guessed_saturation(const std::string& fluid, double guess) {
    const std::string words =
        guess > 0.0 ? " GUESS " + std::to_string(guess / BAR) + " BAR" : std::string();
    ExptRun<PVTzEXPA> run(fluid, "SATP 100 BAR" + words + "\nPRES BAR\n 50\nEND\n");
    EXPECT_EQ(run.rows().size(), 1u) << run.problems();
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 1.0);
    EXPECT_EQ(run.experiment.guess.value > 0.0, guess > 0.0);
    // One bar of difference is one percent, and the pressure is above what was measured.
    return (100.0 + std::sqrt(run.setting.lab.sum_of_squares())) * BAR;
}

// A retrograde gas has two dew points. What is looked for is the upper one, wherever the search
// begins: above both, between them, or below.
TEST(ExptGuess, EveryBranchLeadsToTheUpperDewPoint) {
    LabRun upper(CONDENSATE + "SATP\n"), lower(CONDENSATE + "PRES 0.1 BAR\nDEWP\n");
    const double high = upper.lab.cell().pressure.value, low = lower.lab.cell().pressure.value;
    ASSERT_GT(high, 110.0 * BAR);
    ASSERT_LT(low, 0.5 * high);
    for (const double guess : {0.0, 0.5 * low, low, 1.1 * low, 3.0 * low, 0.5 * high, 0.98 * high,
                               1.02 * high, 1.5 * high, 4.0 * high})
        EXPECT_NEAR(guessed_saturation(CONDENSATE, guess) / high, 1.0, 1e-7) << guess / BAR;
}

TEST(ExptGuess, WordsOfTheSaturationPressureMayStandOnLaterLines) {
    ExptRun<PVTzEXPA> run(OIL,
                          "BUBP 100 BAR\nWEIGHT 2\nGUESS 80 BAR\n"
                          "ID \"On four lines\"\nPRES BAR\n 50\nEND\n");
    EXPECT_EQ(run.problems(), "");
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 4.0);
    EXPECT_DOUBLE_EQ(run.experiment.guess.value, 80.0 * BAR);
    EXPECT_NE(run.report().find("On four lines"), std::string::npos) << run.report();
    ExptRun<PVTzEXPA> same_line(OIL, "BUBP 100 BAR GUESS 80 BAR WT 2\nPRES BAR\n 50\nEND\n");
    EXPECT_EQ(same_line.setting.lab.sum_of_squares(), run.setting.lab.sum_of_squares());
}

// The calculated pressure is printed in it, and there is no residual.
TEST(ExptGuess, AUnitWithoutANumberIsOfTheReport) {
    ExptRun<PVTzEXPA> run(OIL, "SATP psia\nWGT 3\nPRES BAR\n 50\nEND\n");
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 0.0);
    EXPECT_EQ(run.experiment.saturation_weight, 3.0);
    EXPECT_NE(run.report().find(" psia\n"), std::string::npos) << run.report();
    EXPECT_EQ(run.rows().size(), 1u);
}

/// An expansion of two stages with a column of names.
std::string named(const std::string& column, const std::string& first, const std::string& second) {
    return OIL + "PRES 100 BAR\nCCE\n" +
           aligned(
               {("PRES BAR|" + column).c_str(), ("50|" + first).c_str(), ("30|" + second).c_str()});
}

// A phase of the cell under a column of phases is linked: each stage keeps its own copy.
TEST(ExptNames, APhaseOfTheCellIsKeptForEachStage) {
    LabRun run(named("EQL", "EQL", "EQL"));
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_FALSE(run.reports("mixture name")) << run.report();
    auto* first = run.lab.mixtures.find("EQL_Expt_001_Stg_001");
    auto* second = run.lab.mixtures.find("EQL_Expt_001_Stg_002");
    ASSERT_TRUE(first && second);
    ExptRun<PVTzEXPA> plain(OIL + "PRES 100 BAR\n", aligned({"PRES BAR", "50", "30"}));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR((*first)->moles()[i], plain.rows()[0].x[i], 1e-12);
        EXPECT_NEAR((*second)->moles()[i], plain.rows()[1].x[i], 1e-12);
    }
    // The phase itself is still the cell's.
    EXPECT_EQ(run.lab.find_mixture("EQL").get(), run.lab.cell().eq_liquid.get());
}

// What is kept is the phase of the column, whichever of the cell's phases the name is.
TEST(ExptNames, TheColumnDecidesWhichPhaseIsKept) {
    LabRun run(named("NFV", "EQL", "EQL"));
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_FALSE(run.reports("mixture name")) << run.report();
    auto* kept = run.lab.mixtures.find("NFV_Expt_001_Stg_002");
    ASSERT_TRUE(kept);
    ExptRun<PVTzEXPA> plain(OIL + "PRES 100 BAR\n", aligned({"PRES BAR", "50", "30"}));
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR((*kept)->moles()[i], plain.rows()[1].y[i], 1e-12);
}

TEST(ExptNames, APhaseOfTheCellIsNoNameForAFeed) {
    for (const char* column : {"FEED", "FEED1", "FEED2"}) {
        const LabRun run(named(column, "RICH", "EQL"));
        EXPECT_TRUE(run.stopped) << column;
        EXPECT_TRUE(run.reports("Illegal mixture name \"EQL\" for storing a fluid at stage 2"))
            << run.report();
    }
}

TEST(ExptNames, ReservedWordsAreNoNamesForPhases) {
    for (const char* word : {"FEED", "INJ", "MOLES", "TANK"}) {
        const LabRun run(named("EQV", "RICH", word));
        EXPECT_TRUE(run.stopped) << word;
        EXPECT_TRUE(run.reports("Illegal mixture name \"" + std::string(word) + "\"")) << word;
    }
}

}  // namespace
}  // namespace kestrane
