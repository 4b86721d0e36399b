#include "equil/PVTCell.h"

#include <gtest/gtest.h>

#include <cmath>

#include "equil/SolverBench.h"
#include "frame/Errors.h"

namespace kestrane {
namespace {

using namespace fluids;

TEST(PVTCell, NoCharacterizationIsFatal) {
    TestCell test(c1_c4_c10());
    test.cell.set_charz(nullptr);
    test.flash(400.0, 50e5);
    EXPECT_TRUE(has_message(*test.errors, "No fluid characterization was ever defined"));
    EXPECT_EQ(test.errors->severity, FATAL_ERROR);
    EXPECT_EQ(test.cell.phase_count, 0);
    test.errors->Clear();
    test.cell.flash_with_k();
    EXPECT_FALSE(test.errors->usable());
}

TEST(PVTCell, EmptyFeedIsFatal) {
    TestCell test(c1_c4_c10());
    test.set_feed({0.0, 0.0, 0.0});
    test.flash(400.0, 50e5);
    EXPECT_TRUE(has_message(*test.errors, "The feed stream was empty (or never defined properly)"));
    EXPECT_EQ(test.errors->severity, FATAL_ERROR);
    EXPECT_EQ(test.cell.k, std::vector<double>(3, 1.0));
}

TEST(PVTCell, EmptyCharacterizationIsFatal) {
    TestCell test(c1_c4_c10());
    Charzation empty("empty");
    test.cell.set_charz(&empty);
    test.flash(400.0, 50e5);
    EXPECT_TRUE(has_message(*test.errors, "The fluid characterization contains no components"));
    EXPECT_EQ(test.cell.phase_count, 0);
}

TEST(PVTCell, SignificantNegativeAmountsAreAnError) {
    TestCell test(c1_c4_c10());
    test.set_feed({0.5, 0.5, -1e-20});
    EXPECT_TRUE(test.cell.prepare());
    EXPECT_TRUE(test.errors->empty());
    EXPECT_EQ(test.cell.feed->moles()[2], 0.0);
    test.set_feed({0.6, 0.5, -0.1});
    EXPECT_TRUE(test.cell.prepare());
    EXPECT_TRUE(has_message(
        *test.errors, "The feed stream held negative component amounts, which were reset to zero"));
    EXPECT_EQ(test.errors->severity, ERROR);
}

TEST(PVTCell, FractionsAndPercentagesPassAsNormalized) {
    TestCell test(c1_c4_c10());
    for (double total : {1.0, 100.0}) {
        test.set_feed({0.5 * total, 0.3 * total, 0.2 * total});
        EXPECT_TRUE(test.cell.prepare());
        EXPECT_TRUE(test.errors->empty());
        EXPECT_NEAR(test.cell.feed->moles()[1], 0.3, 1e-15);
    }
    test.set_feed({3.0, 2.0, 1.0});
    EXPECT_TRUE(test.cell.prepare());
    EXPECT_TRUE(has_message(*test.errors, "The feed stream was altered by normalization"));
    EXPECT_EQ(test.errors->severity, WARNING);
    EXPECT_EQ(test.cell.feed->total_moles(), 1.0);
}

TEST(PVTCell, StreamsHaveTheirLabels) {
    TestCell test(c1_c4_c10());
    Tank gas("gas", &test.charz);
    gas.assign_moles(std::vector<double>{7.0, 0.0, 0.0}, 1.0);
    double before = 0.0;
    EXPECT_TRUE(test.cell.prepare_stream(&gas, "injection", &before));
    EXPECT_EQ(before, 7.0);
    EXPECT_TRUE(has_message(*test.errors, "The injection stream was altered by normalization"));
    EXPECT_THROW(test.cell.prepare_stream(nullptr, "bounding"), LogicError);
}

TEST(PVTCell, AmountFollowsTheNormalization) {
    TestCell test(c1_c4_c10());
    test.set_feed({25.0, 20.0, 5.0});
    test.cell.amount = 3.0;
    test.cell.prepare();
    EXPECT_DOUBLE_EQ(test.cell.amount, 3.0 * 1.0 / 50.0);
    test.cell.prepare();
    EXPECT_DOUBLE_EQ(test.cell.amount, 3.0 * 1.0 / 50.0);
}

TEST(PVTCell, KValuesStayWithTheirCharacterization) {
    TestCell test(c1_c4_c10());
    test.flash(from_fahrenheit(280.0), from_psia(500.0));
    const std::vector<double> found = test.cell.ln_k;
    ASSERT_NE(found[0], 0.0);
    test.cell.prepare();
    EXPECT_EQ(test.cell.ln_k, found);
    const Charzation copy = test.charz;  // a serial number of its own
    test.cell.set_charz(const_cast<Charzation*>(&copy));
    EXPECT_EQ(test.cell.ln_k, std::vector<double>(3, 0.0));
    EXPECT_EQ(test.cell.k, std::vector<double>(3, 1.0));
}

TEST(PVTCell, GivenKOnBothSidesOfOneSplit) {
    // Two components: V from the lever rule of the K themselves,
    // x1 = (1 - K2)/(K1 - K2), V = (z1 - x1)/(K1 x1 - x1).
    Fluid fluid;
    fluid.components = {{"C1", 16.0, 190.6, 46e5, 0.008}, {"C10", 142.0, 617.6, 21.1e5, 0.49}};
    fluid.z = {0.6, 0.4};
    TestCell test(fluid);
    test.cell.temperature.value = 350.0;
    test.cell.pressure.value = 30e5;
    test.cell.prepare();
    test.cell.ln_k = {std::log(4.0), std::log(0.1)};
    test.cell.flash_with_k();
    const double x1 = 0.9 / 3.9, y1 = 4.0 * x1;
    EXPECT_EQ(test.cell.phase_count, 2);
    EXPECT_NEAR(test.cell.eq_liquid->moles()[0], x1, 1e-14);
    EXPECT_NEAR(test.cell.eq_vapor->moles()[0], y1, 1e-14);
    EXPECT_NEAR(test.cell.y_state.fraction, (0.6 - x1) / (y1 - x1), 1e-13);
    EXPECT_GT(test.cell.x_state.density, test.cell.y_state.density);
}

TEST(PVTCell, GivenKOnOneSideOfOneKeepOnePhaseAndTheK) {
    TestCell test(c1_c4_c10());
    test.cell.temperature.value = 400.0;
    test.cell.pressure.value = 30e5;
    test.cell.prepare();
    for (double sign : {1.0, -1.0}) {
        const std::vector<double> given = {sign * 2.0, sign * 1.0, sign * 0.5};
        test.cell.ln_k = given;
        test.cell.flash_with_k();
        EXPECT_EQ(test.cell.phase_count, 1);
        EXPECT_EQ(test.cell.y_state.fraction, sign > 0.0 ? 1.0 : 0.0);
        EXPECT_EQ(test.cell.x_state.fraction, sign > 0.0 ? 0.0 : 1.0);
        EXPECT_EQ(test.cell.ln_k, given);
        EXPECT_NEAR(test.cell.k[0], std::exp(sign * 2.0), 1e-14 * test.cell.k[0]);
    }
    test.cell.ln_k = {0.0, 0.0, 0.0};
    test.cell.flash_with_k();
    EXPECT_EQ(test.cell.phase_count, 0);
}

TEST(PVTCell, GivenKBeyondTheRangeAreHeldInside) {
    TestCell test(c1_c4_c10());
    test.cell.temperature.value = 400.0;
    test.cell.pressure.value = 30e5;
    test.cell.prepare();
    const double infinity = std::numeric_limits<double>::infinity();
    test.cell.ln_k = {infinity, 0.0, -infinity};  // K of infinity, 1 and 0
    test.cell.flash_with_k();
    EXPECT_TRUE(test.errors->empty());
    EXPECT_EQ(test.cell.phase_count, 2);
    EXPECT_NEAR(test.cell.eq_vapor->moles()[2], 0.0, 1e-300);
    test.cell.ln_k = {std::nan(""), 0.0, 1.0};  // the logarithm of a negative K
    test.cell.flash_with_k();
    EXPECT_LT(test.cell.phase_count, 2);
    // A flash from such values starts anew.
    test.cell.ln_k = {std::nan(""), 0.0, 1.0};
    test.flash(from_fahrenheit(280.0), from_psia(500.0));
    EXPECT_EQ(test.cell.phase_count, 2);
    EXPECT_NEAR(test.cell.y_state.fraction, 0.8534, 1e-3);
}

TEST(PVTCell, SavedConditionsComeBack) {
    TestCell test(comparative_project_oil());
    test.flash(344.0, 60e5);
    test.cell.depth.value = 2500.0;
    const double V = test.cell.y_state.fraction;
    const CellConditions saved = test.cell.save();
    EXPECT_EQ(saved.feed.name, "feed");
    const std::vector<double> ln_k = test.cell.ln_k;
    test.set_feed({0.9, 0.1, 0.0, 0.0, 0.0, 0.0});
    test.cell.depth.value = 0.0;
    test.flash(300.0, 1e5);
    test.cell.restore(saved);
    EXPECT_EQ(test.cell.temperature.value, 344.0);
    EXPECT_EQ(test.cell.pressure.value, 60e5);
    EXPECT_EQ(test.cell.depth.value, 2500.0);
    EXPECT_EQ(test.cell.feed->moles()[0], 0.5);
    EXPECT_EQ(test.cell.ln_k, ln_k);
    EXPECT_EQ(test.cell.phase_count, 2);
    EXPECT_EQ(test.cell.y_state.fraction, V);
}

TEST(PVTCell, RestoredTwoPhaseCellIsFlashedFromItsK) {
    TestCell test(comparative_project_oil());
    test.flash(344.0, 60e5);
    const double V = test.cell.y_state.fraction;
    const CellConditions saved = test.cell.save();
    test.flash(500.0, 1e5);
    test.cell.init_policy = INIT_STABILITY;
    test.cell.test1 = test.cell.test2 = TEST_ALWAYS;
    test.cell.restore_and_flash(saved, false);
    EXPECT_EQ(test.cell.phase_count, 2);
    EXPECT_NEAR(test.cell.y_state.fraction, V, 1e-12);
    EXPECT_LE(test.cell.eos_evaluations, 6) << "K-values at hand, no tests";
    EXPECT_EQ(test.cell.init_policy, INIT_STABILITY);
    EXPECT_EQ(test.cell.test1, TEST_ALWAYS);
    EXPECT_EQ(test.cell.test2, TEST_ALWAYS);
}

TEST(PVTCell, RestoredOnePhaseCellStaysOnePhase) {
    TestCell test(comparative_project_oil());
    test.flash(700.0, 1e5);
    ASSERT_EQ(test.cell.phase_count, 0);
    CellConditions saved = test.cell.save();
    saved.temperature.value = 344.0;  // where it would be two-phase
    saved.pressure.value = 60e5;
    saved.x_fraction = 1.0;
    saved.y_fraction = 0.0;
    test.cell.restore_and_flash(saved, false);
    EXPECT_LT(test.cell.phase_count, 2);
    EXPECT_EQ(test.cell.x_state.fraction, 1.0);
    EXPECT_EQ(test.cell.init_policy, INIT_PREVIOUS);
    test.cell.restore_and_flash(saved, true);
    EXPECT_EQ(test.cell.phase_count, 2) << "asked to try";
}

}  // namespace
}  // namespace kestrane
