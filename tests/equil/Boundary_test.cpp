// Boundaries between one phase and two, and energies of mixtures, judged by saturation pressures
// and by the textbook's equation.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "equil/GravityCheck.h"
#include "equil/SolverBench.h"

namespace kestrane {
namespace {

using namespace fluids;

const std::string NO_BOUNDARY = "No boundary could be found";

BoundaryLimit limit(double T, double P, PtrTo<Tank> mixture = {}) {
    return {{T, nullptr}, {P, nullptr}, std::move(mixture)};
}

bool two_phase(const CellConditions& state) {
    return state.phase_count >= 2;
}

TEST(Boundary, InPressureIsTheBubblePoint) {
    for (const Fluid& fluid : {gas_cap_oil(), comparative_project_oil(), volatile_oil()}) {
        TestCell test(fluid), judge(fluid);
        judge.cell.temperature.value = 366.0;
        ASSERT_TRUE(judge.cell.saturation(1));
        const double bubble = judge.cell.pressure.value;
        for (bool down : {true, false}) {
            CellConditions near, far;
            const BoundaryLimit high = limit(366.0, 500e5), low = limit(366.0, 50e5);
            ASSERT_TRUE(test.cell.boundary(down ? high : low, down ? low : high, near, far));
            EXPECT_NE(two_phase(near), two_phase(far));
            EXPECT_EQ(two_phase(near), !down);
            EXPECT_NEAR(near.pressure.value / bubble, 1.0, 1e-6);
            EXPECT_NEAR(far.pressure.value / bubble, 1.0, 1e-6);
            EXPECT_LE(std::abs(std::log(near.pressure.value / far.pressure.value)), 1e-7);
            // The bubble point lies between the two.
            EXPECT_LE((near.pressure.value - bubble) * (far.pressure.value - bubble), 0.0);
            EXPECT_EQ(test.cell.pressure.value, near.pressure.value);
            EXPECT_TRUE(test.errors->empty());
        }
    }
}

TEST(Boundary, InTemperature) {
    TestCell test(comparative_project_oil()), judge(comparative_project_oil());
    CellConditions near, far;
    ASSERT_TRUE(test.cell.boundary(limit(300.0, 160e5), limit(420.0, 160e5), near, far));
    EXPECT_NE(two_phase(near), two_phase(far));
    EXPECT_LE(std::abs(std::log(near.temperature.value / far.temperature.value)), 1e-7);
    judge.cell.temperature.value = near.temperature.value;
    ASSERT_TRUE(judge.cell.saturation(1));
    EXPECT_NEAR(judge.cell.pressure.value / 160e5, 1.0, 1e-6);
}

TEST(Boundary, InTemperatureAndPressureAtOnceLiesOnTheLine) {
    TestCell test(volatile_oil());
    CellConditions near, far;
    ASSERT_TRUE(test.cell.boundary(limit(350.0, 600e5), limit(450.0, 60e5), near, far));
    const double f = std::log(near.temperature.value / 350.0) / std::log(450.0 / 350.0);
    EXPECT_NEAR(std::log(near.pressure.value / 600e5) / std::log(60.0 / 600.0), f, 1e-12);
    EXPECT_NE(two_phase(near), two_phase(far));
}

TEST(Boundary, InMixture) {
    // Oil to oil with more methane at constant conditions, to the bubble point.
    TestCell test(comparative_project_oil()), judge(comparative_project_oil());
    PtrTo<Tank> rich = make_dyn<Tank>("rich", &test.charz);
    rich->assign_moles(std::vector<double>{2.4, 0.018, 0.042, 0.12, 0.09, 0.03}, 1.0);
    CellConditions near, far;
    ASSERT_TRUE(test.cell.boundary(limit(344.26, 250e5), limit(344.26, 250e5, rich), near, far));
    EXPECT_NE(two_phase(near), two_phase(far));
    EXPECT_NEAR(near.feed.moles()[0], far.feed.moles()[0], 5e-7);
    EXPECT_GT(near.feed.moles()[0], 0.5);
    judge.set_feed({near.feed.moles().begin(), near.feed.moles().end()});
    judge.cell.temperature.value = 344.26;
    ASSERT_TRUE(judge.cell.saturation(1));
    EXPECT_NEAR(judge.cell.pressure.value / 250e5, 1.0, 1e-5);
    // The mixture itself is left as it was.
    EXPECT_EQ(rich->moles()[0], 2.4);
}

TEST(Boundary, BetweenTwoStatesOfOneKindThereIsNone) {
    TestCell test(comparative_project_oil());
    CellConditions near, far;
    EXPECT_FALSE(test.cell.boundary(limit(344.26, 200e5), limit(344.26, 400e5), near, far));
    EXPECT_TRUE(has_message(*test.errors, NO_BOUNDARY));
    EXPECT_EQ(near.pressure.value, 200e5);
    EXPECT_EQ(far.pressure.value, 400e5);
    test.errors->Clear();
    // A single root and a choice of root, or a negative flash, are both one phase.
    EXPECT_FALSE(test.cell.boundary(limit(344.26, 161e5), limit(344.26, 2000e5), near, far));
    EXPECT_TRUE(has_message(*test.errors, NO_BOUNDARY));
    test.errors->Clear();
    EXPECT_FALSE(test.cell.boundary(limit(344.26, 20e5), limit(344.26, 100e5), near, far));
    EXPECT_TRUE(has_message(*test.errors, NO_BOUNDARY));
}

TEST(Boundary, NonphysicalLimitsAreFatal) {
    for (const auto& [a, b] : {std::pair{limit(344.0, 0.0), limit(344.0, 1e7)},
                               std::pair{limit(344.0, 1e7), limit(344.0, -1.0)},
                               std::pair{limit(-1.0, 1e7), limit(344.0, 1e7)},
                               std::pair{limit(UNSET, 1e7), limit(344.0, 1e7)}}) {
        TestCell test(comparative_project_oil());
        CellConditions near, far;
        EXPECT_FALSE(test.cell.boundary(a, b, near, far));
        EXPECT_FALSE(test.errors->usable());
    }
    TestCell test(comparative_project_oil());
    PtrTo<Tank> empty = make_dyn<Tank>("empty", &test.charz);
    CellConditions near, far;
    EXPECT_FALSE(test.cell.boundary(limit(344.0, 1e7), limit(344.0, 1e7, empty), near, far));
    EXPECT_TRUE(
        has_message(*test.errors, "The bounding stream was empty (or never defined properly)"));
}

/// sum x ln f/P of the textbook at one root, without the terms B linear in composition.
double textbook_gibbs(const Fluid& fluid, const std::vector<double>& x, double T, double P,
                      textbook::Root root) {
    const textbook::Mixture<long double> mixture(fluid, T);
    const auto phase = mixture.phase(P, std::vector<long double>(x.begin(), x.end()), root);
    double B = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) B += x[i] * covolume(fluid, i) * P / (8314.472 * T);
    return static_cast<double>(phase.gibbs) - B;
}

std::vector<double> blend(const std::vector<double>& a, const std::vector<double>& b, double f) {
    std::vector<double> x(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) x[i] = (1.0 - f) * a[i] + f * b[i];
    return x;
}

struct Injection {
    std::vector<double> gas;
    double T, P;
};
const Injection INJECTION{{0.9, 0.06, 0.02, 0.01, 0.006, 0.004}, 344.26, 5e5};

TEST(MixtureEnergies, GibbsEnergiesAreTheTextbooks) {
    const Fluid fluid = comparative_project_oil();
    TestCell test(fluid);
    test.cell.temperature.value = INJECTION.T;
    test.cell.pressure.value = INJECTION.P;
    Tank gas("gas", &test.charz);
    gas.assign_moles(INJECTION.gas, 5.0);
    constexpr int POINTS = 8;
    const auto rows = test.cell.gibbs(gas, POINTS);
    ASSERT_EQ(rows.size(), POINTS + 3u);
    EXPECT_EQ(rows[0].injected, 0.0);
    EXPECT_EQ(rows[1].injected, 1.0);
    int two = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const double expected =
            i < 2 ? static_cast<double>(i) : (static_cast<double>(i) - 2.0) / POINTS;
        EXPECT_EQ(rows[i].injected, expected);
        const std::vector<double> x = blend(fluid.z, INJECTION.gas, rows[i].injected);
        const double low = textbook_gibbs(fluid, x, INJECTION.T, INJECTION.P, textbook::Root::Low);
        const double high =
            textbook_gibbs(fluid, x, INJECTION.T, INJECTION.P, textbook::Root::High);
        EXPECT_NEAR(rows[i].low, low, 1e-11);
        EXPECT_NEAR(rows[i].high, high, 1e-11);
        EXPECT_EQ(rows[i].two_roots, std::abs(low - high) > 1e-9);
        two += rows[i].two_roots;
    }
    EXPECT_GT(two, 0);
    EXPECT_LT(two, static_cast<int>(rows.size()));
    // The feed is left flashed, and itself.
    EXPECT_NEAR(test.cell.feed->moles()[0], 0.5, 1e-15);
    EXPECT_EQ(test.cell.phase_count, 2);
}

