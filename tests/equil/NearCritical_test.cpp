// Saturation pressures where the two boundaries or the two phases are all but one: next to critical
// points, where temperatures have few pressures with two phases, and of feeds of one component and
// traces. Judged by the conditions of equilibrium solved in long double, where twice as many digits
// of small differences are left. Fluids drawn by the campaign, and rounded.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "equil/FlashJudge.h"
#include "equil/reference/SaturationPoint.h"

namespace kestrane {
namespace {

using namespace fluids;

bool saturate(TestCell& test, double T, int sense, double start = UNSET) {
    test.errors->Clear();
    test.forget();
    test.cell.temperature.value = T;
    test.cell.pressure.value = start;
    return test.cell.saturation(sense);
}

/// ln(incipient/feed) of a saturation pressure.
std::vector<double> incipient_ln_k(const TestCell& test) {
    const PVTCell& cell = test.cell;
    const bool liquid_feed = cell.x_state.fraction == 1.0;
    const std::span<const double> x = cell.eq_liquid->moles(), y = cell.eq_vapor->moles();
    std::vector<double> ln_k;
    for (std::size_t i = 0; i < x.size(); ++i)
        ln_k.push_back(liquid_feed ? std::log(y[i] / x[i]) : std::log(x[i] / y[i]));
    return ln_k;
}

double spread_of(const std::vector<double>& ln_k) {
    const auto [low, high] = std::ranges::minmax(ln_k);
    return high - low;
}

/// The result is without a warning, and its pressure is that of long double.
void expect_exact(const TestCell& test, double tolerance) {
    for (const auto& message : test.errors->entries) ADD_FAILURE() << message->text;
    const double P = test.cell.pressure.value;
    const std::vector<double> ln_k = incipient_ln_k(test);
    const bool liquid_feed = test.cell.x_state.fraction == 1.0;
    const textbook::SaturationNewton newton(test.fluid, test.cell.temperature.value, liquid_feed);
    const textbook::SaturationPoint exact = newton.run(P, ln_k);
    // Where three roots of the cubic are close, Z in long double is good to 1e-15.
    ASSERT_LE(exact.residual, 1e-13L) << "the reference did not converge";
    EXPECT_NEAR(static_cast<double>(std::log(static_cast<long double>(P)) - exact.ln_P), 0.0,
                tolerance);
    const double spread = spread_of(ln_k);
    for (std::size_t i = 0; i < ln_k.size(); ++i)
        EXPECT_NEAR(ln_k[i], static_cast<double>(exact.ln_k[i]), 0.02 * spread);
}

void expect_two_phases_between(TestCell& judge, double T, double lower, double upper) {
    judge.always_test();
    for (const double part : {0.02, 0.3, 0.7, 0.98}) {
        judge.forget();
        judge.flash(T, lower + part * (upper - lower));
        EXPECT_EQ(judge.cell.phase_count, 2) << part;
    }
    for (const double P : {lower / 1.001, upper * 1.001}) {
        judge.forget();
        judge.flash(T, P);
        EXPECT_LT(judge.cell.phase_count, 2) << P;
    }
}

/// The series at the critical point and Newton's method beyond meet without a gap. 5e-8 is half of
/// the tolerance to which brackets are closed; rounding of D, 1e-15 of D s^-2, allows no less.
TEST(NearCritical, PressuresNextToTheCriticalPointAreExact) {
    TestCell test(near_critical());
    int near = 0;
    for (double T = 417.0; T < 418.0; T += 0.02) {
        SCOPED_TRACE(T);
        ASSERT_TRUE(saturate(test, T, +1));
        const double spread = spread_of(incipient_ln_k(test));
        // Nearer to the critical point than that the reference has no digits left either.
        if (spread < 5e-4) continue;
        near += spread < 4e-3;
        expect_exact(test, 5e-8);
    }
    EXPECT_GE(near, 10);
}

/// Down to the critical point itself the boundary is smooth, and the phases become one.
TEST(NearCritical, TheBoundaryIsSmoothThroughTheCriticalPoint) {
    TestCell test(near_critical());
    double low = 417.0, high = 418.0;
    while (high - low > 1e-9) {
        const double T = 0.5 * (low + high);
        ASSERT_TRUE(saturate(test, T, +1));
        EXPECT_TRUE(test.errors->empty());
        (test.cell.x_state.fraction == 1.0 ? low : high) = T;
    }
    ASSERT_TRUE(saturate(test, low, +1));
    const double Pc = test.cell.pressure.value;
    EXPECT_LT(spread_of(incipient_ln_k(test)), 1e-5);
    for (const double step : {1e-6, 1e-5, 1e-4, 1e-3, 1e-2}) {
        ASSERT_TRUE(saturate(test, low - step, +1));
        EXPECT_TRUE(test.errors->empty());
        const double below = test.cell.pressure.value;
        ASSERT_TRUE(saturate(test, low + step, +1));
        EXPECT_TRUE(test.errors->empty());
        const double above = test.cell.pressure.value;
        // The second difference of ln P: the boundary's curvature is below 1 per (100 K)^2.
        EXPECT_NEAR((above - 2.0 * Pc + below) / Pc, 0.0, 2e-8 + 1e-4 * step * step) << step;
    }
}

/// Traces make ln K spread far while the phases are all but alike in bulk: rounding spoils Newton's
/// method long before its spreads tell.
TEST(NearCritical, TracesDoNotMatter) {
    Fluid fluid;
    fluid.name = "traces next to a critical point";
    fluid.equation = textbook::Equation::SoaveRedlichKwong;
    fluid.components = {
        {"N2", 28.013, 126.2, 33.9e5, 0.039, -0.19},  {"CO2", 44.01, 304.1, 73.8e5, 0.239, -0.08},
        {"C2", 30.07, 305.4, 48.8e5, 0.099, -0.10},   {"C3", 44.094, 369.8, 42.5e5, 0.153, -0.08},
        {"nC4", 58.124, 425.2, 38.0e5, 0.199, -0.06}, {"iC5", 72.151, 460.4, 33.9e5, 0.227, -0.06},
        {"nC5", 72.151, 469.7, 33.7e5, 0.251, -0.04}, {"H", 183.2, 694.9, 20.08e5, 0.4663, 0.077},
    };
    fluid.kij = pairs(8, {{0, 1, -0.02},
                          {0, 2, 0.033},
                          {0, 3, 0.035},
                          {0, 4, 0.066},
                          {0, 5, 0.060},
                          {0, 6, 0.070},
                          {0, 7, 0.112},
                          {1, 2, 0.129},
                          {1, 3, 0.110},
                          {1, 4, 0.132},
                          {1, 5, 0.094},
                          {1, 6, 0.113},
                          {1, 7, 0.118},
                          {2, 7, 0.008},
                          {3, 7, 0.006},
                          {4, 7, 0.009}});
    fluid.z = {0.1115, 0.3421, 0.2591, 0.1511, 0.0804, 0.0558, 1.5e-6, 3.9e-8};
    normalize(fluid.z);
    TestCell test(fluid);
    double low = 320.0, high = 360.0;
    while (high - low > 1e-7) {
        const double T = 0.5 * (low + high);
        ASSERT_TRUE(saturate(test, T, +1));
        (test.cell.x_state.fraction == 1.0 ? low : high) = T;
    }
    for (const double step : {-0.03, -0.01, -0.003, -0.001, 0.001, 0.003, 0.01, 0.03}) {
        SCOPED_TRACE(step);
        ASSERT_TRUE(saturate(test, low + step, +1));
        for (const auto& message : test.errors->entries) ADD_FAILURE() << message->text;
        if (spread_of(incipient_ln_k(test)) > 2e-3) expect_exact(test, 1e-7);
    }
}

Fluid pair_of(Component first, Component second, double trace, double kij) {
    Fluid fluid;
    fluid.name = first.name + " with a trace of " + second.name;
    fluid.components = {std::move(first), std::move(second)};
    fluid.kij = pairs(2, {{0, 1, kij}});
    fluid.z = {1.0 - trace, trace};
    return fluid;
}

/// Bubble and dew point of a component with a trace lie closer together than any bracket is closed.
TEST(NearCritical, AComponentWithATraceHasBothBoundaries) {
    const Component co2{"CO2", 44.01, 304.1, 73.8e5, 0.239, -0.08};
    const Component c6{"C6", 86.178, 507.5, 30.1e5, 0.299, -0.01};
    const Component c5{"nC5", 72.151, 469.7, 33.7e5, 0.251, -0.04};
    const Component heavy{"H", 434.6, 851.2, 9.86e5, 1.094, 0.11};
    const Component c2{"C2", 30.07, 305.4, 48.8e5, 0.099, -0.10};
    const Component h2s{"H2S", 34.08, 373.2, 89.4e5, 0.081, -0.13};
    const Component nc4{"nC4", 58.124, 425.2, 38e5, 0.199, -0.06};
    const Component ic5{"iC5", 72.151, 460.4, 33.9e5, 0.227, -0.06};
    struct Case {
        Fluid fluid;
        double T;
    };
    for (const Case& c :
         {Case{pair_of(co2, c6, 8e-12, 0.115), 292.6}, Case{pair_of(co2, c6, 1e-8, 0.115), 275.0},
          Case{pair_of(c5, heavy, 8e-12, 0.0075), 275.15},
          Case{pair_of(h2s, c2, 3e-9, 0.056), 353.2}, Case{pair_of(h2s, c2, 3e-9, 0.056), 275.7},
          // The heavier component lowers both boundaries below the vapor pressure as one component.
          Case{pair_of(nc4, ic5, 1e-10, 0.0), 424.7}, Case{pair_of(nc4, ic5, 1e-8, 0.0), 400.0}}) {
        SCOPED_TRACE(c.fluid.name + " at " + std::to_string(c.T));
        TestCell test(c.fluid);
        double P[2] = {0.0, 0.0};
        for (const int sense : {-1, 1}) {
            for (const double start : {UNSET, 1e5, 3e5, 1e8}) {
                ASSERT_TRUE(saturate(test, c.T, sense, start));
                expect_exact(test, 1e-13);
                EXPECT_EQ(test.cell.x_state.fraction, sense > 0 ? 1.0 : 0.0);
            }
            P[sense > 0] = test.cell.pressure.value;
        }
        EXPECT_LT(P[0], P[1]) << "the dew point is the lower one";
    }
}

/// Close to the highest temperature of the two phases they exist between 52 and 59 bar only.
TEST(NearCritical, ANarrowRegionIsFound) {
    Fluid fluid = pair_of({"CO2", 44.01, 304.1, 73.8e5, 0.239, -0.08},
                          {"nC5", 72.151, 469.7, 33.7e5, 0.251, -0.04}, 0.6715, 0.115);
    TestCell test(fluid), judge(fluid);
    for (const double T : {443.0, 445.0, 445.9, 446.5}) {
        SCOPED_TRACE(T);
        for (const double start : {UNSET, 3e4, 3e8}) {
            ASSERT_TRUE(saturate(test, T, +1, start));
            expect_exact(test, 1e-12);
            const double upper = test.cell.pressure.value;
            ASSERT_TRUE(saturate(test, T, -1, start));
            expect_exact(test, 1e-12);
            expect_two_phases_between(judge, T, test.cell.pressure.value, upper);
        }
    }
    EXPECT_FALSE(saturate(test, 470.0, +1)) << "above the critical points of both";
}

/// From a vapor whose root vanishes close by, Newton's method went round in circles for 4,700
/// evaluations, twice.
TEST(NearCritical, IterationsInCirclesEnd) {
    Fluid fluid;
    fluid.name = "oil with much methane";
    fluid.equation = textbook::Equation::SoaveRedlichKwong;
    fluid.components = {
        {"CO2", 44.01, 304.1, 73.8e5, 0.239, -0.08},
        {"H2S", 34.08, 373.2, 89.4e5, 0.081, -0.13},
        {"C1", 16.043, 190.4, 46.0e5, 0.011, -0.15},
        {"nC5", 72.151, 469.7, 33.7e5, 0.251, -0.04},
        {"H1", 104.9115946541834, 574.30973111518642, 2944196.4324219618, 0.28912294894021734,
         0.03},
        {"H2", 129.99570210533648, 611.68603951651664, 2421349.0695457258, 0.36523730989331205,
         0.05},
        {"H3", 181.45770969437115, 699.69647504694467, 2086068.6359507868, 0.44636863401063254,
         0.08},
    };
    fluid.kij = pairs(7, {{0, 1, 0.085771835674569127},
                          {0, 2, 0.08612203679221403},
                          {0, 3, 0.13167051943956176},
                          {0, 4, 0.13528115603509755},
                          {0, 5, 0.11307006422516501},
                          {0, 6, 0.12657681369773072},
                          {1, 2, 0.090015865155385774},
                          {1, 3, 0.056272487839159328},
                          {1, 4, 0.056969807557100662},
                          {1, 5, 0.058623401518644425},
                          {1, 6, 0.060539018092788978},
                          {2, 4, 0.029848524902864996},
                          {2, 5, 0.031619975586857162},
                          {2, 6, 0.060367891758244641},
                          {3, 4, 0.0067506591992369473},
                          {3, 5, 0.0069638284917632803},
                          {3, 6, 0.00858917196448232}});
    fluid.z = {0.03528011607122955,   0.0053967015329295038, 0.64602135781168724,
               0.0095593592523761095, 0.16628660086731537,   0.11590155504471815,
               0.021554309419743789};
    TestCell test(fluid);
    ASSERT_TRUE(saturate(test, 282.23808218814997, +1, 483909542.0));
    EXPECT_LT(test.cell.eos_evaluations, 1500);
    expect_exact(test, 1e-12);
}

}  // namespace
}  // namespace kestrane
