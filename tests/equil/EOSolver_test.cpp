#include "equil/EOSolver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "equil/AllocationCount.h"
#include "equil/SW_EOS.h"
#include "equil/SolverBench.h"

namespace kestrane {
namespace {

using namespace fluids;

constexpr double R = 8314.472;  // Pa m3/(kmol K)

/// One pure substance, propane.
Fluid propane() {
    Fluid fluid;
    fluid.name = "propane";
    fluid.components = {{"C3", 44.097, 369.8, 42.5e5, 0.153}};
    fluid.z = {1.0};
    return fluid;
}

TEST(EOSolver, FeedFractionsAreWeighted) {
    SolverBench bench(c1_c4_c10(), 400.0, 50e5);
    Tank injection("gas", &bench.charz);
    injection.assign_moles(std::vector<double>{1.0, 0.0, 0.0}, 1.0);
    bench.solver->set_feed(&injection, 3.0, 1.0);
    const std::vector<double>& z = bench.cell.feed_fractions;
    EXPECT_DOUBLE_EQ(z[0], (3.0 * 0.5 + 1.0) / 4.0);
    EXPECT_DOUBLE_EQ(z[1], 3.0 * 0.42 / 4.0);
    EXPECT_DOUBLE_EQ(z[2], 3.0 * 0.08 / 4.0);
    bench.solver->set_feed(&injection, 0.0, 2.0);
    EXPECT_EQ(z[0], 1.0);
    EXPECT_EQ(z[1], TINY_AMOUNT);
    EXPECT_EQ(bench.cell.current_init, INIT_NEVER) << "one component is left";
    bench.solver->set_feed(&injection, 1.0, 0.0);
    EXPECT_EQ(z[2], bench.cell.feed->moles()[2]);
}

TEST(EOSolver, PseudoCriticalTemperatureIsKaysByTcOverPc) {
    SolverBench bench(c1_c4_c10(), 400.0, 50e5);
    double above = 0.0, below = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& c = bench.fluid.components[i];
        above += bench.fluid.z[i] * c.Tc * c.Tc / c.Pc;
        below += bench.fluid.z[i] * c.Tc / c.Pc;
    }
    EXPECT_NEAR(bench.solver->pseudo_critical_temperature(), above / below, 1e-10);
}

TEST(EOSolver, WilsonIsStretchedToASpreadOfTenToFifty) {
    // ln K_i = 5.37 (1 + omega_i)(1 - Tc_i/T) + ln(Pc_i/P), times a common factor.
    for (double T : {150.0, 400.0, 900.0}) {
        SolverBench bench(c1_c4_c10(), T, 30e5);
        std::vector<double> plain;
        for (const auto& c : bench.fluid.components)
            plain.push_back((1.0 + c.omega) * 5.37 * (1.0 - c.Tc / T) + std::log(c.Pc / 30e5));
        const double spread = plain[0] - plain[2];
        const double factor = std::clamp(spread, 10.0, 50.0) / spread;
        const std::vector<double> found = bench.wilson();
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(found[i], factor * plain[i], 1e-12 * std::abs(factor * plain[i])) << T;
    }
}

TEST(EOSolver, WilsonIsKeptUntilTheTemperatureChanges) {
    SolverBench bench(c1_c4_c10(), 400.0, 30e5);
    const std::vector<double> first = bench.wilson();
    bench.cell.pressure.value = 90e5;
    EXPECT_EQ(bench.wilson(), first);
    bench.cell.temperature.value = 401.0;
    EXPECT_NE(bench.wilson(), first);
}

TEST(EOSolver, WilsonKeepsAbsentComponentsWithinTheOthers) {
    // The ln K of CO2 and X30 differ little at this T; stretched to a spread of 10 that of absent
    // hydrogen would be in the thousands.
    Fluid fluid;
    fluid.equation = textbook::Equation::SoaveRedlichKwong;
    fluid.components = {{"A", 44.0, 304.2, 73.8e5, 0.225},
                        {"B", 44.0, 304.3, 73.8e5, 0.225},
                        {"H2", 2.0, 33.2, 13e5, -0.22}};
    fluid.z = {0.4, 0.6, 0.0};
    SolverBench bench(fluid, 436.0, 143e5);
    const std::vector<double> w = bench.wilson();
    EXPECT_NEAR(std::abs(w[0] - w[1]), 10.0, 1e-9);
    EXPECT_GE(w[2], std::min(w[0], w[1]));
    EXPECT_LE(w[2], std::max(w[0], w[1]));
    bench.always_test();
    bench.flash(436.0, 143e5);
    EXPECT_EQ(bench.cell.phase_count, 0);
    EXPECT_TRUE(bench.errors->empty());
}

TEST(EOSolver, ComponentsAllAlikeAreNotSplit) {
    Fluid fluid = propane();
    fluid.components.push_back(fluid.components[0]);
    fluid.components[1].name = "twin";
    fluid.z = {0.3, 0.7};
    TestCell test(fluid);
    test.flash(300.0, 5e5);
    EXPECT_LT(test.cell.phase_count, 2);
    EXPECT_TRUE(test.errors->empty());
    EXPECT_EQ(test.cell.k, (std::vector<double>{1.0, 1.0}));
}

TEST(EOSolver, PureComponentTakesTheRootOfLeastEnergy) {
    // Propane boils near 9.99 bar at 300 K; both roots exist on either side.
    TestCell test(propane());
    for (double P : {9e5, 11e5}) {
        test.flash(300.0, P);
        EXPECT_EQ(test.cell.phase_count, 1);
        const bool vapor = P < 10e5;
        EXPECT_EQ(test.cell.y_state.fraction, vapor ? 1.0 : 0.0);
        EXPECT_EQ(test.cell.x_state.fraction, vapor ? 0.0 : 1.0);
        EXPECT_EQ(test.cell.x_state.root, -2);
        EXPECT_EQ(test.cell.y_state.root, 2);
        const PhaseState& stable = vapor ? test.cell.y_state : test.cell.x_state;
        EXPECT_DOUBLE_EQ(stable.density, test.cell.feed_state.density);
        EXPECT_GT(test.cell.x_state.density, 10.0 * test.cell.y_state.density);
        // rho = P M/(R T Z) for either root.
        for (const PhaseState* phase : {&test.cell.x_state, &test.cell.y_state})
            EXPECT_NEAR(phase->density, P * 44.097 / (R * 300.0 * phase->z_factor),
                        1e-12 * phase->density);
    }
    test.flash(500.0, 11e5);
    EXPECT_EQ(test.cell.phase_count, 0);
    EXPECT_EQ(test.cell.y_state.fraction, 1.0);
    test.flash(500.0, 900e5);  // dense, but above its critical temperature
    EXPECT_EQ(test.cell.phase_count, 0);
    EXPECT_EQ(test.cell.y_state.fraction, 1.0);
    test.flash(200.0, 900e5);
    EXPECT_EQ(test.cell.y_state.fraction, 0.0);
}

TEST(EOSolver, FeedOfOneNonzeroComponentIsNeverSplit) {
    TestCell test(comparative_project_oil());
    test.set_feed({0.0, 0.0, 1.0, 0.0, 0.0, 0.0});
    test.always_test();
    test.flash(400.0, 3e5);
    EXPECT_LT(test.cell.phase_count, 2);
    EXPECT_TRUE(test.errors->empty());
    for (double fraction : test.cell.eq_vapor->moles()) EXPECT_TRUE(std::isfinite(fraction));
}

TEST(EOSolver, TracesAreComponentsLikeOthers) {
    TestCell test(comparative_project_oil());
    test.set_feed({1e-12, 1e-12, 0.5, 0.5, 1e-12, 1e-12});
    test.flash(420.0, 1e5);
    EXPECT_EQ(test.cell.phase_count, 2);
    EXPECT_TRUE(test.errors->empty());
    const auto x = test.cell.eq_liquid->moles(), y = test.cell.eq_vapor->moles();
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_NEAR(test.cell.x_state.fraction * x[i] + test.cell.y_state.fraction * y[i],
                    test.cell.feed_fractions[i], 1e-12 * std::max(1e-3, x[i]));
}

TEST(EOSolver, ZeroPressureIsAnIdealGas) {
    TestCell test(comparative_project_oil());
    test.flash(300.0, 0.0);
    EXPECT_EQ(test.cell.phase_count, 0);
    EXPECT_EQ(test.cell.feed_state.z_factor, 1.0);
    EXPECT_EQ(test.cell.feed_state.density, 0.0);
    EXPECT_TRUE(test.errors->empty());
    EXPECT_EQ(test.cell.current_init, INIT_NEWTON);
}

TEST(EOSolver, NonphysicalConditionsAreFatal) {
    TestCell test(c1_c4_c10());
    test.cell.temperature = {-5.0, &unit_of(UnitKind::Temperature, "K")};
    test.cell.pressure = {-2e5, &unit_of(UnitKind::Pressure, "bar")};
    test.cell.flash();
    EXPECT_TRUE(has_message(*test.errors, "The temperature (-5 K) was nonphysical"));
    EXPECT_TRUE(has_message(*test.errors, "The pressure (-2 bar) was nonphysical"));
    EXPECT_EQ(test.errors->severity, FATAL_ERROR);
    EXPECT_EQ(test.cell.phase_count, 0);
    EXPECT_EQ(test.cell.feed_state.z_factor, 1.0);
    EXPECT_EQ(test.cell.k, std::vector<double>(3, 1.0));
}

TEST(EOSolver, ValuesNeverSetPrintAsZero) {
    TestCell test(c1_c4_c10());
    test.cell.temperature.unit = &unit_of(UnitKind::Temperature, "F");
    test.cell.pressure.unit = &unit_of(UnitKind::Pressure, "psia");
    test.cell.flash();
    EXPECT_TRUE(has_message(*test.errors, "The temperature (0 F) was nonphysical"));
    EXPECT_TRUE(has_message(*test.errors, "The pressure (0 psia) was nonphysical"));
}

TEST(EOSolver, FailureKeepsTheSideOfTheLastResult) {
    TestCell test(c1_c4_c10());
    test.flash(500.0, 1e5);
    ASSERT_EQ(test.cell.y_state.fraction, 1.0);
    test.flash(500.0, -1.0);
    EXPECT_EQ(test.cell.y_state.fraction, 1.0);
    EXPECT_EQ(test.cell.x_state.fraction, 0.0);
    test.flash(200.0, 500e5);
    ASSERT_EQ(test.cell.y_state.fraction, 0.0);
    test.flash(500.0, -1.0);
    EXPECT_EQ(test.cell.y_state.fraction, 0.0);
    EXPECT_EQ(test.cell.y_state.density, 0.0);
}

TEST(EOSolver, EquationThatComputesNothingLeavesOnePhase) {
    TestCell test(c1_c4_c10());
    test.charz.chosen_eos = make_dyn<SW_EOS>();
    test.charz.clear_t_cache();
    test.flash(400.0, 50e5);
    EXPECT_EQ(test.cell.phase_count, 0);
    EXPECT_EQ(test.cell.feed_state.z_factor, 1.0);
    test.cell.flash_with_k();
    EXPECT_EQ(test.cell.phase_count, 0);
}

TEST(EOSolver, EquationWithEmptyParametersEnds) {
    TestCell test(c1_c4_c10());
    test.charz.chosen_eos = make_dyn<ZJRK_EOS>();
    test.charz.clear_t_cache();
    test.flash(400.0, 50e5);
    EXPECT_LT(test.cell.phase_count, 2);
}

TEST(EOSolver, LiquidIsTheDenserPhaseAndKItsRatio) {
    TestCell test(c1_c4_c10());
    // Started upside down: K of the heavy component above one.
    test.cell.ln_k = {-2.0, 0.0, 3.0};
    test.flash(from_fahrenheit(280.0), from_psia(500.0));
    ASSERT_EQ(test.cell.phase_count, 2);
    EXPECT_GT(test.cell.x_state.density, test.cell.y_state.density);
    for (std::size_t i = 0; i < 3; ++i) {
        const double ratio = test.cell.nf_vapor->moles()[i] / test.cell.nf_liquid->moles()[i];
        EXPECT_NEAR(test.cell.k[i], ratio, 1e-12 * ratio);
        EXPECT_NEAR(test.cell.ln_k[i], std::log(ratio), 1e-12);
    }
    EXPECT_NEAR(test.cell.nf_liquid->total_moles(), 1.0, 1e-15);
}

TEST(EOSolver, PublishedTanksHoldThePhases) {
    TestCell test(c1_c4_c10());
    test.flash(from_fahrenheit(280.0), from_psia(1500.0));
    ASSERT_EQ(test.cell.phase_count, 2);
    EXPECT_EQ(test.cell.x_state.comps, test.cell.nf_liquid->moles().data());
    EXPECT_EQ(test.cell.y_state.comps, test.cell.nf_vapor->moles().data());
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(test.cell.eq_liquid->moles()[i], test.cell.nf_liquid->moles()[i]);
        EXPECT_EQ(test.cell.eq_vapor->moles()[i], test.cell.nf_vapor->moles()[i]);
    }
    // Density from mass and volume of the phase.
    const PVTCell& cell = test.cell;
    const double V = cell.x_state.z_factor * R * cell.temperature.value / cell.pressure.value;
    EXPECT_NEAR(cell.x_state.density, cell.eq_liquid->total_mass() / V, 1e-10);
}

