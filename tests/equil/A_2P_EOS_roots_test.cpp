#include <gtest/gtest.h>

#include <array>
#include <random>

#include "equil/EosFluids.h"

namespace kestrane {
namespace {

using testing_eos::make_fluid;
using testing_eos::Phase;
using testing_eos::working_equations;

// A walk through all magnitudes of A and B, against the same cubic in extended precision. The signs
// at its stationary points tell how many roots there are, except within the rounding of a double
// root.
TEST(A_2P_EOS, SolvesTheCubicAtAllMagnitudes) {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> magnitude(-12.0, 3.0), ratio(-2.0, 2.0);
    for (const auto& eos : working_equations()) {
        const Charzation charz = make_fluid(1);
        Phase phase(*eos, charz, 300.0, {1.0});
        auto& state = static_cast<A_2P_EOS::C_Parms&>(*phase.record);
        int two_roots = 0;
        for (int trial = 0; trial < 50000; ++trial) {
            state.b = std::pow(10.0, magnitude(random));
            state.a = state.b * std::pow(10.0, ratio(random));
            if (trial % 7 == 0) state.a = -state.a;
            phase.solve(1.0);
            const long double p1 = eos->c1 * state.B, p2 = eos->c2 * state.B, A = state.A;
            const auto f = [&](long double z) { return (z - 1) * (z + p1) * (z + p2) + A * z; };
            for (const long double z : {state.z_low, state.z_high}) {
                ASSERT_GT(z, 0.0L);
                const long double scale = (z + 1) * (z + p1) * (z + p2) + std::fabs(A) * z;
                ASSERT_LE(std::fabs(f(z)), 1e-14L * scale) << state.A << " " << state.B;
            }
            if (A > 0) {
                ASSERT_LE(state.z_high, 1.0);
            } else {
                ASSERT_GE(state.z_low, 1.0);
            }
            const long double a2 = p1 + p2 - 1, a1 = A - p1 - p2 + p1 * p2;
            const long double D = a2 * a2 - 3 * a1;
            if (D <= 0) {
                ASSERT_EQ(state.z_low, state.z_high);
                continue;
            }
            const long double first = (-a2 - std::sqrt(D)) / 3, second = (-a2 + std::sqrt(D)) / 3;
            const auto sign = [&](long double z) {
                const long double margin =
                    1e-14L * ((std::fabs(a2) + std::fabs(z)) * z * z + std::fabs(a1 * z) + p1 * p2);
                return f(z) > margin ? 1 : f(z) < -margin ? -1 : 0;
            };
            if (first > 0 && sign(first) > 0 && sign(second) < 0) {
                ASSERT_LT(state.z_low, state.z_high) << state.A << " " << state.B;
                ++two_roots;
            } else if (first <= 0 || sign(first) < 0 || sign(second) > 0) {
                ASSERT_EQ(state.z_low, state.z_high) << state.A << " " << state.B;
            }
        }
        EXPECT_TRUE(phase.errors.empty());
        EXPECT_GT(two_roots, 1000);
    }
}

// Covolumes so small or pressures so high that A and B leave the range of any fluid: the roots stay
// numbers between 0 and the largest, and no search gives up.
TEST(A_2P_EOS, RootsAreUsableAtAnyMagnitude) {
    std::mt19937_64 random(4242);
    std::uniform_real_distribution<double> magnitude(-170.0, 170.0), ratio(-12.0, 12.0);
    for (const auto& eos : working_equations()) {
        const Charzation charz = make_fluid(1);
        Phase phase(*eos, charz, 300.0, {1.0});
        auto& state = static_cast<A_2P_EOS::C_Parms&>(*phase.record);
        for (int trial = 0; trial < 50000; ++trial) {
            state.b = std::pow(10.0, magnitude(random));
            state.a = state.b * std::pow(10.0, ratio(random));
            if (trial % 3 == 0) state.a = -state.a;
            phase.solve(1.0, trial % 3 - 1);
            for (const double z : {state.z_low, state.z_high}) {
                ASSERT_TRUE(z > 0.0 && std::isfinite(z)) << state.A << " " << state.B;
            }
            ASSERT_TRUE(std::isfinite(state.dzi_low) && std::isfinite(state.dzi_high))
                << state.A << " " << state.B;
        }
        EXPECT_TRUE(phase.errors.empty());
    }
}

TEST(A_2P_EOS, FindsTwoRootsExactlyBetweenTheSpinodals) {
    for (const auto& eos : working_equations()) {
        const Charzation charz = make_fluid(1);
        Phase phase(*eos, charz, 0.8 * charz.comps[0].tc, {1.0});
        const double a = phase.state().a, b = phase.state().b;
        // dP/dV of the isotherm in y = z/B changes sign at the spinodals.
        const auto P_of = [&](double y) {
            return 1.0 / (b * y) - a / (b * b * (y + eos->c1) * (y + eos->c2));
        };
        double P_min = 1e300, P_max = -1e300, y = 0.02;
        while (P_of(y * 1.0005) < P_of(y)) y *= 1.0005;
        P_min = std::max(0.0, P_of(y));
        while (P_of(y * 1.0005) > P_of(y)) y *= 1.0005;
        P_max = P_of(y);
        EXPECT_EQ(std::abs(phase.solve(P_max * 0.9999)), 2);
        EXPECT_EQ(phase.solve(P_max * 1.0001), -1);
        EXPECT_EQ(phase.root_class, -1);
        if (P_min > 0.0) {
            EXPECT_EQ(std::abs(phase.solve(P_min * 1.0001)), 2);
            EXPECT_EQ(phase.solve(P_min * 0.9999), 1);
            EXPECT_EQ(phase.root_class, 1);
        }
    }
}

TEST(A_2P_EOS, EqualRootsAreJudgedByTwoRules) {
    // A dense supercritical fluid: the root code asks on which side of the critical z/B the root
    // lies, the class where it lies against the inflection of the cubic at that pressure.
    PR79_EOS eos;
    const Charzation charz = make_fluid(1);
    Phase phase(eos, charz, 1.3 * charz.comps[0].tc, {1.0});
    bool differed = false;
    for (double P = 1e5; P < 1e9; P *= 1.05) {
        phase.solve(P, 0);
        const auto& state = phase.state();
        ASSERT_EQ(state.z_low, state.z_high);
        const int by_density = state.z_sel < eos.y_crit * state.B ? -1 : 1;
        const double S = (eos.c1 + eos.c2) * state.B;
        const int by_inflection = 3.0 * state.z_sel < 1.0 - S ? -1 : 1;
        EXPECT_EQ(phase.root, by_density);
        EXPECT_EQ(phase.root_class, by_inflection);
        EXPECT_EQ(eos.root_code(*phase.record), by_inflection);
        differed |= by_density != by_inflection;
    }
    EXPECT_TRUE(differed);
}

struct NewtonResult {
    bool found;
    double z, dz;
};

// (z - r0)(z - r1)(z - r2)
NewtonResult newton(std::array<double, 3> r, double lower, double upper, double guess, double warm,
                    ErrorList* errors = nullptr) {
    NewtonResult result{false, warm, -1.0};
    result.found = PR79_EOS().newton_root(
        -(r[0] + r[1] + r[2]), r[0] * r[1] + r[1] * r[2] + r[0] * r[2], -r[0] * r[1] * r[2], lower,
        upper, guess, result.z, result.dz, errors);
    return result;
}

TEST(NewtonRoot, FindsTheRootAndItsReciprocalSlope) {
    const NewtonResult low = newton({0.1, 0.4, 0.9}, 0.0, 0.2, 0.2, 0.5);
    EXPECT_TRUE(low.found);
    EXPECT_NEAR(low.z, 0.1, 1e-15);
    EXPECT_NEAR(low.dz, 1.0 / (0.3 * 0.8), 1e-12);
    const NewtonResult high = newton({0.1, 0.4, 0.9}, 0.7, 1.0, 0.7, 0.7);
    EXPECT_TRUE(high.found);
    EXPECT_NEAR(high.z, 0.9, 1e-15);
    EXPECT_NEAR(high.dz, 1.0 / (0.8 * 0.5), 1e-12);
}

TEST(NewtonRoot, FailsWithoutABracket) {
    EXPECT_FALSE(newton({0.1, 0.4, 0.9}, 0.2, 0.1, 0.15, 0.1).found);
    // Positive at the lower end, negative at the upper end: the guess closes the bracket.
    EXPECT_FALSE(newton({0.1, 0.4, 0.9}, 0.2, 0.25, 0.1, 0.1).found);
    EXPECT_FALSE(newton({0.1, 0.4, 0.9}, 0.5, 0.8, 0.8, 0.6).found);
}

TEST(NewtonRoot, TakesAGuessThatIsTheRoot) {
    const NewtonResult at_bound = newton({0.25, 0.5, 1.0}, 0.9, 1.0, 5.0, 0.3);
    EXPECT_TRUE(at_bound.found);
    EXPECT_EQ(at_bound.z, 1.0);
    EXPECT_NEAR(at_bound.dz, 1.0 / (0.75 * 0.5), 1e-14);
}

TEST(NewtonRoot, TakesAWarmStartThatIsTheRoot) {
    const NewtonResult warm = newton({0.25, 0.5, 1.0}, 0.8, 2.0, 0.8, 1.0);
    EXPECT_TRUE(warm.found);
    EXPECT_EQ(warm.z, 1.0);
}

TEST(NewtonRoot, ATripleRootHasNoFiniteSlope) {
    ErrorList errors;
    const NewtonResult triple = newton({0.5, 0.5, 0.5}, 0.0, 1.0, 0.5, 0.9, &errors);
    EXPECT_TRUE(triple.found);
    EXPECT_EQ(triple.z, 0.5);
    EXPECT_GT(triple.dz, 1e14);
    // From aside the steps shrink by a third only, but the cubic's rounding ends them.
    const NewtonResult aside = newton({0.5, 0.5, 0.5}, 0.0, 1.0, 0.9, 0.9, &errors);
    EXPECT_TRUE(aside.found);
    EXPECT_NEAR(aside.z, 0.5, 1e-4);
    EXPECT_TRUE(errors.empty());
}

TEST(NewtonRoot, WarnsAfterFiftyRounds) {
    // No real root in the bounds: z^3 + 1 on [-0.5, 3] starts above zero and runs into the bound.
    ErrorList errors;
    NewtonResult result{false, 1.0, 0.0};
    result.found =
        PR79_EOS().newton_root(0.0, 0.0, 1.0, -0.5, 3.0, 3.0, result.z, result.dz, &errors);
    EXPECT_TRUE(result.found);
    EXPECT_EQ(result.z, -0.5);
    ASSERT_EQ(errors.entries.size(), 1U);
    EXPECT_EQ(errors.entries[0]->text, "Convergence failed in cubic equation solver");
    EXPECT_EQ(errors.severity, WARNING);
    errors.Clear();
    errors.warnings_on = false;
    EXPECT_TRUE(
        PR79_EOS().newton_root(0.0, 0.0, 1.0, -0.5, 3.0, 3.0, result.z, result.dz, &errors));
    EXPECT_TRUE(errors.empty());
}

}  // namespace
}  // namespace kestrane
