// Saturation pressures, judged by flashes, by fugacities of the textbook's equation, by a scan of
// stability tests and by a search for compositions below the tangent plane.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "equil/AllocationCount.h"
#include "equil/FlashCheck.h"
#include "equil/SolverBench.h"

namespace kestrane {
namespace {

using namespace fluids;

const std::string ABOVE_LIMIT =
    "A saturation pressure (if one exists) could not be found\n"
    "because the upper search limit was still two-phase";
const std::string NONE_ABOVE =
    "A saturation pressure (if one exists) could not be found\n"
    "because no two-phase pressure could be found";
const std::string NONE_BELOW =
    "A dew-point pressure (if one exists) could not be found\n"
    "because no two-phase pressure could be found";
const std::string UNPROVED = "K-value convergence failed during saturation pressure calculations";

std::vector<Fluid> eight_fluids() {
    return {comparative_project_oil(), gas_condensate(), volatile_oil(), co2_rich(),
            near_critical(),           c1_c4_c10(),      three_phase(),  paraffins(12)};
}

/// A saturation pressure from scratch.
bool saturate(TestCell& test, double T, int sense, double start = UNSET) {
    test.errors->Clear();
    test.forget();
    test.cell.temperature.value = T;
    test.cell.pressure.value = start;
    return test.cell.saturation(sense);
}

double critical_temperature(const Fluid& fluid) {
    TestCell test(fluid);
    test.cell.critical_temperature();
    return test.cell.temperature.value;
}

/// Phases that the flash finds with all tests on.
int phases(TestCell& test, double T, double P) {
    test.always_test();
    test.forget();
    test.flash(T, P);
    return test.cell.phase_count >= 2 ? 2 : 1;
}

/// Largest difference of ln fugacities between the two phases of the cell.
double fugacity_error(TestCell& test) {
    const PVTCell& cell = test.cell;
    const std::span<const double> x = cell.eq_liquid->moles(), y = cell.eq_vapor->moles();
    // The textbook's Cardano formula loses the liquid root at the pressures of a vapor over frozen
    // oil, where z is 1e-10 and less; the program's own ln phi have to do there.
    const bool textbook_holds = cell.pressure.value > 1.0;
    const std::vector<double> own_x = own_ln_phi(test, x), own_y = own_ln_phi(test, y);
    const textbook::Mixture<long double> mixture(test.fluid, cell.temperature.value);
    const auto phase = [&](std::span<const double> w) {
        return mixture.phase(cell.pressure.value, std::vector<long double>(w.begin(), w.end()));
    };
    const auto X = phase(x), Y = phase(y);
    double worst = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double ln_ratio = std::log(x[i]) - std::log(y[i]);
        worst = std::max(worst, std::abs(own_x[i] - own_y[i] + ln_ratio));
        if (textbook_holds)
            worst = std::max(worst,
                             std::abs(static_cast<double>(X.ln_phi[i] - Y.ln_phi[i]) + ln_ratio));
    }
    return worst;
}

/// The first pressure from P on (up for sense +1, down for -1) where a stability test finds the
/// feed unstable; 0 if there is none to the limit.
double unstable_beyond(TestCell& test, double T, double P, int sense, double step) {
    // Far below any dew point the vapor is ideal.
    const double last = sense > 0 ? P_HIGH_LIMIT : 1e-4 * P;
    for (P *= sense > 0 ? step : 1.0 / step; sense > 0 ? P <= last : P >= last;
         P *= sense > 0 ? step : 1.0 / step) {
        if (phases(test, T, P) == 2) return P;
    }
    return 0.0;
}

/// What is known of one pressure asked for.
struct Case {
    double T;
    int sense;
    double P = 0.0;
};

class SaturationGrid : public testing::TestWithParam<std::size_t> {};

void expect_boundary(TestCell& judge, const Case& at) {
    EXPECT_EQ(phases(judge, at.T, at.P * (1.0 - 1e-3 * at.sense)), 2) << "inside";
    EXPECT_EQ(phases(judge, at.T, at.P * (1.0 + 1e-3 * at.sense)), 1) << "outside";
}

void expect_nothing_beyond(TestCell& judge, const Case& at) {
    EXPECT_EQ(unstable_beyond(judge, at.T, at.P, at.sense, 1.3), 0.0);
    // By other equations, from random compositions too, at a few places.
    for (const double factor : {1.001, 3.0}) {
        judge.cell.temperature.value = at.T;
        judge.cell.pressure.value = at.sense > 0 ? at.P * factor : at.P / factor;
        if (judge.cell.pressure.value < 1.0) continue;
        expect_stable(judge, {2, 60, 1e-9});
    }
}

void expect_no_two_phases(TestCell& judge, double T) {
    for (double P = 1e3; P < P_HIGH_LIMIT; P *= 1.05)
        EXPECT_EQ(phases(judge, T, P), 1) << "missed at " << P;
}

/// Of the 92 pressures asked for; more than 500 are found over the eight fluids.
constexpr int LEAST_FOUND = 63;

TEST_P(SaturationGrid, PressuresAreBoundariesOfTheSideAskedFor) {
    const Fluid fluid = eight_fluids()[GetParam()];
    const double Tc = critical_temperature(fluid);
    TestCell test(fluid), judge(fluid);
    ASSERT_TRUE(judge.cell.prepare());
    int found = 0;
    for (int step = 0; step <= 45; ++step) {
        for (int sense : {1, -1}) {
            Case at{Tc * (0.4 + 0.02 * step), sense};
            SCOPED_TRACE(fluid.name + " at " + std::to_string(at.T) + " K, sense " +
                         std::to_string(sense));
            const bool ok = saturate(test, at.T, sense);
            at.P = test.cell.pressure.value;
            if (!ok) {
                ASSERT_EQ(test.errors->entries.size(), 1u);
                if (has_message(*test.errors, ABOVE_LIMIT))
                    EXPECT_EQ(phases(judge, at.T, P_HIGH_LIMIT), 2);
                else
                    expect_no_two_phases(judge, at.T);
                continue;
            }
            ++found;
            EXPECT_LE(fugacity_error(test), 1e-10);
            EXPECT_EQ(test.cell.phase_count, 2);
            EXPECT_EQ(test.cell.x_state.fraction * test.cell.y_state.fraction, 0.0);
            expect_boundary(judge, at);
            if (has_message(*test.errors, ABOVE_LIMIT))
                EXPECT_EQ(phases(judge, at.T, P_HIGH_LIMIT), 2);
            else
                expect_nothing_beyond(judge, at);
        }
    }
    EXPECT_GE(found, LEAST_FOUND) << fluid.name;
}

INSTANTIATE_TEST_SUITE_P(EightFluids, SaturationGrid, testing::Range<std::size_t>(0, 8));

/// Any composition, traces and all but pure ones included: a pressure is a boundary of its side, or
/// the result says that it could not be proved.
TEST(Saturation, RandomFeedsHaveTheirBoundaries) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> uniform(1e-9, 1.0);
    int found = 0;
    for (const Fluid& fluid : eight_fluids()) {
        TestCell test(fluid), judge(fluid);
        for (int trial = 0; trial < 15; ++trial) {
            std::vector<double> z(fluid.n());
            for (double& amount : z)
                amount = std::pow(-std::log(uniform(random)), 1 + 3 * (trial % 4));
            normalize(z);
            test.set_feed(z);
            judge.set_feed(z);
            ASSERT_TRUE(judge.cell.prepare());
            test.cell.average_critical_temperature();
            const double T = test.cell.temperature.value * (0.45 + 0.9 * uniform(random));
            SCOPED_TRACE(fluid.name + ", trial " + std::to_string(trial));
            const bool lower = saturate(test, T, -1);
            const double P_lower = test.cell.pressure.value;
            if (!saturate(test, T, +1)) {
                EXPECT_FALSE(test.errors->empty());
                if (!has_message(*test.errors, ABOVE_LIMIT)) {
                    EXPECT_FALSE(lower);
                }
                continue;
            }
            ++found;
            const double P = test.cell.pressure.value;
            EXPECT_TRUE(lower);
            EXPECT_LE(P_lower, P);
            if (!has_message(*test.errors, UNPROVED)) {
                EXPECT_LE(fugacity_error(test), 1e-10);
            }
            EXPECT_EQ(phases(judge, T, 1.001 * P), 1);
            // What is all but pure has both boundaries closer together than the step inside.
            if (P_lower < 0.998 * P) {
                EXPECT_EQ(phases(judge, T, 0.999 * P), 2);
            }
        }
    }
    EXPECT_GE(found, 60);
}

