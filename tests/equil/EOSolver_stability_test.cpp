#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "equil/FlashCheck.h"
#include "equil/SolverBench.h"
#include "frame/Errors.h"

namespace kestrane {
namespace {

using namespace fluids;

/// Sum t (ln f(t) - ln f(x)) by the textbook's equation.
double tangent_distance(const SolverBench& bench, std::span<const double> t,
                        std::span<const double> x) {
    const auto ft = bench.ln_fugacity(t), fx = bench.ln_fugacity(x);
    double sum = 0.0;
    for (std::size_t i = 0; i < t.size(); ++i) sum += t[i] * (ft[i] - fx[i]);
    return sum;
}

double composition_distance(std::span<const double> a, std::span<const double> b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += std::abs(a[i] - b[i]);
    return sum;
}

/// One test of the feed from Wilson's estimate.
bool test_feed(SolverBench& bench, bool vapor_like, std::vector<double>& w, double& g) {
    w = bench.wilson();
    if (!vapor_like)
        for (double& w_i : w) w_i = -w_i;
    EOSolver& solver = *bench.solver;
    solver.trial().root = vapor_like ? 1 : -1;
    return solver.test(solver.feed(), solver.feed(), {}, solver.trial(), w, g, false);
}

TEST(EOSolver_stability, DistanceIsThatOfTheTrial) {
    for (double P : {20e5, 60e5, 140e5, 162e5, 168e5}) {
        SolverBench bench(comparative_project_oil(), 344.0, P);
        std::vector<double> w;
        double g = 0.0;
        ASSERT_TRUE(test_feed(bench, true, w, g)) << P;
        const auto t = bench.comps(bench.solver->trial());
        const auto& z = bench.cell.feed_fractions;
        const double expected = tangent_distance(bench, t, z);
        EXPECT_NEAR(g * composition_distance(t, z), expected, 1e-12);
        EXPECT_EQ(g < 0.0, P < from_psia(2303.0)) << "bubble point at 2303 psia";
        for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(w[i], std::log(t[i] / z[i]), 1e-12);
    }
}

TEST(EOSolver_stability, StablePointIsStationary) {
    // At a stationary point ln f(t) - ln f(z) is the same for all components.
    SolverBench bench(comparative_project_oil(), 344.0, 165e5);
    std::vector<double> w;
    double g = 0.0;
    ASSERT_TRUE(test_feed(bench, true, w, g));
    EXPECT_GT(g, 0.0);
    const auto ft = bench.ln_fugacity(bench.comps(bench.solver->trial()));
    const auto fz = bench.ln_fugacity(bench.cell.feed_fractions);
    // The test stops once the residual is below 3.1e-7 and the distance beyond doubt.
    for (std::size_t i = 1; i < 6; ++i) EXPECT_NEAR(ft[i] - fz[i], ft[0] - fz[0], 4e-7);
}

TEST(EOSolver_stability, TrialEqualToTheReferenceIsTrivial) {
    SolverBench bench(comparative_project_oil(), 344.0, 250e5);
    std::vector<double> w(6, 0.0);
    double g = 1.0;
    EOSolver& solver = *bench.solver;
    solver.trial().root = -1;
    EXPECT_FALSE(solver.test(solver.feed(), solver.feed(), {}, solver.trial(), w, g, false));
    EXPECT_EQ(g, 0.0);
    EXPECT_TRUE(bench.errors->empty());
}

TEST(EOSolver_stability, OutOfRangeIsAWarning) {
    SolverBench bench(c1_c4_c10(), 400.0, 50e5);
    std::vector<double> w = {500.0, 0.0, -500.0};
    double g = 1.0;
    EOSolver& solver = *bench.solver;
    solver.trial().root = 1;
    EXPECT_FALSE(solver.test(solver.feed(), solver.feed(), {}, solver.trial(), w, g, false));
    EXPECT_EQ(g, 0.0);
    EXPECT_TRUE(has_message(*bench.errors,
                            "K-Values went out of bounds during stability test calculations"));
    EXPECT_EQ(bench.errors->severity, WARNING);
}

TEST(EOSolver_stability, ConvergedPointStandsOnTheRootOfLeastEnergy) {
    // Decane with methanol, cold: the trial asked to be a vapor converges on the vapor root, where
    // the liquid root of the same composition lies lower; it is followed down.
    Fluid fluid;
    fluid.equation = textbook::Equation::SoaveRedlichKwong;
    fluid.components = {{"C10", 142.0, 617.6, 21.1e5, 0.49}, {"MeOH", 32.0, 512.6, 81e5, 0.564}};
    fluid.kij = pairs(2, {{1, 0, 0.178}});
    fluid.z = {0.885, 0.115};
    SolverBench bench(fluid, 241.3, 90.3e3);
    std::vector<double> w;
    double g = 0.0;
    ASSERT_TRUE(test_feed(bench, true, w, g));
    EXPECT_LT(g, 0.0);
    EXPECT_LT(bench.solver->trial().root, 0);
    EXPECT_EQ(bench.solver->test2_now, TEST_ALWAYS) << "two roots were seen";
    bench.flash(241.3, 90.3e3);
    EXPECT_EQ(bench.cell.phase_count, 2);
    EXPECT_TRUE(bench.errors->empty());
}

TEST(EOSolver_stability, TrialOnTheOtherRootMayPassTheReference) {
    // The vapor root's stationary point lies beyond the liquid feed: a step limit that keeps trial
    // and feed apart would halve for ever.
    Fluid fluid;
    fluid.equation = textbook::Equation::SoaveRedlichKwong;
    fluid.components = {{"C6", 86.0, 507.4, 30.1e5, 0.296}, {"MeOH", 32.0, 512.6, 81e5, 0.564}};
    fluid.kij = pairs(2, {{1, 0, -0.0052243292331695598}});
    fluid.z = {0.2566369206, 0.7433630794};
    TestCell test(fluid);
    test.flash(330.866787, 315995.15);
    EXPECT_LT(test.cell.phase_count, 2);
    EXPECT_TRUE(test.errors->empty());
    EXPECT_LT(test.cell.eos_evaluations, 60);
    expect_stable(test, {});
}

TEST(EOSolver_stability, VaporLikeFeedTestsALiquidOnly) {
    SolverBench bench(comparative_project_oil(), 700.0, 5e5);
    ASSERT_GT(bench.solver->feed().root, 0);
    StationaryList list(bench.solver->work(), 6);
    double g = 0.0;
    const int before = solver_statistics().stable_tests.calls +
                       solver_statistics().trivial_tests.calls +
                       solver_statistics().unstable_tests.calls;
    bench.solver->next_stationary_point(list, g);
    const int tests = solver_statistics().stable_tests.calls +
                      solver_statistics().trivial_tests.calls +
                      solver_statistics().unstable_tests.calls - before;
    EXPECT_EQ(tests, 1);
    EXPECT_EQ(list.flags & (TRIAL_VAPOR | TRIAL_LIQUID), 0);
}

TEST(EOSolver_stability, PointsComeLowestFirstAndOnce) {
    // The published ternary at 1500 psia is unstable to both trials, S = 1.0116 and 1.0169.
    SolverBench bench(c1_c4_c10(), from_fahrenheit(280.0), from_psia(1500.0));
    StationaryList list(bench.solver->work(), 3);
    double g = 0.0;
    ASSERT_TRUE(bench.solver->next_stationary_point(list, g));
    EXPECT_LT(g, 0.0);
    EXPECT_EQ(bench.solver->x().fraction, 1.0);
    EXPECT_EQ(bench.solver->y().fraction, 0.0);
    double last = g;
    int points = 1;
    while (bench.solver->next_stationary_point(list, g)) {
        if (g >= 0.0) {
            EXPECT_GE(g, last);
        }
        last = g;
        ++points;
    }
    EXPECT_GE(points, 2);
    EXPECT_LE(points, 4);
    bench.cell.current_init = INIT_NEVER;
    EXPECT_FALSE(bench.solver->next_stationary_point(list, g));
}

TEST(EOSolver_stability, ListHoldsFourDifferentPoints) {
    WorkStack work(8);
    StationaryList list(work, 2);
    const auto append = [&](double a, double b, double g) {
        list.append(std::vector<double>{a, b}, g);
    };
    append(1.0, -1.0, 0.5);
    append(1.0 + 0.9 * SPREAD_TRIVIAL, -1.0, -0.7);  // the same point
    EXPECT_EQ(list.count, 1u);
    append(1.0 + 1.1 * SPREAD_TRIVIAL, -1.0, -0.2);
    append(3.0, 0.0, -0.4);
    append(-3.0, 0.0, -0.4);
    EXPECT_EQ(list.count, 4u);
    EXPECT_EQ(list.nonnegative, 1u);
    EXPECT_EQ(list.best(), 2u) << "the first of equals";
    list.points[2].active = false;
    EXPECT_EQ(list.best(), 3u);
    EXPECT_THROW(append(9.0, 9.0, 0.0), LogicError);
    list.clear();
    EXPECT_EQ(list.best(), list.count);
}

TEST(EOSolver_stability, StableFeedIsOnePhase) {
    TestCell test(comparative_project_oil());
    test.always_test();
    test.flash(344.0, 900e5);
    EXPECT_LT(test.cell.phase_count, 2);
    EXPECT_TRUE(test.errors->empty());
    expect_stable(test, {});
}

TEST(EOSolver_stability, TieLineIsStableAgainstItsOwnPhases) {
    SolverBench bench(comparative_project_oil(), 344.0, 60e5);
    bench.start_at(bench.wilson());
    double G = 0.0;
    EOSolver& solver = *bench.solver;
    ASSERT_TRUE(solver.split(G));
    const std::vector<double> ln_k = bench.cell.ln_k;
    std::vector<double> w(6);
    int flags = TRIAL_VAPOR | TRIAL_LIQUID | TRIAL_BETWEEN | TRIAL_PURE;
    EXPECT_EQ(solver.third_phase_test(solver.x(), solver.y(), ln_k, solver.trial(), w, flags, true),
              0);
    EXPECT_EQ(flags, 0);
    // From next to Y: trivial, whichever phase it is measured from.
    for (bool swap : {false, true}) {
        w = ln_k;
        for (double& w_i : w) w_i *= 1.01;
        double g = 1.0;
        solver.trial().root = solver.y().root;
        EXPECT_FALSE(solver.test(solver.x(), solver.y(), ln_k, solver.trial(), w, g, swap));
        EXPECT_EQ(g, 0.0);
    }
}

TEST(EOSolver_stability, ThirdPhaseLiesBelowTheTieLine) {
    SolverBench bench(three_phase(), 260.0, 50e5);
    bench.start_at(bench.wilson());
    double G = 0.0;
    EOSolver& solver = *bench.solver;
    ASSERT_TRUE(solver.split(G));
    const std::vector<double> ln_k = bench.cell.ln_k;
    std::vector<double> w(3);
    int flags = TRIAL_VAPOR | TRIAL_LIQUID | TRIAL_BETWEEN | TRIAL_PURE;
    const int position =
        solver.third_phase_test(solver.x(), solver.y(), ln_k, solver.trial(), w, flags, true);
    EXPECT_EQ(position, 2);
    const auto t = bench.comps(solver.trial()), x = bench.comps(solver.x());
    EXPECT_LT(tangent_distance(bench, t, x), 0.0);
    EXPECT_GT(t[1], 0.8) << "the published third phase is rich in CO2";
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(w[i], std::log(t[i] / x[i]), 1e-12);
}

TEST(EOSolver_stability, LiquidsBesideANegativeFlash) {
    // The vapor-liquid tie-line of this feed ends just outside it, but the feed is two liquids.
    TestCell test(co2_rich());
    for (double P : {30e5, 38.5e5, 46e5}) {
        for (int policy : {INIT_PREVIOUS, INIT_WILSON, INIT_STABILITY}) {
            test.cell.init_policy = policy;
            test.forget();
            test.flash(221.036, P);
            // Two liquids at least; the lowest pressure is on the verge of a vapor.
            EXPECT_GE(test.cell.phase_count, 2) << P << ' ' << policy;
            expect_equilibrium(test);
        }
    }
    test.cell.init_policy = INIT_WILSON;
    test.cell.test2 = TEST_NEVER;
    test.flash(221.036, 38.5e5);
    EXPECT_EQ(test.cell.phase_count, 1) << "untested, a negative flash stands as it is";
}

TEST(EOSolver_stability, HeavyLiquidBesideANegativeFlash) {
    TestCell test(three_phase());
    test.set_feed({0.1373, 0.8525, 0.0102});
    test.flash(232.96, 43.68e5);
    EXPECT_GE(test.cell.phase_count, 2);
    expect_equilibrium(test);
}

TEST(EOSolver_stability, WaterSeparatesFromOil) {
    // Water is neither the lightest nor the heaviest here, so that no trial along the volatilities
    // comes near it.
    Fluid fluid;
    fluid.name = "oil with water";
    fluid.components = {{"C10", 142.0, 617.6, 21.1e5, 0.49},
                        {"H2O", 18.0, 647.3, 221.2e5, 0.344},
                        {"C1", 16.0, 190.6, 46e5, 0.008}};
    fluid.z = {0.6987, 0.0255, 0.2758};
    TestCell test(fluid);
    test.flash(273.4, 252.8e5);
    EXPECT_EQ(test.cell.phase_count, 2);
    expect_equilibrium(test);
    EXPECT_GT(std::max(test.cell.eq_liquid->moles()[1], test.cell.eq_vapor->moles()[1]), 0.95);
}

TEST(EOSolver_stability, PoliciesDecideWhatIsTested) {
    // A split that starts with K-values below the trivial spread is tested whatever TEST1 says; one
    // that collapses on the way only with TEST1.
    TestCell test(near_critical());
    const auto tests = [] {
        const SolverStatistics& s = solver_statistics();
        return s.trivial_tests.calls + s.stable_tests.calls + s.unstable_tests.calls;
    };
    test.cell.init_policy = INIT_WILSON;
    test.cell.test1 = test.cell.test2 = TEST_NEVER;
    int before = tests();
    test.flash(420.0, 1500e5);
    EXPECT_EQ(tests(), before);
    test.cell.test1 = TEST_SUSPECTED;
    test.flash(420.0, 1500e5);
    EXPECT_GT(tests(), before);
    test.cell.init_policy = INIT_PREVIOUS;
    test.cell.test1 = TEST_NEVER;
    test.forget();
    before = tests();
    test.flash(420.0, 1500e5);
    EXPECT_GT(tests(), before);
}

}  // namespace
}  // namespace kestrane