TEST(MixtureEnergies, TangentDistancesAreTheTextbooks) {
    const Fluid fluid = comparative_project_oil();
    TestCell test(fluid);
    test.cell.temperature.value = INJECTION.T;
    test.cell.pressure.value = INJECTION.P;
    Tank gas("gas", &test.charz);
    gas.assign_moles(INJECTION.gas, 1.0);
    const auto rows = test.cell.tangent(gas, 20);
    ASSERT_EQ(rows.size(), 23u);
    const textbook::Mixture<long double> mixture(fluid, INJECTION.T);
    const auto at_feed =
        mixture.phase(INJECTION.P, std::vector<long double>(fluid.z.begin(), fluid.z.end()));
    double smallest = 1.0;
    for (const MixtureEnergy& row : rows) {
        const std::vector<double> x = blend(fluid.z, INJECTION.gas, row.injected);
        double plane = 0.0;
        for (std::size_t i = 0; i < x.size(); ++i)
            plane += x[i] * (std::log(fluid.z[i]) + static_cast<double>(at_feed.ln_phi[i]) -
                             covolume(fluid, i) * INJECTION.P / (8314.472 * INJECTION.T));
        for (const auto& [value, root] :
             {std::pair{row.low, textbook::Root::Low}, std::pair{row.high, textbook::Root::High}})
            EXPECT_NEAR(value, textbook_gibbs(fluid, x, INJECTION.T, INJECTION.P, root) - plane,
                        1e-11);
        smallest = std::min({smallest, row.low, row.high});
    }
    // Zero at the feed itself, below the plane at the gas it would set free.
    EXPECT_NEAR(std::min(rows[0].low, rows[0].high), 0.0, 1e-13);
    EXPECT_LT(smallest, -1e-3);
}