TEST(Saturation, ComparativeProjectOilHasItsPublishedBubblePoint) {
    TestCell test(comparative_project_oil());
    const double published = from_psia(2302.3);
    for (double start : {UNSET, 1e5, 1e7, 5e7, 1e9}) {
        ASSERT_TRUE(saturate(test, from_fahrenheit(160.0), +1, start));
        EXPECT_NEAR(test.cell.pressure.value, published, 1e-3 * published);
        EXPECT_TRUE(test.errors->empty());
    }
    // A bubble point: the feed is the liquid.
    EXPECT_EQ(test.cell.x_state.fraction, 1.0);
    EXPECT_EQ(test.cell.y_state.fraction, 0.0);
}

TEST(Saturation, GasCondensateHasItsPublishedDewPoint) {
    TestCell test(gas_condensate());
    // The book's calculation puts 186 F at 646 R; between 3530 and 3540 psia.
    ASSERT_TRUE(saturate(test, 646.0 / 1.8, +1));
    EXPECT_NEAR(test.cell.pressure.value, from_psia(3535.0), from_psia(5.0));
    EXPECT_TRUE(test.errors->empty());
    EXPECT_EQ(test.cell.x_state.fraction, 0.0) << "the feed is the vapor";
    const double upper = test.cell.pressure.value;
    ASSERT_TRUE(saturate(test, 646.0 / 1.8, -1));
    EXPECT_LT(test.cell.pressure.value, 1e-3 * upper) << "the lower branch";
    EXPECT_EQ(test.cell.x_state.fraction, 0.0);
}

