#include "equil/ArrayMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace kestrane {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
using Vector = std::vector<double>;

/// Distance of a result from the exact value, in units of the last place of that value.
double error(double result, long double exact) {
    const double rounded = std::abs(static_cast<double>(exact));
    const double unit = std::nextafter(rounded, std::numeric_limits<double>::infinity()) - rounded;
    return static_cast<double>(std::abs(result - exact) / unit);
}

/// Numbers over the ranges that matter: near 0, about one period of 2^k, and the whole domain.
Vector draw(std::mt19937_64& random, std::size_t n, double reach) {
    std::uniform_real_distribution<double> uniform(-reach, reach);
    Vector x(n);
    for (double& element : x) element = uniform(random);
    return x;
}

TEST(ArrayMath, ExponentialsAgreeWithExtendedPrecision) {
    std::mt19937_64 random(7);
    for (double reach : {1e-12, 1e-3, 0.7, 10.0, 708.0})
        for (int repeat = 0; repeat < 4000; ++repeat) {
            const Vector x = draw(random, 1 + static_cast<std::size_t>(repeat) % 9, reach);
            Vector exp(x.size()), expm1(x.size()), alone(x.size());
            exp_of(x, exp, expm1);
            exp_of(x, alone);
            EXPECT_EQ(exp, alone);
            for (std::size_t i = 0; i < x.size(); ++i) {
                EXPECT_LT(error(exp[i], std::exp(static_cast<long double>(x[i]))), 1.0) << x[i];
                EXPECT_LT(error(expm1[i], std::expm1(static_cast<long double>(x[i]))), 2.0) << x[i];
            }
        }
}

TEST(ArrayMath, LogarithmsAgreeWithExtendedPrecision) {
    std::mt19937_64 random(8);
    for (double reach : {1e-9, 1e-3, 0.5, 10.0, 708.0})
        for (int repeat = 0; repeat < 4000; ++repeat) {
            Vector x = draw(random, 1 + static_cast<std::size_t>(repeat) % 9, reach);
            for (double& element : x) element = reach < 1.0 ? 1.0 + element : std::exp(element);
            Vector ln(x.size());
            log_of(x, ln);
            for (std::size_t i = 0; i < x.size(); ++i)
                EXPECT_LT(error(ln[i], std::log(static_cast<long double>(x[i]))), 1.0) << x[i];
        }
}

TEST(ArrayMath, EndsOfTheDomain) {
    const Vector x = {-708.0, 709.0, 0.0, -0.0, 1e-300, 5e-324};
    Vector exp(6), expm1(6);
    exp_of(x, exp, expm1);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_LT(error(exp[i], std::exp(static_cast<long double>(x[i]))), 1.0) << x[i];
        EXPECT_LE(error(expm1[i], std::expm1(static_cast<long double>(x[i]))), 1.0) << x[i];
    }
    EXPECT_EQ(exp[2], 1.0);
    EXPECT_EQ(expm1[2], 0.0);

    const Vector y = {std::numeric_limits<double>::min(), std::numeric_limits<double>::max(), 1.0};
    Vector ln(3);
    log_of(y, ln);
    EXPECT_LT(error(ln[0], std::log(static_cast<long double>(y[0]))), 1.0);
    EXPECT_LT(error(ln[1], std::log(static_cast<long double>(y[1]))), 1.0);
    EXPECT_EQ(ln[2], 0.0);
}

TEST(ArrayMath, AnUndefinedElementStaysAloneUndefined) {
    const Vector x = {1.0, NaN, 2.0, 3.0, 4.0};
    Vector exp(5), expm1(5);
    exp_of(x, exp, expm1);
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(std::isnan(exp[i]), i == 1);
        EXPECT_EQ(std::isnan(expm1[i]), i == 1);
    }
}

/// The place of an element in the array, and what is beside it, have no part in its result.
TEST(ArrayMath, ResultsDoNotDependOnThePlace) {
    std::mt19937_64 random(9);
    const Vector x = draw(random, 11, 3.0);
    Vector exp(11), ln(11);
    exp_of(x, exp);
    log_of(exp, ln);
    for (std::size_t first = 0; first < 11; ++first)
        for (std::size_t n = 1; first + n <= 11; ++n) {
            Vector part(n + 1, -7.0), ln_part(n + 1, -7.0);
            exp_of(std::span(x).subspan(first, n), std::span(part).first(n));
            log_of(std::span(exp).subspan(first, n), std::span(ln_part).first(n));
            EXPECT_EQ(part[n], -7.0);
            EXPECT_EQ(ln_part[n], -7.0);
            for (std::size_t i = 0; i < n; ++i) {
                EXPECT_EQ(part[i], exp[first + i]);
                EXPECT_EQ(ln_part[i], ln[first + i]);
            }
        }
}

}  // namespace
}  // namespace kestrane
