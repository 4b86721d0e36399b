#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "equil/FlashCheck.h"
#include "equil/SolverBench.h"

namespace kestrane {
namespace {

using namespace fluids;

/// Residual of equal fugacities by the textbook's equation, and of the material balance.
void expect_tie_line(const SolverBench& bench) {
    const auto x = bench.comps(bench.solver->x()), y = bench.comps(bench.solver->y());
    const auto fX = bench.ln_fugacity(x), fY = bench.ln_fugacity(y);
    const double L = bench.solver->x().fraction, V = bench.solver->y().fraction;
    for (std::size_t i = 0; i < x.size(); ++i) {
        // The split stops at 1e-13 and better; two programs' rounding of ln phi adds a few 1e-14.
        EXPECT_NEAR(fX[i], fY[i], 1e-11);
        EXPECT_NEAR(L * x[i] + V * y[i], bench.cell.feed_fractions[i], 1e-13);
    }
    EXPECT_NEAR(std::accumulate(x.begin(), x.end(), 0.0), 1.0, 1e-12);
    EXPECT_NEAR(std::accumulate(y.begin(), y.end(), 0.0), 1.0, 1e-12);
}

TEST(EOSolver_split, EnergyIsThatOfThePhasesLessTheFeeds) {
    struct State {
        Fluid fluid;
        double T, P;
    };
    for (const State& state :
         {State{comparative_project_oil(), 344.0, 60e5}, State{gas_condensate(), 359.0, 150e5},
          State{near_critical(), 350.0, 120e5}}) {
        SolverBench bench(state.fluid, state.T, state.P);
        bench.start_at(bench.wilson());
        double G = 0.0;
        ASSERT_TRUE(bench.solver->split(G));
        expect_tie_line(bench);
        const double L = bench.solver->x().fraction, V = bench.solver->y().fraction;
        EXPECT_GT(L * V, 0.0);
        const double expected = L * bench.gibbs(bench.comps(bench.solver->x())) +
                                V * bench.gibbs(bench.comps(bench.solver->y())) -
                                bench.gibbs(bench.cell.feed_fractions);
        EXPECT_LT(G, 0.0);
        EXPECT_NEAR(G, expected, 1e-12 * std::max(1.0, std::abs(expected)));
    }
}

TEST(EOSolver_split, NegativeFlashSolvesTheTieLineOutside) {
    // A quarter above the bubble point of the oil (2303 psia at 160 F).
    SolverBench bench(comparative_project_oil(), from_fahrenheit(160.0), from_psia(3000.0));
    bench.start_at(bench.wilson());
    double G = 0.0;
    ASSERT_TRUE(bench.solver->split(G));
    EXPECT_NEAR(bench.solver->y().fraction, -0.249, 1e-3);
    EXPECT_EQ(G, 0.0) << "outside, the split has no energy";
    expect_tie_line(bench);
}

TEST(EOSolver_split, NegativeFlashReportsTheFeedAndKeepsTheTieLine) {
    TestCell test(comparative_project_oil());
    test.flash(from_fahrenheit(160.0), from_psia(3000.0));
    const PVTCell& cell = test.cell;
    EXPECT_EQ(cell.phase_count, 1);
    const double V = cell.y_state.fraction;
    EXPECT_LT(V, 0.0);
    EXPECT_NEAR(cell.x_state.fraction + V, 1.0, 1e-15);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(cell.eq_liquid->moles()[i], cell.feed->moles()[i]);
        EXPECT_EQ(cell.eq_vapor->moles()[i], cell.feed->moles()[i]);
        EXPECT_NEAR((1.0 - V) * cell.nf_liquid->moles()[i] + V * cell.nf_vapor->moles()[i],
                    cell.feed->moles()[i], 1e-13);
    }
    EXPECT_NE(cell.k[0], 1.0);
}

TEST(EOSolver_split, EqualKAreTrivialAndAskForATest) {
    SolverBench bench(comparative_project_oil(), 344.0, 60e5);
    bench.solver->test1_now = TEST_NEVER;
    std::vector<double> close(6, 0.0);
    close[0] = 0.9 * SPREAD_TRIVIAL;  // a spread below it is one phase
    bench.start_at(close);
    double G = 1.0;
    EXPECT_FALSE(bench.solver->split(G));
    EXPECT_EQ(G, 0.0);
    EXPECT_EQ(bench.solver->test1_now, TEST_TRIVIAL);
    EXPECT_TRUE(bench.errors->empty());
}

TEST(EOSolver_split, LnKOutOfRangeIsAnErrorAndOnePhase) {
    for (double extreme : {800.0, std::nan("")}) {
        SolverBench bench(c1_c4_c10(), 400.0, 50e5);
        bench.start_at(std::vector<double>{extreme, 0.0, -extreme});
        double G = 1.0;
        EXPECT_FALSE(bench.solver->split(G));
        EXPECT_EQ(G, 0.0);
        EXPECT_TRUE(has_message(*bench.errors,
                                "K-Values went out of bounds during phase split calculations"));
        EXPECT_EQ(bench.errors->severity, ERROR);
        EXPECT_EQ(bench.solver->test1_now, TEST_TRIVIAL);
    }
}

TEST(EOSolver_split, KAllOnOneSideOfOneAreMadeToStraddleIt) {
    // The same ratios, shifted: a flash gives the shift up, by the split or by its stability test.
    SolverBench bench(comparative_project_oil(), 344.0, 60e5);
    const std::vector<double> wilson = bench.wilson();
    bench.flash(344.0, 60e5);
    const double V = bench.cell.y_state.fraction;
    for (double shift : {-30.0, -12.0, 12.0, 25.0}) {
        bench.cell.ln_k = wilson;
        for (double& ln_k : bench.cell.ln_k) ln_k += shift;
        bench.flash(344.0, 60e5);
        EXPECT_EQ(bench.cell.phase_count, 2) << shift;
        EXPECT_NEAR(bench.cell.y_state.fraction, V, 1e-11) << shift;
        EXPECT_TRUE(bench.errors->empty());
    }
}

TEST(EOSolver_split, StableFeedCollapses) {
    // Far above the two-phase region no K-values hold.
    for (double P : {600e5, 1500e5}) {
        SolverBench bench(near_critical(), 420.0, P);
        bench.start_at(bench.wilson());
        double G = 1.0;
        EXPECT_FALSE(bench.solver->split(G));
        EXPECT_EQ(G, 0.0);
        EXPECT_TRUE(bench.errors->empty());
    }
}

TEST(EOSolver_split, SolutionDoesNotDependOnTheStart) {
    const Fluid fluid = gas_condensate();
    SolverBench reference(fluid, 359.0, 150e5);
    reference.start_at(reference.wilson());
    double G = 0.0;
    ASSERT_TRUE(reference.solver->split(G));
    const double V = reference.solver->y().fraction;
    for (double stretch : {0.2, 0.5, 3.0}) {
        for (double L : {0.0, 0.5, 1.0, -3.0}) {
            SolverBench bench(fluid, 359.0, 150e5);
            std::vector<double> start = bench.wilson();
            for (double& ln_k : start) ln_k *= stretch;
            bench.start_at(start, L);
            double G_other = 0.0;
            ASSERT_TRUE(bench.solver->split(G_other));
            EXPECT_NEAR(bench.solver->y().fraction, V, 1e-11);
            EXPECT_NEAR(G_other, G, 1e-13);
        }
    }
}

TEST(EOSolver_split, ReversedKGiveTheSameTieLineReversed) {
    SolverBench bench(comparative_project_oil(), 344.0, 60e5), reversed(bench.fluid, 344.0, 60e5);
    bench.start_at(bench.wilson());
    std::vector<double> start = reversed.wilson();
    for (double& ln_k : start) ln_k = -ln_k;
    reversed.start_at(start);
    double G = 0.0, G_reversed = 0.0;
    ASSERT_TRUE(bench.solver->split(G));
    ASSERT_TRUE(reversed.solver->split(G_reversed));
    EXPECT_NEAR(G, G_reversed, 1e-13);
    EXPECT_NEAR(bench.solver->x().fraction, reversed.solver->y().fraction, 1e-12);
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_NEAR(bench.cell.ln_k[i], -reversed.cell.ln_k[i], 1e-11);
}

TEST(EOSolver_split, ConvergedKAreConfirmedAtOnce) {
    SolverBench bench(comparative_project_oil(), 344.0, 60e5);
    bench.start_at(bench.wilson());
    double G = 0.0;
    ASSERT_TRUE(bench.solver->split(G));
    const double V = bench.solver->y().fraction;
    bench.cell.eos_evaluations = 0;
    ASSERT_TRUE(bench.solver->split(G));
    EXPECT_LE(bench.cell.eos_evaluations, 4);
    EXPECT_NEAR(bench.solver->y().fraction, V, 1e-13);
}

TEST(EOSolver_split, StatisticsCountByOutcome) {
    SolverStatistics& statistics = solver_statistics();
    const int two = statistics.two_phase_splits.calls;
    const int negative = statistics.negative_splits.calls;
    const int trivial = statistics.trivial_splits.calls;
    double G = 0.0;
    for (double psia : {1000.0, 3000.0}) {
        SolverBench bench(comparative_project_oil(), from_fahrenheit(160.0), from_psia(psia));
        bench.solver->split(G);  // from K = 1
        bench.start_at(bench.wilson());
        bench.solver->split(G);
    }
    EXPECT_EQ(statistics.two_phase_splits.calls, two + 1);
    EXPECT_EQ(statistics.negative_splits.calls, negative + 1);
    EXPECT_EQ(statistics.trivial_splits.calls, trivial + 2);
    EXPECT_LE(statistics.two_phase_splits.largest[COUNT_ROUNDS],
              statistics.two_phase_splits.sum[COUNT_ROUNDS]);
    EXPECT_GT(statistics.two_phase_splits.largest[COUNT_NEWTON], 0);
}

TEST(EOSolver_split, StaleKLeadToThePhasesOfTheState) {
    // K-values left by any state of a list, for every other state: phases and amounts must be
    // those found from K = 1.
    for (const Fluid& fluid : {comparative_project_oil(), near_critical(), gas_condensate()}) {
        TestCell stale(fluid), fresh(fluid);
        const std::pair<double, double> states[] = {{250.0, 5e5},   {300.0, 60e5}, {360.0, 150e5},
                                                    {360.0, 260e5}, {450.0, 20e5}, {450.0, 120e5},
                                                    {520.0, 1e5},   {300.0, 400e5}};
        for (const auto& from : states)
            for (const auto& to : states) {
                stale.flash(from.first, from.second);
                stale.flash(to.first, to.second);
                fresh.forget();
                fresh.flash(to.first, to.second);
                EXPECT_EQ(stale.cell.phase_count > 1, fresh.cell.phase_count > 1)
                    << fluid.name << ' ' << from.first << ' ' << from.second << " to " << to.first
                    << ' ' << to.second;
                if (fresh.cell.phase_count < 2) continue;
                EXPECT_NEAR(stale.cell.y_state.fraction, fresh.cell.y_state.fraction, 1e-9);
            }
    }
}

TEST(EOSolver_split, StaleKOfAnotherMixture) {
    TestCell test(comparative_project_oil());
    const std::vector<double> gas = {0.9, 0.05, 0.03, 0.02, 0.0, 0.0};
    test.flash(344.0, 60e5);
    test.set_feed(gas);
    test.flash(344.0, 60e5);
    const double V = test.cell.y_state.fraction;
    const int phases = test.cell.phase_count;
    test.forget();
    test.flash(344.0, 60e5);
    EXPECT_EQ(test.cell.phase_count > 1, phases > 1);
    EXPECT_NEAR(test.cell.y_state.fraction, V, 1e-9);
}

TEST(EOSolver_split, SearchForATieLineThatDoesNotExistIsNoProblem) {
    // Beside the stable pair of this three-phase state, the split of trial and vapor is negative
    // and finds no tie-line in 200 rounds; that is no doubt about the result.
    Fluid fluid = gas_condensate();
    const auto named = [&fluid](const std::string& name) {
        return *std::ranges::find(fluid.components, name, &Component::name);
    };
    fluid.components = {named("F4"), named("nC4"), named("F5")};
    fluid.z = {0.21197390360101726, 0.60919858628867352, 0.1788275101103092};
    fluid.kij = pairs(
        3,
        {{1, 0, 0.11846655784375038}, {2, 0, 0.14415325998806264}, {2, 1, 0.063467302118117186}});
    TestCell test(fluid);
    test.always_test();
    test.cell.third_phase_severity = 0;
    test.flash(303.94769448265316, 23063121.312804233);
    EXPECT_TRUE(test.errors->empty());
    EXPECT_GE(test.cell.phase_count, 2);
    expect_equilibrium(test);
}

TEST(EOSolver_split, StartingPolicyMayForbidSplits) {
    TestCell test(comparative_project_oil());
    test.cell.init_policy = INIT_NEVER;
    test.flash(344.0, 60e5);
    EXPECT_LT(test.cell.phase_count, 2);
    EXPECT_EQ(test.cell.eos_evaluations, 0);
    test.cell.init_policy = INIT_WILSON;
    test.flash(344.0, 60e5);
    EXPECT_EQ(test.cell.phase_count, 2);
}

}  // namespace
}  // namespace kestrane