TEST(EOSolver, ThirdPhaseIsAnnouncedWithItsPlace) {
    // Published: heavy liquid, CO2-rich liquid and vapor at 260 K and 50 bar. The pair found is the
    // heavy liquid with the vapor, so that the liquid between is due.
    TestCell test(three_phase());
    test.cell.test2 = TEST_ALWAYS;
    test.flash(260.0, 50e5);
    EXPECT_EQ(test.cell.phase_count, 3);
    EXPECT_EQ(test.cell.third_phase_position, 2);
    EXPECT_TRUE(has_message(*test.errors,
                            "Equilibrium should exhibit at least three phases\nA third, "
                            "intermediate phase is also due to appear"));
    EXPECT_EQ(test.errors->severity, WARNING);
    EXPECT_GT(test.cell.x_state.fraction * test.cell.y_state.fraction, 0.0);
    test.flash(260.0, 150e5);  // published to be two-phase there
    EXPECT_EQ(test.cell.phase_count, 2);
    EXPECT_EQ(test.cell.third_phase_position, 0);
    EXPECT_TRUE(test.errors->empty());
}

TEST(EOSolver, ThirdPhaseSeverityIsTheUsers) {
    TestCell test(three_phase());
    test.cell.test2 = TEST_ALWAYS;
    test.cell.third_phase_severity = 0;
    test.flash(260.0, 50e5);
    EXPECT_EQ(test.cell.phase_count, 3);
    EXPECT_TRUE(test.errors->empty());
    test.cell.third_phase_severity = ERROR;
    test.flash(260.0, 50e5);
    EXPECT_EQ(test.errors->severity, ERROR);
    EXPECT_EQ(test.cell.phase_count, 3);
    test.cell.third_phase_severity = FATAL_ERROR;
    test.flash(260.0, 50e5);
    EXPECT_EQ(test.errors->severity, FATAL_ERROR);
    EXPECT_EQ(test.cell.phase_count, 0) << "a calculation that failed leaves one phase";
    EXPECT_EQ(test.cell.k, std::vector<double>(3, 1.0));
}

