#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "surface/FactorSpace.h"

namespace kestrane {
namespace {

constexpr Rule RULES[]{RULE_LINEAR, RULE_INVERSE, RULE_LOGARITHMIC};

TEST(FactorSpace, ThereAndBack) {
    for (const Rule rule : RULES)
        for (const double value : {1e-90, 1e-5, 0.3, 1.0, 7.0, 1e90})
            EXPECT_NEAR(from_space(to_space(value, rule), rule), value, 1e-13 * value) << rule;
}

TEST(FactorSpace, ValuesBeyondTheBoundsAreHeldThere) {
    EXPECT_EQ(to_space(0.0, RULE_INVERSE), 1.0 / smallestFactor);
    EXPECT_EQ(to_space(-3.0, RULE_INVERSE), 1.0 / smallestFactor);
    EXPECT_EQ(to_space(0.0, RULE_LOGARITHMIC), smallestLog);
    EXPECT_EQ(to_space(1e200, RULE_LOGARITHMIC), largestLog);
    EXPECT_EQ(from_space(-1e6, RULE_LOGARITHMIC), std::exp(smallestLog));
    EXPECT_EQ(from_space(0.0, RULE_INVERSE), 1.0 / smallestFactor);
    EXPECT_EQ(to_space(-3.0, RULE_LINEAR), -3.0);
}

/// 1 - f in a space, in long double, of a factor given by its own exact form.
long double exact(long double rest, Rule result) {
    if (result == RULE_INVERSE) return 1.0L / rest;
    if (result == RULE_LOGARITHMIC) return std::log(rest);
    return rest;
}

void expect_close(double found, long double expected, double tolerance) {
    EXPECT_NEAR(found, static_cast<double>(expected),
                tolerance * std::abs(static_cast<double>(expected)));
}

// In the space of logarithms and inverses no digit is lost at either end: the remainder of
// exp(-1e-20) is 1e-20, where 1 - 1.0 would be nothing.
TEST(FactorSpace, ComplementOfALogarithm) {
    for (const long double log :
         {-200.0L, -30.0L, -5.0L, -0.8L, -0.69314718055994530942L, -0.1L, -1e-6L, -1e-20L, -1e-80L})
        for (const Rule result : RULES) {
            const double x = static_cast<double>(log);
            const long double rest = -std::expm1(static_cast<long double>(x));
            const double found = complement(x, RULE_LOGARITHMIC, result);
            if (result == RULE_LOGARITHMIC && x < -1.0)
                expect_close(found, std::log1p(-std::exp(static_cast<long double>(x))), 1e-14);
            else
                expect_close(found, exact(rest, result), 4e-15);
        }
}

TEST(FactorSpace, ComplementOfAnInverse) {
    for (const double x : {1.0 + 1e-12, 1.001, 1.5, 2.0, 4.0, 1e5, 1e30}) {
        const long double rest = (static_cast<long double>(x) - 1.0L) / x;
        expect_close(complement(x, RULE_INVERSE, RULE_LINEAR), rest, 4e-16);
        expect_close(complement(x, RULE_INVERSE, RULE_INVERSE), 1.0L / rest, 4e-16);
        expect_close(complement(x, RULE_INVERSE, RULE_LOGARITHMIC),
                     x < 2.0 ? std::log(rest) : std::log1p(-1.0L / static_cast<long double>(x)),
                     1e-15);
    }
}

TEST(FactorSpace, ComplementOfAFactor) {
    for (const double x : {1e-40, 1e-9, 0.25, 0.5, 0.75, 0.999}) {
        const long double rest = 1.0L - static_cast<long double>(x);
        expect_close(complement(x, RULE_LINEAR, RULE_LINEAR), rest, 2e-16);
        expect_close(complement(x, RULE_LINEAR, RULE_INVERSE), 1.0L / rest, 4e-16);
        expect_close(complement(x, RULE_LINEAR, RULE_LOGARITHMIC),
                     std::log1p(-static_cast<long double>(x)), 4e-15);
    }
}

TEST(FactorSpace, ComplementsAtTheEnds) {
    // All: nothing is left, which counts as the smallest factor where a space needs one.
    EXPECT_EQ(complement(1.0, RULE_LINEAR, RULE_LINEAR), 0.0);
    EXPECT_EQ(complement(1.0, RULE_LINEAR, RULE_INVERSE), 1.0 / smallestFactor);
    EXPECT_EQ(complement(1.0, RULE_LINEAR, RULE_LOGARITHMIC), std::log(smallestFactor));
    EXPECT_EQ(complement(1.0, RULE_INVERSE, RULE_LINEAR), 0.0);
    EXPECT_EQ(complement(0.2, RULE_INVERSE, RULE_INVERSE), 1.0 / smallestFactor);
    EXPECT_NEAR(complement(0.0, RULE_LOGARITHMIC, RULE_INVERSE) * smallestFactor, 1.0, 1e-12);
    EXPECT_NEAR(complement(5.0, RULE_LOGARITHMIC, RULE_LOGARITHMIC), smallestLog, 1e-12);
    // More than all.
    EXPECT_EQ(complement(1.5, RULE_LINEAR, RULE_LINEAR), -0.5);
    EXPECT_EQ(complement(1.5, RULE_LINEAR, RULE_INVERSE), 1.0 / smallestFactor);
    // Nothing: all is left.
    EXPECT_EQ(complement(0.0, RULE_LINEAR, RULE_LOGARITHMIC), 0.0);
    EXPECT_EQ(complement(-1e6, RULE_LOGARITHMIC, RULE_LINEAR), 1.0);
    EXPECT_EQ(complement(std::numeric_limits<double>::infinity(), RULE_INVERSE, RULE_LINEAR), 1.0);
}

}  // namespace
}  // namespace kestrane