TEST(Saturation, ResultDoesNotDependOnTheStart) {
    for (const Fluid& fluid : {gas_condensate(), near_critical(), volatile_oil()}) {
        TestCell test(fluid);
        const double Tc = critical_temperature(fluid);
        for (double T : {0.7 * Tc, 0.95 * Tc, 1.05 * Tc}) {
            for (int sense : {1, -1}) {
                ASSERT_TRUE(saturate(test, T, sense));
                const double P = test.cell.pressure.value;
                for (double start : {1.0, 1e4, 1e6, 1e7, 1e8, 1e9, 2.0 * P_HIGH_LIMIT}) {
                    ASSERT_TRUE(saturate(test, T, sense, start)) << fluid.name << ' ' << start;
                    // Ill-conditioned by the slope of the distance in ln P, which is near 1.
                    EXPECT_NEAR(test.cell.pressure.value, P, 1e-9 * P);
                }
            }
        }
    }
}

TEST(Saturation, RepeatsToTheLastDigit) {
    TestCell test(volatile_oil());
    ASSERT_TRUE(saturate(test, 400.0, +1));
    const double P = test.cell.pressure.value;
    const std::vector<double> k = test.cell.k;
    ASSERT_TRUE(saturate(test, 400.0, +1));
    EXPECT_EQ(test.cell.pressure.value, P);
    EXPECT_EQ(test.cell.k, k);
}