TEST(MixtureEnergies, WithoutPointsNothingIsCalculated) {
    TestCell test(comparative_project_oil());
    test.cell.temperature.value = 344.0;
    test.cell.pressure.value = 1e7;
    Tank gas("gas", &test.charz);
    gas.assign_moles(INJECTION.gas, 1.0);
    EXPECT_TRUE(test.cell.gibbs(gas, 0).empty());
    EXPECT_TRUE(test.errors->empty());
    EXPECT_EQ(test.cell.phase_count, 2);
}

TEST(MixtureEnergies, BadStreamsAndConditionsAreFatal) {
    TestCell test(comparative_project_oil());
    test.cell.temperature.value = 344.0;
    test.cell.pressure.value = 0.0;
    Tank gas("gas", &test.charz);
    gas.assign_moles(INJECTION.gas, 1.0);
    EXPECT_TRUE(test.cell.gibbs(gas, 5).empty());
    EXPECT_FALSE(test.errors->usable());
    test.errors->Clear();
    test.cell.pressure.value = 1e7;
    Tank empty("gas", &test.charz);
    EXPECT_TRUE(test.cell.tangent(empty, 5).empty());
    EXPECT_TRUE(
        has_message(*test.errors, "The injection stream was empty (or never defined properly)"));
}

}  // namespace
}  // namespace kestrane
