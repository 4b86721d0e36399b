// Convergence pressures and critical temperatures.

#include <gtest/gtest.h>

#include <cmath>

#include "equil/SolverBench.h"

namespace kestrane {
namespace {

using namespace fluids;

/// Largest |ln K| of the tie-line that the cell holds.
double reach(const PVTCell& cell) {
    double largest = 0.0;
    for (double ln_k : cell.ln_k) largest = std::max(largest, std::abs(ln_k));
    return largest;
}

TEST(ConvergencePressure, TieLinesMeetThere) {
    for (const Fluid& fluid : {c1_c4_c10(), comparative_project_oil()}) {
        TestCell test(fluid);
        test.cell.temperature.value = 340.0;
        ASSERT_TRUE(test.cell.saturation(+1));
        const double P_sat = test.cell.pressure.value;
        ASSERT_TRUE(test.cell.convergence_pressure());
        EXPECT_TRUE(test.errors->empty());
        const double P = test.cell.pressure.value;
        EXPECT_GT(P, P_sat);
        // The spread of ln K shrinks to what makes two phases: 0.005, doubled for the last step.
        EXPECT_LT(reach(test.cell), 0.02) << fluid.name;
        EXPECT_GT(reach(test.cell), 0.0);
        EXPECT_EQ(test.cell.phase_count, 1) << "a negative flash";
        EXPECT_LT(test.cell.x_state.fraction * test.cell.y_state.fraction, 0.0);
    }
}

/// Near the end of a tie-line the squared distance of its phases falls in proportion to the
/// pressure that is left, as at any ordinary critical point: negative flashes at 1 and at 4 parts
/// in a thousand below the convergence pressure differ by a factor of two in ln K.
TEST(ConvergencePressure, DistancesFallWithTheSquareRootOfThePressureLeft) {
    TestCell test(c1_c4_c10());
    test.cell.temperature.value = 340.0;
    ASSERT_TRUE(test.cell.convergence_pressure());
    const double P = test.cell.pressure.value;
    ASSERT_TRUE(test.cell.saturation(+1));
    test.cell.test1 = test.cell.test2 = TEST_NEVER;
    test.cell.init_policy = INIT_NEWTON;
    double far = 0.0, near = 0.0;
    for (double left : {0.3, 0.2, 0.1, 0.05, 0.02, 0.01, 0.004, 0.002, 0.001}) {
        test.cell.pressure.value = P * (1.0 - left);
        if (test.cell.pressure.value < 1.01e5) continue;
        test.cell.flash();
        ASSERT_GE(test.cell.phase_count, 1) << left;
        ASSERT_GT(reach(test.cell), 0.0) << left;
        if (left == 0.004) far = reach(test.cell);
        if (left == 0.001) near = reach(test.cell);
    }
    // Terms of the next order are a few percent at these distances.
    EXPECT_NEAR(far / near, 2.0, 0.1);
}

TEST(ConvergencePressure, BinaryConvergesAtItsCriticalPressure) {
    // The tie-lines of a binary do not depend on the feed: those of any feed shrink to the critical
    // point of the mixture at that temperature.
    Fluid binary = c1_c4_c10();
    binary.components.pop_back();
    binary.z = {0.4, 0.6};
    double first = 0.0;
    for (double share : {0.3, 0.4, 0.5}) {
        TestCell test(binary);
        test.set_feed({share, 1.0 - share});
        test.cell.temperature.value = 340.0;
        ASSERT_TRUE(test.cell.convergence_pressure());
        if (first == 0.0) first = test.cell.pressure.value;
        // Where ln K spread over less than 0.005 the tie-line counts as a point; the pressure
        // left then is of the order of its square.
        EXPECT_NEAR(test.cell.pressure.value, first, 1e-4 * first);
    }
    // At the critical composition both sides of the boundary meet in that pressure.
    TestCell test(binary);
    test.cell.temperature.value = 340.0;
    ASSERT_TRUE(test.cell.convergence_pressure());
    const double critical = test.cell.nf_liquid->moles()[0];
    test.set_feed({critical, 1.0 - critical});
    ASSERT_TRUE(test.cell.saturation(+1));
    EXPECT_NEAR(test.cell.pressure.value, first, 1e-4 * first);
}

TEST(ConvergencePressure, OfOneComponentIsTheVaporPressure) {
    TestCell test(c1_c4_c10());
    test.set_feed({0.0, 1.0, 0.0});
    test.cell.temperature.value = 350.0;
    ASSERT_TRUE(test.cell.convergence_pressure());
    const double P = test.cell.pressure.value;
    test.cell.vapor_pressure();
    EXPECT_EQ(test.cell.pressure.value, P);
}

TEST(ConvergencePressure, WithoutSaturationPressureThereIsNone) {
    TestCell test(near_critical());
    test.set_feed({0.9, 0.1, 0.0, 0.0, 0.0, 0.0});
    test.cell.temperature.value = 350.0;
    test.cell.pressure.value = 5e6;
    EXPECT_FALSE(test.cell.convergence_pressure());
    EXPECT_EQ(test.cell.pressure.value, 5e6);
    EXPECT_TRUE(has_message(*test.errors,
                            "A saturation pressure (if one exists) could not be found\n"
                            "because no two-phase pressure could be found"));
}

/// At 200 K the vapor at the far end of the tie-line turns into a liquid by a jump, and the
/// tie-line with it: the K-values have not met where the search ends, and the result says so.
TEST(ConvergencePressure, ATieLineLostOnTheWayIsWarnedOf) {
    TestCell test(gas_condensate());
    test.cell.temperature.value = 200.0;
    ASSERT_TRUE(test.cell.convergence_pressure());
    EXPECT_GT(reach(test.cell), 1.0);
    EXPECT_TRUE(
        has_message(*test.errors, "K-value convergence failed during phase split calculations"));
}

TEST(ConvergencePressure, BeyondTheLimitIsReported) {
    // The feed has a saturation pressure, but its tie-line never closes.
    TestCell test(three_phase());
    test.cell.temperature.value = 420.0;
    ASSERT_TRUE(test.cell.convergence_pressure());
    EXPECT_EQ(test.errors->entries.size(), 1u);
    EXPECT_GT(reach(test.cell), 1.0);
    EXPECT_TRUE(has_message(*test.errors,
                            "A convergence pressure (if one exists) could not be found\n"
                            "because it would have exceeded the upper search limit"));
}

TEST(CriticalTemperature, IsWhereTheMixtureParametersMeet) {
    for (const Fluid& fluid : {c1_c4_c10(), gas_condensate(), near_critical()}) {
        double first = 0.0;
        for (double start : {UNSET, -3.0, 1.0, 300.0, 5000.0}) {
            TestCell test(fluid);
            test.cell.temperature.value = start;
            test.cell.critical_temperature();
            EXPECT_TRUE(test.errors->empty());
            const double T = test.cell.temperature.value;
            if (first == 0.0) first = T;
            EXPECT_NEAR(T, first, 2e-8 * first);
        }
        // Just below, the feed as one component has two roots at its vapor pressure; above, one.
        TestCell test(fluid);
        test.cell.temperature.value = 0.999 * first;
        test.cell.vapor_pressure();
        EXPECT_EQ(test.cell.phase_count, 2);
        test.cell.temperature.value = 1.001 * first;
        test.cell.vapor_pressure();
        EXPECT_EQ(test.cell.phase_count, 1);
    }
}

TEST(CriticalTemperature, OfOneComponentIsItsOwn) {
    TestCell test(c1_c4_c10());
    test.set_feed({0.0, 1.0, 0.0});
    test.cell.temperature.value = 300.0;
    test.cell.critical_temperature();
    const double Tc = test.charz.comps[1].tc;
    EXPECT_NEAR(test.cell.temperature.value, Tc, 2e-8 * Tc);
}

TEST(CriticalTemperature, AResultGivenIsKept) {
    TestCell test(gas_condensate());
    test.cell.temperature.value = 300.0;
    test.cell.critical_temperature();
    const double T = test.cell.temperature.value;
    test.cell.critical_temperature();
    EXPECT_EQ(test.cell.temperature.value, T);
}

TEST(CriticalTemperature, TheAverageIsWeightedByTcOverPc) {
    TestCell test(c1_c4_c10());
    test.cell.average_critical_temperature();
    double above = 0.0, below = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const Component& c = test.fluid.components[i];
        above += test.fluid.z[i] * c.Tc * c.Tc / c.Pc;
        below += test.fluid.z[i] * c.Tc / c.Pc;
    }
    EXPECT_NEAR(test.cell.temperature.value, above / below, 1e-12 * above / below);
}

}  // namespace
}  // namespace kestrane