/// Along a fine walk through the critical point the upper branch goes from bubble to dew points
/// without a jump, and meets the lower one at the cricondentherm.
TEST(Saturation, BranchesAreContinuousThroughTheCriticalPoint) {
    TestCell test(near_critical());
    double P_before = 0.0, slope = 0.0, last_gap = 1.0;
    bool bubble = true;
    int changes = 0;
    for (double T = 380.0; T < 520.0; T += 0.25) {
        SCOPED_TRACE(T);
        if (!saturate(test, T, +1)) break;
        const double P = test.cell.pressure.value;
        // The boundary bends by less than a percent of itself in a quarter of a kelvin, but at the
        // cricondentherm it turns back.
        if (slope != 0.0 && T < 480.0) {
            EXPECT_NEAR(P, P_before + slope, 0.01 * P);
        }
        slope = P_before > 0.0 ? P - P_before : 0.0;
        P_before = P;
        if (!has_message(*test.errors, UNPROVED)) {
            EXPECT_TRUE(test.errors->empty());
            EXPECT_LE(fugacity_error(test), 1e-10);
        }
        const bool is_bubble = test.cell.x_state.fraction == 1.0;
        changes += is_bubble != bubble;
        bubble = is_bubble;
        ASSERT_TRUE(saturate(test, T, -1));
        EXPECT_EQ(test.cell.x_state.fraction, 0.0) << "the lower branch holds dew points only";
        EXPECT_LT(test.cell.pressure.value, P);
        last_gap = 1.0 - test.cell.pressure.value / P;
    }
    EXPECT_EQ(changes, 1) << "one critical point";
    EXPECT_FALSE(bubble);
    EXPECT_LT(last_gap, 0.3) << "the branches close";
}

/// So near the critical point that ln K spread over less than what makes two phases to a flash, no
/// stationary point can be followed; the result is proved by the critical point's series.
TEST(Saturation, AtTheCriticalPointTheResultIsProved) {
    TestCell test(near_critical()), judge(near_critical());
    for (double T = 417.0; T < 418.0; T += 0.02) {
        SCOPED_TRACE(T);
        ASSERT_TRUE(saturate(test, T, +1));
        EXPECT_TRUE(test.errors->empty());
        expect_boundary(judge, {T, +1, test.cell.pressure.value});
        EXPECT_LE(fugacity_error(test), 1e-10);
    }
}

TEST(Saturation, PureComponentsHaveTheirVaporPressure) {
    TestCell test(c1_c4_c10());
    test.set_feed({0.0, 1.0, 0.0});
    const double Tc = test.charz.comps[1].tc;
    for (double Tr : {0.4, 0.6, 0.8, 0.95, 0.999}) {
        for (int sense : {1, -1}) {
            ASSERT_TRUE(saturate(test, Tr * Tc, sense)) << Tr;
            EXPECT_TRUE(test.errors->empty());
            const PVTCell& cell = test.cell;
            EXPECT_EQ(cell.phase_count, 2);
            EXPECT_LT(cell.x_state.z_factor, cell.y_state.z_factor);
            EXPECT_EQ(cell.k, std::vector<double>(3, 1.0));
            const textbook::Mixture<long double> mixture(test.fluid, Tr * Tc);
            const std::vector<long double> pure{0.0L, 1.0L, 0.0L};
            const long double P = cell.pressure.value;
            const auto liquid = mixture.phase(P, pure, textbook::Root::Low);
            const auto vapor = mixture.phase(P, pure, textbook::Root::High);
            EXPECT_NEAR(static_cast<double>(liquid.ln_phi[1] - vapor.ln_phi[1]), 0.0, 1e-12);
        }
    }
}

TEST(Saturation, ASupercriticalPureComponentHasNone) {
    TestCell test(c1_c4_c10());
    test.set_feed({1.0, 0.0, 0.0});
    EXPECT_FALSE(saturate(test, 300.0, +1, 5e6));
    EXPECT_TRUE(has_message(*test.errors, NONE_ABOVE));
    EXPECT_FALSE(saturate(test, 300.0, -1, 5e6));
    EXPECT_TRUE(has_message(*test.errors, NONE_BELOW));
    EXPECT_EQ(test.cell.pressure.value, 5e6);
    EXPECT_EQ(test.cell.phase_count, 0);
}

