#include "equil/PackedLDL.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "equil/EOS.h"

namespace kestrane {
namespace {

/// Packed matrix times vector.
std::vector<double> multiply(const std::vector<double>& a, const std::vector<double>& x) {
    std::vector<double> b(x.size(), 0.0);
    for (std::size_t i = 0; i < x.size(); ++i)
        for (std::size_t j = 0; j < x.size(); ++j)
            b[i] += a[i >= j ? packed(i, j) : packed(j, i)] * x[j];
    return b;
}

/// B B^T + shift I with random B: positive definite for shift > 0.
std::vector<double> random_matrix(std::size_t n, double shift, std::mt19937& random) {
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<double> b(n * n);
    for (double& element : b) element = uniform(random);
    std::vector<double> a(n * (n + 1) / 2, 0.0);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            for (std::size_t k = 0; k < n; ++k) a[packed(i, j)] += b[i * n + k] * b[j * n + k];
            if (i == j) a[packed(i, j)] += shift;
        }
    return a;
}

TEST(PackedLDL, KnownFactors) {
    // [4 12 -16; 12 37 -43; -16 -43 98] = L diag(4, 1, 9) L^T, L = [1; 3 1; -4 5 1].
    std::vector<double> a{4.0, 12.0, 37.0, -16.0, -43.0, 98.0};
    const PivotRange range = ldl_factor(a, 3);
    EXPECT_EQ(range.smallest, 1.0);
    EXPECT_EQ(range.smallest_abs, 1.0);
    EXPECT_EQ(a, (std::vector<double>{0.25, 3.0, 1.0, -4.0, 5.0, 1.0 / 9.0}));
    std::vector<double> b{4.0 - 16.0, 12.0 - 43.0, -16.0 + 98.0};
    ldl_solve(a, b);
    EXPECT_NEAR(b[0], 1.0, 1e-13);
    EXPECT_NEAR(b[1], 0.0, 1e-13);
    EXPECT_NEAR(b[2], 1.0, 1e-13);
}

TEST(PackedLDL, ReciprocalPivotsRebuildTheMatrix) {
    std::mt19937 random(7);
    for (std::size_t n : {1u, 2u, 5u, 20u, 48u}) {
        const std::vector<double> a = random_matrix(n, 1.0, random);
        std::vector<double> f = a;
        ldl_factor(f, n);
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = 0; j <= i; ++j) {
                double sum = 0.0;
                for (std::size_t k = 0; k <= j; ++k)
                    sum += (k == i ? 1.0 : f[packed(i, k)]) * (k == j ? 1.0 : f[packed(j, k)]) /
                           f[packed(k, k)];
                // Elements are sums of up to 49 products of order 1.
                EXPECT_NEAR(sum, a[packed(i, j)], 1e-13 * static_cast<double>(n));
            }
    }
}

TEST(PackedLDL, SolvesDefiniteSystems) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (std::size_t n : {1u, 2u, 3u, 6u, 12u, 30u, 48u}) {
        const std::vector<double> a = random_matrix(n, 0.5, random);
        std::vector<double> x(n);
        for (double& element : x) element = uniform(random);
        std::vector<double> b = multiply(a, x);
        std::vector<double> f = a;
        EXPECT_GT(ldl_factor(f, n).smallest, 0.0);
        ldl_solve(f, b);
        // The condition number is below (n^2 + 0.5)/0.5.
        const double tolerance = 1e-15 * static_cast<double>(2 * n * n + 10);
        for (std::size_t i = 0; i < n; ++i) EXPECT_NEAR(b[i], x[i], tolerance) << n;
    }
}

TEST(PackedLDL, SignedAndAbsolutePivotsOfAnIndefiniteMatrix) {
    // diag(2, -0.5, 3) seen through L = [1; 1 1; 0 2 1].
    std::vector<double> a{2.0, 2.0, 1.5, 0.0, -1.0, 1.0};
    const PivotRange range = ldl_factor(a, 3);
    EXPECT_DOUBLE_EQ(range.smallest, -0.5);
    EXPECT_DOUBLE_EQ(range.smallest_abs, 0.5);
    EXPECT_DOUBLE_EQ(a[packed(1, 1)], -2.0);
    std::vector<double> b{2.0 * 1 + 2.0 * 2, 2.0 * 1 + 1.5 * 2 - 1.0 * 3, -1.0 * 2 + 1.0 * 3};
    ldl_solve(a, b);
    EXPECT_NEAR(b[0], 1.0, 1e-14);
    EXPECT_NEAR(b[1], 2.0, 1e-14);
    EXPECT_NEAR(b[2], 3.0, 1e-14);
}

TEST(PackedLDL, ZeroPivotStaysZeroAndContributesNothing) {
    std::vector<double> a{1.0, 1.0, 1.0, 0.0, 0.0, 4.0};  // second pivot 1 - 1 = 0
    const PivotRange range = ldl_factor(a, 3);
    EXPECT_EQ(range.smallest, 0.0);
    EXPECT_EQ(range.smallest_abs, 0.0);
    EXPECT_EQ(a[packed(1, 1)], 0.0);
    std::vector<double> b{3.0, 5.0, 8.0};
    ldl_solve(a, b);
    EXPECT_EQ(b, (std::vector<double>{3.0, 0.0, 2.0}));
}

TEST(PackedLDL, UnusablePivotsAreReportedAndLeaveFiniteFactors) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> undefined{nan};
    EXPECT_EQ(ldl_factor(undefined, 1).smallest_abs, 0.0);
    EXPECT_EQ(undefined[0], 0.0);
    // 1/5e-324 is no double.
    std::vector<double> tiny{5e-324, 1.0, 1.0};
    EXPECT_LT(ldl_factor(tiny, 2).smallest_abs, 1e-300);
    for (double element : tiny) EXPECT_TRUE(std::isfinite(element));
}

TEST(PackedLDL, EmptyMatrixHasNoPivot) {
    std::vector<double> a, b;
    const PivotRange range = ldl_factor(a, 0);
    ldl_solve(a, b);
    EXPECT_EQ(range.smallest, std::numeric_limits<double>::max());
    EXPECT_EQ(range.smallest_abs, std::numeric_limits<double>::max());
}

TEST(PackedLDL, ThreeRightSidesAtOnceAreSolvedLikeEach) {
    std::mt19937 random(12);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (std::size_t n = 1; n <= 13; ++n) {
        std::vector<double> a(n * (n + 1) / 2), sides[3], work(4 * n);
        for (double& element : a) element = uniform(random);
        for (std::size_t i = 0; i < n; ++i) a[packed(i, i)] += static_cast<double>(n);
        ldl_factor(a, n);
        for (std::vector<double>& side : sides) {
            side.resize(n);
            for (double& element : side) element = uniform(random);
        }
        std::vector<double> alone[] = {sides[0], sides[1], sides[2]};
        for (std::vector<double>& side : alone) ldl_solve(a, side);
        ldl_solve(a, sides[0], sides[1], sides[2], work);
        for (int k = 0; k < 3; ++k) EXPECT_EQ(sides[k], alone[k]) << n;
    }
}

}  // namespace
}  // namespace kestrane