TEST(EOSolver, MessagesGoThroughTheSwitches) {
    TestCell test(three_phase());
    test.cell.test2 = TEST_ALWAYS;
    test.cell.temperature.value = 260.0;
    test.cell.pressure.value = 50e5;
    test.errors->warnings_on = false;
    test.cell.flash();
    EXPECT_TRUE(test.errors->empty());
    EXPECT_TRUE(test.errors->warnings_on) << "each calculation turns them on when it ends";
}

TEST(EOSolver, NothingIsAllocatedByTheStages) {
    for (const Fluid& fluid : {comparative_project_oil(), paraffins(30)}) {
        SolverBench bench(fluid, 350.0, 60e5);
        bench.wilson();
        solver_statistics();
        StationaryList list(bench.solver->work(), fluid.n());
        const AllocationCount count;
        double G = 0.0, g = 0.0;
        bench.solver->split(G);
        ASSERT_TRUE(bench.solver->next_stationary_point(list, g));
        ASSERT_TRUE(bench.solver->split(G));
        int flags = TRIAL_VAPOR | TRIAL_LIQUID | TRIAL_BETWEEN | TRIAL_PURE;
        const auto w = bench.solver->work().take(fluid.n());
        bench.solver->third_phase_test(bench.solver->x(), bench.solver->y(), bench.cell.ln_k,
                                       bench.solver->trial(), w, flags, true);
        EXPECT_EQ(count.made(), 0);
        EXPECT_EQ(flags, 0);
    }
}