TEST(Saturation, AGasWithoutDewPointStaysAtItsPressure) {
    TestCell test(near_critical());
    test.set_feed({0.9, 0.1, 0.0, 0.0, 0.0, 0.0});
    EXPECT_FALSE(saturate(test, 350.0, -1, 7e6));
    EXPECT_TRUE(has_message(*test.errors, NONE_BELOW));
    EXPECT_EQ(test.errors->severity, WARNING);
    EXPECT_EQ(test.cell.pressure.value, 7e6);
    EXPECT_EQ(test.cell.phase_count, 0);
    EXPECT_EQ(test.cell.k, std::vector<double>(6, 1.0));
    const double density = test.cell.feed_state.density;
    test.flash(350.0, 7e6);
    EXPECT_DOUBLE_EQ(test.cell.feed_state.density, density);
    EXPECT_FALSE(saturate(test, 350.0, +1, 7e6));
    EXPECT_TRUE(has_message(*test.errors, NONE_ABOVE));
}

TEST(Saturation, ATwoPhaseFluidAtTheUpperLimitIsReported) {
    TestCell test(three_phase());
    EXPECT_FALSE(saturate(test, 280.0, +1, 5e6));
    EXPECT_TRUE(has_message(*test.errors, ABOVE_LIMIT));
    EXPECT_EQ(test.errors->entries.size(), 1u);
    EXPECT_EQ(test.cell.pressure.value, 5e6);
    // The lower side of the same fluid is found.
    EXPECT_TRUE(saturate(test, 280.0, -1, 5e6));
    EXPECT_TRUE(test.errors->empty());
}

/// Above the vapor-liquid region this oil is one phase, and far above it two liquids up to any
/// pressure. The bubble point stands, with the warning that nothing bounds the feed above.
TEST(Saturation, ABoundaryBelowASecondRegionIsKeptWithAWarning) {
    TestCell test(co2_rich()), judge(co2_rich());
    for (double start : {UNSET, 1e5, 2e7}) {
        ASSERT_TRUE(saturate(test, 299.0, +1, start));
        EXPECT_TRUE(has_message(*test.errors, ABOVE_LIMIT));
        EXPECT_LT(test.cell.pressure.value, 2e7);
        expect_boundary(judge, {299.0, +1, test.cell.pressure.value});
    }
}

/// A vapor and two liquids: the tie-line that the first stationary point leads to ends inside the
/// two-liquid region, which is bounded above by another incipient phase.
TEST(Saturation, AnIncipientThirdPhaseIsFollowedOutward) {
    TestCell test(three_phase()), judge(three_phase());
    for (double T = 300.0; T < 340.0; T += 4.0) {
        SCOPED_TRACE(T);
        if (!saturate(test, T, +1, 1e5)) {
            EXPECT_TRUE(has_message(*test.errors, ABOVE_LIMIT));
            continue;
        }
        EXPECT_LE(fugacity_error(test), 1e-10);
        expect_boundary(judge, {T, +1, test.cell.pressure.value});
    }
}

TEST(Saturation, TwinsChangeNothing) {
    // Splitting a component into identical halves leaves the fluid what it was.
    Fluid twin = c1_c4_c10();
    twin.components.push_back(twin.components[1]);
    twin.components.back().name = "C4b";
    twin.z = {0.5, 0.21, 0.08, 0.21};
    TestCell one(c1_c4_c10()), two(twin);
    for (int sense : {1, -1}) {
        ASSERT_TRUE(saturate(one, 400.0, sense));
        ASSERT_TRUE(saturate(two, 400.0, sense));
        EXPECT_NEAR(two.cell.pressure.value, one.cell.pressure.value,
                    1e-10 * one.cell.pressure.value);
    }
}

TEST(Saturation, IdenticalComponentsAreOne) {
    Fluid twin = c1_c4_c10();
    twin.components = {twin.components[1], twin.components[1]};
    twin.components[1].name = "C4b";
    twin.z = {0.5, 0.5};
    twin.kij.clear();
    TestCell test(twin), pure(c1_c4_c10());
    pure.set_feed({0.0, 1.0, 0.0});
    ASSERT_TRUE(saturate(test, 350.0, +1));
    ASSERT_TRUE(saturate(pure, 350.0, +1));
    EXPECT_NEAR(test.cell.pressure.value, pure.cell.pressure.value,
                1e-12 * pure.cell.pressure.value);
}

