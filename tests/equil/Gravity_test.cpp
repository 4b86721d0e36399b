// Columns of fluid in gravity, judged by fugacities and densities of the textbook's equation.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "equil/AllocationCount.h"
#include "equil/EOSolver.h"
#include "equil/GravityCheck.h"
#include "equil/SolverBench.h"

namespace kestrane {
namespace {

using namespace fluids;

const std::string K_BOUNDS = "K-Values went out of bounds during segregation calculations";
const std::string P_BOUNDS = "Pressure went out of bounds during segregation calculations";
const std::string FAILED = "K-value convergence failed during segregation calculations";
const std::string NO_PRESSURE = "The reference pressure was nonphysical";

/// A fluid in one phase, with a reference for its column.
struct Reference {
    Fluid fluid;
    double T, P;
};

std::vector<Reference> references() {
    return {{gas_cap_oil(), 366.15, 284e5},   {comparative_project_oil(), 344.26, 250e5},
            {gas_condensate(), 358.7, 300e5}, {volatile_oil(), 393.15, 350e5},
            {near_critical(), 380.0, 250e5},  {c1_c4_c10(), 344.26, 200e5}};
}

struct ColumnCell : TestCell {
    explicit ColumnCell(const Reference& reference) : TestCell(reference.fluid) {
        begin(reference.T, reference.P);
    }
    void begin(double T, double P) {
        set_feed(fluid.z);
        forget();
        errors->Clear();
        cell.temperature.value = T;
        cell.pressure.value = P;
        cell.depth.value = 2000.0;
    }
    bool move(double height, double damping = 1.0, bool stop = false) {
        return cell.segregate(height, damping, stop, INIT_STABILITY);
    }
};

/// How far a pressure lies from hydrostatic balance, as a share of the change. Simpson's rule over
/// densities of the textbook at points of a column in `steps` steps of the program.
double hydrostatic_error(const Reference& reference, double height, double damping, int steps) {
    ColumnCell whole(reference), parts(reference);
    const double P0 = reference.P;
    EXPECT_TRUE(whole.move(height, damping));
    double integral = textbook_density(reference.fluid, station_of(parts.cell));
    for (int i = 1; i <= steps; ++i) {
        EXPECT_TRUE(parts.move(height / steps, damping));
        const double weight = i == steps ? 1.0 : i % 2 == 1 ? 4.0 : 2.0;
        integral += weight * textbook_density(reference.fluid, station_of(parts.cell));
    }
    integral *= -9.80665 * height / (3.0 * steps);
    EXPECT_NEAR(parts.cell.pressure.value / whole.cell.pressure.value, 1.0, 1e-11);
    return std::abs((whole.cell.pressure.value - P0) / integral - 1.0);
}

TEST(Gravity, FugacitiesFollowThePotentialOverAnyHeight) {
    for (const Reference& reference : references()) {
        ColumnCell test(reference);
        const Station start = station_of(test.cell);
        for (double height : {-1500.0, -300.0, -40.0, -1.0, 1.0, 25.0}) {
            SCOPED_TRACE(reference.fluid.name + " by " + std::to_string(height));
            test.begin(reference.T, reference.P);
            ASSERT_TRUE(test.move(height));
            const Station end = station_of(test.cell);
            const bool up = height > 0.0;
            EXPECT_LE(gravity_error(reference.fluid, up ? start : end, up ? end : start,
                                    std::abs(height)),
                      1e-10);
            EXPECT_EQ(test.cell.depth.value, 2000.0 - height);
            EXPECT_NEAR(test.cell.feed_state.density / textbook_density(reference.fluid, end), 1.0,
                        1e-12);
            EXPECT_TRUE(test.errors->empty());
        }
    }
}

/// An oil of propane and a cut of 205 kg/kmol, a centimetre below its contact.
Fluid propane_and_cut() {
    Fluid fluid;
    fluid.name = "propane and a cut";
    fluid.equation = textbook::Equation::SoaveRedlichKwong;
    fluid.components = {{"C3", 44.094, 369.8, 42.5e5, 0.153, -0.08},
                        {"H1", 205.33733078245291, 720.47432137341298, 1864409.4083018822,
                         0.51179624941205759, 0.083897196110896174}};
    fluid.kij = pairs(2, {{0, 1, 0.007656196261597469}});
    fluid.z = {0.36404314662992487, 0.63595685337007524};
    return fluid;
}

// The gas above holds a millionth of the cut. A metre below its contact no more than that trace
// condenses from it, and yet it is the oil that stands there, at a higher pressure.
TEST(Gravity, AGasOfTracesIsNotFollowedBelowItsContact) {
    const Reference reference{propane_and_cut(), 295.57976139931827, 316630.11294779222};
    for (const double height : {0.05, 48.0}) {
        ColumnCell test(reference);
        const Station oil = station_of(test.cell);
        ASSERT_TRUE(test.move(height));
        EXPECT_GT(station_of(test.cell).x[0], 0.9999);  // gas
        ASSERT_TRUE(test.move(-height));
        const Station back = station_of(test.cell);
        EXPECT_NEAR(back.P / oil.P, 1.0, 1e-9);
        EXPECT_NEAR(back.x[0], oil.x[0], 1e-9);
        EXPECT_LT(test.cell.phase_count, 2);
        test.begin(reference.T, reference.P);
    }
}

TEST(Gravity, FugacitiesFollowThePotentialAcrossAContact) {
    ColumnCell test(references()[0]);
    const Station start = station_of(test.cell);
    test.cell.depth.value = 175.0;
    ASSERT_TRUE(test.move(175.0));
    const Station top = station_of(test.cell);
    EXPECT_LE(gravity_error(test.fluid, start, top, 175.0), 1e-10);
    EXPECT_GT(top.x[2], 0.7);  // gas
    EXPECT_EQ(test.cell.y_state.fraction, 1.0);
    // And down again into the oil.
    ASSERT_TRUE(test.move(-175.0));
    EXPECT_EQ(test.cell.depth.value, 175.0);
    for (std::size_t i = 0; i < start.x.size(); ++i)
        EXPECT_NEAR(test.cell.feed->moles()[i] / start.x[i], 1.0, 1e-8);
    EXPECT_NEAR(test.cell.pressure.value / start.P, 1.0, 1e-8);
}

TEST(Gravity, PressureIsHydrostaticAtEveryDamping) {
    for (const Reference& reference : references())
        for (double damping : {1.0, 0.6, 0.1, 1e-9, 0.0})
            for (double height : {-400.0, 20.0}) {
                SCOPED_TRACE(reference.fluid.name + ", damping " + std::to_string(damping) +
                             " by " + std::to_string(height));
                EXPECT_LE(hydrostatic_error(reference, height, damping, 40), 2e-8);
            }
}

TEST(Gravity, WithoutDampingFactorTheCompositionIsKeptExactly) {
    for (const Reference& reference : references()) {
        ColumnCell test(reference);
        const Station start = station_of(test.cell);
        ASSERT_TRUE(test.move(-700.0, 0.0));
        const Station end = station_of(test.cell);
        // But for the feed's own normalization, which may turn the last bits.
        for (std::size_t i = 0; i < start.x.size(); ++i)
            EXPECT_LE(std::abs(end.x[i] - start.x[i]), 4.5e-16 * start.x[i])
                << reference.fluid.name;
        EXPECT_GT(test.cell.pressure.value, start.P);
    }
}

TEST(Gravity, CompositionGradesInProportionToTheDampingForSmallHeights) {
    const Reference reference = references()[3];
    std::vector<double> grades;
    for (double damping : {0.25, 0.5, 1.0}) {
        ColumnCell test(reference);
        ASSERT_TRUE(test.move(-1.0, damping));
        grades.push_back(std::log(test.cell.feed->moles()[2] / reference.fluid.z[2]));
    }
    EXPECT_LT(grades[2], grades[1]);
    EXPECT_LT(grades[1], grades[0]);
    EXPECT_LT(grades[0], 0.0);
    // ln t_i = d w_i, and w_i differs from its ideal part by d times the composition's effect.
    const double w0 = grades[0] / 0.25, w1 = grades[1] / 0.5, w2 = grades[2];
    EXPECT_LT(std::abs(w1 / w2 - 1.0), 0.9);
    EXPECT_LT(std::abs(w0), std::abs(w1));
    EXPECT_LT(std::abs(w1), std::abs(w2));
}

TEST(Gravity, DownAndUpReturnsTheStart) {
    for (const Reference& reference : references())
        for (double damping : {1.0, 0.7, 0.0}) {
            SCOPED_TRACE(reference.fluid.name + ", damping " + std::to_string(damping));
            ColumnCell test(reference);
            for (double height : {-600.0, 250.0, -150.0, 500.0})
                ASSERT_TRUE(test.move(height, damping));
            EXPECT_NEAR(test.cell.depth.value, 2000.0, 1e-9);
            EXPECT_NEAR(test.cell.pressure.value / reference.P, 1.0, 1e-10);
            for (std::size_t i = 0; i < reference.fluid.n(); ++i)
                EXPECT_NEAR(test.cell.feed->moles()[i] / reference.fluid.z[i], 1.0, 1e-8);
        }
}

TEST(Gravity, ZeroHeightLeavesTheCell) {
    for (double damping : {1.0, 0.5, 0.0}) {
        ColumnCell test(references()[0]);
        test.flash(366.15, 284e5);
        const Station start = station_of(test.cell);
        const double Z = test.cell.feed_state.z_factor;
        ASSERT_TRUE(test.move(0.0, damping));
        EXPECT_EQ(station_of(test.cell).x, start.x);
        EXPECT_EQ(test.cell.pressure.value, start.P);
        EXPECT_EQ(test.cell.depth.value, 2000.0);
        EXPECT_EQ(test.cell.feed_state.z_factor, Z);
        EXPECT_EQ(test.cell.phase_count, 0);
    }
}

TEST(Gravity, StopEndsTheColumnOnTheVerge) {
    for (double damping : {1.0, 0.5, 0.0}) {
        ColumnCell test(references()[0]);
        ASSERT_TRUE(test.move(500.0, damping, true));
        EXPECT_GT(test.cell.depth.value, 1500.0);
        EXPECT_EQ(test.cell.phase_count, 2);
        EXPECT_EQ(test.cell.y_state.fraction, 0.0);
        // The bubble point of the fluid there is the pressure there.
        const double P = test.cell.pressure.value;
        const double depth = test.cell.depth.value;
        TestCell judge(test.fluid);
        judge.cell.feed->copy(*test.cell.feed);
        judge.cell.temperature.value = 366.15;
        ASSERT_TRUE(judge.cell.saturation(1));
        EXPECT_NEAR(judge.cell.pressure.value / P, 1.0, 1e-7);
        // No farther from there.
        ASSERT_TRUE(test.move(100.0, damping, true));
        EXPECT_NEAR(test.cell.depth.value, depth, 1e-5);
        // Downward the oil goes on.
        ASSERT_TRUE(test.move(-50.0, damping, true));
        EXPECT_NEAR(test.cell.depth.value, depth + 50.0, 1e-5);
        EXPECT_LT(test.cell.phase_count, 2);
    }
}

TEST(Gravity, TwoPhasesPartUpAndDown) {
    ColumnCell test(references()[0]);
    test.flash(366.15, 200e5);
    ASSERT_EQ(test.cell.phase_count, 2);
    const std::vector<double> oil(test.cell.nf_liquid->moles().begin(),
                                  test.cell.nf_liquid->moles().end());
    const std::vector<double> gas(test.cell.nf_vapor->moles().begin(),
                                  test.cell.nf_vapor->moles().end());
    const Station below{oil, 366.15, 200e5}, above{gas, 366.15, 200e5};
    ASSERT_TRUE(test.move(-30.0));
    EXPECT_LE(gravity_error(test.fluid, station_of(test.cell), below, 30.0), 1e-9);
    test.begin(366.15, 200e5);
    ASSERT_TRUE(test.move(30.0));
    EXPECT_LE(gravity_error(test.fluid, above, station_of(test.cell), 30.0), 1e-9);
}

TEST(Gravity, ContactsAreCrossedAtEveryDamping) {
    for (double damping : {1.0, 0.8, 0.3, 0.0}) {
        ColumnCell test(references()[0]);
        ASSERT_TRUE(test.move(400.0, damping)) << damping;
        EXPECT_NEAR(test.cell.depth.value, 1600.0, 1e-9);
        EXPECT_GT(test.cell.y_state.fraction, 0.99);
        EXPECT_LT(test.cell.feed_state.density, 320.0);
        EXPECT_TRUE(test.errors->empty());
    }
}

TEST(Gravity, AThirdPhaseIsReportedOnceAndOnlyThen) {
    ColumnCell test({three_phase(), 260.0, 50e5});
    test.always_test();
    ASSERT_TRUE(test.move(0.0));
    const bool due = test.cell.phase_count > 2;
    EXPECT_EQ(due, !test.errors->empty());
    EXPECT_TRUE(due);
    EXPECT_EQ(test.cell.third_phase_severity, WARNING);
}

TEST(Gravity, PureFluidsAreHydrostaticAndCrossTheirVaporPressure) {
    Fluid propane;
    propane.name = "propane";
    propane.components = {{"C3", 44.097, 369.8, 42.5e5, 0.153}};
    propane.z = {1.0};
    const Reference reference{propane, 300.0, 10.5e5};
    EXPECT_LE(hydrostatic_error(reference, -500.0, 1.0, 40), 1e-9);
    ColumnCell test(reference);
    TestCell judge(propane);
    judge.cell.temperature.value = 300.0;
    judge.cell.saturation(1);
    ASSERT_TRUE(test.move(200.0, 1.0, true));
    EXPECT_NEAR(test.cell.pressure.value / judge.cell.pressure.value, 1.0, 1e-7);
    const double contact = test.cell.depth.value;
    EXPECT_GT(contact, 1800.0);
    for (double damping : {1.0, 0.5}) {
        test.begin(300.0, 10.5e5);
        ASSERT_TRUE(test.move(200.0, damping));
        EXPECT_LT(test.cell.feed_state.density, 40.0);
    }
}

TEST(Gravity, AbsentComponentsStayAbsentAndChangeNothing) {
    const Reference reference = references()[3];
    Fluid extended = reference.fluid;
    extended.components.push_back({"none", 700.0, 950.0, 9e5, 1.3, 0.1});
    extended.z.push_back(0.0);
    for (auto& row : extended.kij) row.push_back(0.05);
    extended.kij.emplace_back(extended.n(), 0.05);
    extended.kij.back().back() = 0.0;
    ColumnCell plain(reference), more({extended, reference.T, reference.P});
    ASSERT_TRUE(plain.move(-300.0));
    ASSERT_TRUE(more.move(-300.0));
    EXPECT_EQ(more.cell.feed->moles().back(), 0.0);
    EXPECT_NEAR(more.cell.pressure.value / plain.cell.pressure.value, 1.0, 1e-13);
    for (std::size_t i = 0; i < reference.fluid.n(); ++i)
        EXPECT_NEAR(more.cell.feed->moles()[i], plain.cell.feed->moles()[i], 1e-13);
}

TEST(Gravity, NonphysicalConditionsAreFatal) {
    ColumnCell test(references()[1]);
    test.cell.pressure.value = 0.0;
    EXPECT_FALSE(test.move(10.0));
    EXPECT_TRUE(has_message(*test.errors, NO_PRESSURE));
    EXPECT_FALSE(test.errors->usable());
    EXPECT_EQ(test.cell.phase_count, 0);
    for (double P : {-1e5, std::numeric_limits<double>::quiet_NaN(),
                     std::numeric_limits<double>::infinity()}) {
        test.begin(344.26, P);
        EXPECT_FALSE(test.move(10.0));
        EXPECT_FALSE(test.errors->usable());
    }
    test.begin(-3.0, 250e5);
    EXPECT_FALSE(test.move(10.0));
    EXPECT_FALSE(test.errors->usable());
}

TEST(Gravity, PressureOutOfBoundsIsAWarning) {
    // ln P falls by M g h/(R T), here 800.
    ColumnCell test({c1_c4_c10(), 600.0, 1e5});
    EXPECT_FALSE(test.move(1e8, 0.0));
    EXPECT_TRUE(has_message(*test.errors, P_BOUNDS));
    EXPECT_EQ(test.errors->severity, WARNING);
    EXPECT_GT(test.cell.pressure.value, 0.0);
}

TEST(Gravity, KValuesOutOfBoundsAreAWarning) {
    // Decane falls behind methane by the factor exp(126 g h/(R T)).
    ColumnCell test({c1_c4_c10(), 600.0, 1e5});
    EXPECT_FALSE(test.move(1e8, 1.0));
    EXPECT_TRUE(has_message(*test.errors, K_BOUNDS));
    EXPECT_EQ(test.errors->severity, WARNING);
    EXPECT_GT(test.cell.feed->moles()[2], 0.0);
    EXPECT_LT(test.cell.depth.value, 0.0);
}

TEST(Gravity, ConvergenceFailureIsAWarning) {
    // Without two-phase calculations the oil is followed up to where no such liquid exists.
    ColumnCell test(references()[1]);
    EXPECT_FALSE(test.cell.segregate(3000.0, 1.0, true, INIT_NEVER));
    EXPECT_TRUE(has_message(*test.errors, FAILED));
    EXPECT_EQ(test.errors->entries.size(), 1u);
    EXPECT_NEAR(test.cell.depth.value, -351.48, 0.01);  // as far as it went at first
    EXPECT_GT(test.cell.feed_state.density, 300.0);
}

struct Policies {
    int init, test1, test2, severity;
    bool operator==(const Policies&) const = default;
};
Policies policies_of(const PVTCell& cell) {
    return {cell.init_policy, cell.test1, cell.test2, cell.third_phase_severity};
}

TEST(Gravity, PoliciesComeBackOnEveryWayOut) {
    const auto expect_kept = [](ColumnCell& test, const auto& run) {
        for (const Policies given :
             {Policies{3, 1, 1, 1}, Policies{1, 3, 3, 2}, Policies{0, 0, 0, 0}}) {
            test.cell.init_policy = given.init;
            test.cell.test1 = given.test1;
            test.cell.test2 = given.test2;
            test.cell.third_phase_severity = given.severity;
            run();
            EXPECT_TRUE(policies_of(test.cell) == given);
            EXPECT_TRUE(test.errors->warnings_on && test.errors->errors_on);
        }
    };
    ColumnCell test(references()[0]);
    double depth = 0.0;
    const auto start = [&](double P) { test.begin(366.15, P); };
    expect_kept(test, [&] { start(284e5), test.move(50.0); });
    expect_kept(test, [&] { start(284e5), test.move(400.0, 0.5); });
    expect_kept(test, [&] { start(284e5), test.move(400.0, 1.0, true); });
    expect_kept(test, [&] { start(284e5), test.move(1e9, 0.0); });
    expect_kept(test, [&] { start(0.0), test.move(50.0); });
    expect_kept(test, [&] { start(-1.0), test.move(50.0); });
    expect_kept(test, [&] { start(284e5), test.cell.gas_oil_contact(1.0, depth); });
    expect_kept(test, [&] { start(200e5), test.cell.gas_oil_contact(1.0, depth); });
    expect_kept(test, [&] { start(0.0), test.cell.gas_oil_contact(1.0, depth); });
    expect_kept(test, [&] { start(-1.0), test.cell.gas_oil_contact(1.0, depth); });
    ColumnCell critical({near_critical(), 440.0, 300e5});
    expect_kept(critical, [&] {
        critical.begin(440.0, 300e5);
        critical.cell.gas_oil_contact(0.9, depth);
    });
    CellConditions near, far;
    const auto limit = [](double P) { return BoundaryLimit{{}, {P, nullptr}, {}}; };
    expect_kept(test, [&] { start(284e5), test.cell.boundary(limit(3e7), limit(1e7), near, far); });
    expect_kept(test, [&] { start(284e5), test.cell.boundary(limit(3e7), limit(4e7), near, far); });
    expect_kept(test, [&] { start(284e5), test.cell.boundary(limit(0.0), limit(4e7), near, far); });
}

TEST(Gravity, TheStepsAllocateNothing) {
    ColumnCell test(references()[0]);
    test.move(-10.0);
    test.begin(366.15, 284e5);
    ASSERT_TRUE(test.cell.prepare());
    EOSolver solver(test.cell);
    solver.flash();
    double done = 0.0;
    const AllocationCount allocations;
    EXPECT_TRUE(solver.segregate(-200.0, 1.0, false, done));
    EXPECT_TRUE(solver.segregate(300.0, 1.0, true, done));
    EXPECT_EQ(allocations.made(), 0);
    EXPECT_LT(done, 300.0);
}

TEST(Gravity, StatisticsCountTheSteps) {
    const SolverStats& stats = solver_statistics().segregations;
    const int before = stats.calls;
    ColumnCell test(references()[1]);
    ASSERT_TRUE(test.move(-20.0));
    EXPECT_GT(stats.calls, before);
    EXPECT_GT(stats.sum[COUNT_NEWTON], 0);
    EXPECT_EQ(stats.name, "Calculations");
}

}  // namespace
}  // namespace kestrane