TEST(EOSolver, SolversOfOneCellShareTheirStorage) {
    TestCell test(comparative_project_oil());
    test.flash(350.0, 60e5);
    const AllocationCount count;
    test.flash(350.0, 80e5);
    EXPECT_EQ(count.made(), 0);
    const SolverStore* store = test.cell.solver_store.get();
    Charzation other = characterization(c1_c4_c10());
    test.cell.set_charz(&other);
    test.cell.feed->rebind(&other);
    test.cell.feed->assign_moles(std::vector<double>{0.5, 0.42, 0.08}, 1.0);
    test.flash(from_fahrenheit(280.0), from_psia(500.0));
    EXPECT_EQ(test.cell.solver_store.get(), store);
    EXPECT_EQ(store->n, 3u);
    EXPECT_NEAR(test.cell.y_state.fraction, 0.8534, 1e-3);
}

TEST(EOSolver, EveryStateEndsInFiniteNumbers) {
    // From near absolute zero to a star, from vacuum to planets' cores.
    for (const Fluid& fluid : {comparative_project_oil(), near_critical(), three_phase()}) {
        TestCell test(fluid);
        for (double T : {1e-3, 1.0, 20.0, 60.0, 150.0, 1e3, 1e5, 1e9})
            for (double P : {1e-300, 1e-30, 1e-3, 1.0, 1e5, 1e8, 1e12, 1e30, 1e300}) {
                test.flash(T, P);
                EXPECT_GE(test.cell.phase_count, 0);
                for (const PhaseState* phase : {&test.cell.x_state, &test.cell.y_state})
                    EXPECT_FALSE(std::isnan(phase->fraction)) << T << ' ' << P;
                for (double fraction : test.cell.eq_vapor->moles())
                    EXPECT_TRUE(fraction >= 0.0 && fraction <= 1.0 + 1e-9) << T << ' ' << P;
            }
    }
}

}  // namespace
}  // namespace kestrane