TEST(Saturation, AbsentComponentsDoNotMatter) {
    TestCell test(volatile_oil());
    std::vector<double> z = test.fluid.z;
    z[1] = z[10] = 0.0;
    normalize(z);
    test.set_feed(z);
    Fluid reduced = volatile_oil();
    for (std::size_t gone : {std::size_t{10}, std::size_t{1}}) {
        const auto at = static_cast<std::ptrdiff_t>(gone);
        reduced.components.erase(reduced.components.begin() + at);
        z.erase(z.begin() + at);
        reduced.kij.erase(reduced.kij.begin() + at);
        for (auto& row : reduced.kij) row.erase(row.begin() + at);
    }
    reduced.z = z;
    TestCell fewer(reduced);
    for (int sense : {1, -1}) {
        ASSERT_TRUE(saturate(test, 380.0, sense));
        ASSERT_TRUE(saturate(fewer, 380.0, sense));
        EXPECT_NEAR(test.cell.pressure.value, fewer.cell.pressure.value,
                    1e-10 * fewer.cell.pressure.value);
    }
}

TEST(Saturation, NonphysicalTemperatureIsFatal) {
    TestCell test(c1_c4_c10());
    EXPECT_FALSE(saturate(test, -5.0, +1, 1e5));
    EXPECT_EQ(test.errors->severity, FATAL_ERROR);
    EXPECT_FALSE(saturate(test, UNSET, -1, 1e5));
    EXPECT_FALSE(test.errors->usable());
}

TEST(Saturation, WithoutPressureOrResultTheCellKeepsNone) {
    TestCell test(near_critical());
    test.set_feed({0.9, 0.1, 0.0, 0.0, 0.0, 0.0});
    EXPECT_FALSE(saturate(test, 350.0, +1));
    EXPECT_EQ(test.cell.pressure.value, UNSET);
    EXPECT_EQ(test.cell.feed_state.z_factor, 1.0);
    EXPECT_EQ(test.cell.phase_count, 0);
}

TEST(Saturation, ExtremeTemperaturesEnd) {
    for (const Fluid& fluid : eight_fluids()) {
        TestCell test(fluid);
        for (double T : {1e-3, 1.0, 20.0, 1e4, 1e8}) {
            for (int sense : {1, -1}) {
                saturate(test, T, sense);
                EXPECT_TRUE(test.errors->usable()) << fluid.name << ' ' << T;
                if (T > 1e3) {
                    EXPECT_FALSE(test.errors->empty());
                }
            }
        }
    }
}

TEST(Saturation, PoliciesAndMessageSwitchesAreAsBefore) {
    TestCell test(gas_condensate());
    test.cell.init_policy = INIT_WILSON;
    test.cell.test1 = TEST_TRIVIAL;
    test.cell.test2 = TEST_NEVER;
    EXPECT_TRUE(saturate(test, 360.0, +1));
    EXPECT_EQ(test.cell.init_policy, INIT_WILSON);
    EXPECT_EQ(test.cell.test1, TEST_TRIVIAL);
    EXPECT_EQ(test.cell.test2, TEST_NEVER);
    EXPECT_TRUE(test.errors->warnings_on && test.errors->errors_on);
}

TEST(Saturation, WithoutTwoPhaseCalculationsTheFeedIsOneComponent) {
    TestCell test(c1_c4_c10());
    test.cell.init_policy = INIT_NEVER;
    ASSERT_TRUE(saturate(test, 300.0, +1));
    const double P = test.cell.pressure.value;
    test.cell.vapor_pressure();
    EXPECT_EQ(test.cell.pressure.value, P);
    EXPECT_EQ(test.cell.phase_count, 2);
}

TEST(Saturation, TheNewtonIterationTellsTheSide) {
    SolverBench bench(comparative_project_oil(), 344.26, 1e7);
    std::vector<double> w = bench.wilson();
    const WorkStack::Frame frame(bench.solver->work());
    StationaryList list(bench.solver->work(), 6);
    double g = 0.0;
    ASSERT_TRUE(bench.solver->next_stationary_point(list, g));
    w = bench.cell.ln_k;
    ASSERT_LT(g, 0.0);
    EXPECT_EQ(bench.solver->saturation_newton(bench.solver->trial(), w, +1), SATURATION_FOUND);
    EXPECT_NEAR(bench.cell.pressure.value, from_psia(2302.3), from_psia(2.3));
    // The vapor that leads to the bubble point does not lead to the dew point.
    EXPECT_EQ(bench.solver->saturation_newton(bench.solver->trial(), w, -1), SATURATION_NONE);
}

TEST(Saturation, DoesNotAllocate) {
    TestCell test(comparative_project_oil());
    saturate(test, 340.0, +1);
    test.cell.errors->Clear();
    ASSERT_TRUE(test.cell.prepare());
    EOSolver solver(test.cell);
    for (double start : {1e5, 1e7, 1e8}) {
        test.cell.pressure.value = start;
        const AllocationCount allocations;
        EXPECT_TRUE(solver.saturation(+1));
        EXPECT_EQ(allocations.made(), 0);
    }
}

TEST(Saturation, StatisticsCountTheNewtonIterations) {
    const SolverStatistics& statistics = solver_statistics();
    const int trivial = statistics.trivial_satps.calls;
    const int nontrivial = statistics.nontrivial_satps.calls;
    const int rounds = statistics.nontrivial_satps.sum[COUNT_ROUNDS];
    TestCell test(comparative_project_oil());
    ASSERT_TRUE(saturate(test, 344.0, +1));
    EXPECT_GT(statistics.nontrivial_satps.calls, nontrivial);
    EXPECT_GE(statistics.nontrivial_satps.sum[COUNT_ROUNDS], rounds + 3);
    EXPECT_GE(statistics.nontrivial_satps.largest[COUNT_NEWTON], 1);
    EXPECT_GE(statistics.trivial_satps.calls, trivial);
    EXPECT_EQ(statistics.trivial_satps.name, "Trivial SatPs");
    EXPECT_EQ(statistics.nontrivial_satps.name, "Nontrivial SatPs");
}

TEST(Saturation, VaporPressureLeavesBothRoots) {
    TestCell test(c1_c4_c10());
    test.cell.temperature.value = 300.0;
    test.cell.pressure.value = 1e3;
    test.cell.vapor_pressure();
    const PVTCell& cell = test.cell;
    EXPECT_EQ(cell.phase_count, 2);
    EXPECT_EQ(cell.x_state.root, -2);
    EXPECT_EQ(cell.y_state.root, 2);
    EXPECT_EQ(cell.feed_state.root, 2) << "the pressure rose, so the feed was vapor";
    EXPECT_EQ(cell.y_state.fraction, 1.0);
    EXPECT_GT(cell.x_state.density, cell.y_state.density);
    EXPECT_EQ(cell.feed_state.density, cell.y_state.density);
    EXPECT_EQ(cell.k, std::vector<double>(3, 1.0));
    EXPECT_DOUBLE_EQ(cell.eq_liquid->moles()[0], 0.5);
    test.cell.pressure.value = 1e9;
    test.cell.vapor_pressure();
    EXPECT_EQ(cell.y_state.fraction, 0.0) << "it fell";
    EXPECT_EQ(cell.feed_state.root, -2);
    // Equal Gibbs energies of the two roots, by the textbook.
    const textbook::Mixture<long double> mixture(test.fluid, 300.0);
    const std::vector<long double> z{0.5L, 0.42L, 0.08L};
    const long double P = cell.pressure.value;
    EXPECT_NEAR(static_cast<double>(mixture.phase(P, z, textbook::Root::Low).gibbs -
                                    mixture.phase(P, z, textbook::Root::High).gibbs),
                0.0, 1e-12);
}

TEST(Saturation, VaporPressureAboveTheCriticalIsOnePhase) {
    TestCell test(c1_c4_c10());
    test.cell.temperature.value = 800.0;
    test.cell.pressure.value = 1e3;
    test.cell.vapor_pressure();
    EXPECT_EQ(test.cell.phase_count, 1);
    EXPECT_EQ(test.cell.y_state.fraction, 1.0);
    EXPECT_EQ(test.cell.x_state.z_factor, test.cell.y_state.z_factor);
    EXPECT_GT(test.cell.pressure.value, 1e3);
}

}  // namespace
}  // namespace kestrane
