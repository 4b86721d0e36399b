#include "regress/Svd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace kestrane {
namespace {

/// A matrix by column.
struct Matrix {
    Matrix(std::size_t row_count, std::size_t col_count)
        : rows(row_count), cols(col_count), a(rows * cols) {}
    double& operator()(std::size_t i, std::size_t j) { return a[i + j * rows]; }
    double operator()(std::size_t i, std::size_t j) const { return a[i + j * rows]; }

    std::size_t rows, cols;
    std::vector<double> a;
};

std::mt19937_64& generator() {
    static std::mt19937_64 numbers(20240607);
    return numbers;
}

/// Orthonormal columns: random ones by Gram-Schmidt, done twice.
Matrix random_orthonormal(std::size_t rows, std::size_t cols) {
    std::normal_distribution<double> normal;
    Matrix q(rows, cols);
    for (std::size_t j = 0; j < cols; ++j) {
        for (std::size_t i = 0; i < rows; ++i) q(i, j) = normal(generator());
        for (int pass = 0; pass < 2; ++pass) {
            for (std::size_t k = 0; k < j; ++k) {
                double product = 0.0;
                for (std::size_t i = 0; i < rows; ++i) product += q(i, j) * q(i, k);
                for (std::size_t i = 0; i < rows; ++i) q(i, j) -= product * q(i, k);
            }
            double square = 0.0;
            for (std::size_t i = 0; i < rows; ++i) square += q(i, j) * q(i, j);
            for (std::size_t i = 0; i < rows; ++i) q(i, j) /= std::sqrt(square);
        }
    }
    return q;
}

/// U diag(w) V^T.
Matrix product(const Matrix& u, const std::vector<double>& w, const Matrix& v) {
    Matrix a(u.rows, v.rows);
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < a.cols; ++j)
            for (std::size_t k = 0; k < w.size(); ++k) a(i, j) += u(i, k) * w[k] * v(j, k);
    return a;
}

Matrix with_values(std::size_t rows, const std::vector<double>& w) {
    return product(random_orthonormal(rows, w.size()), w, random_orthonormal(w.size(), w.size()));
}

struct Svd {
    explicit Svd(const Matrix& matrix, int limit = SVD_ITERATIONS)
        : u(matrix), w(matrix.cols), v(matrix.cols, matrix.cols) {
        std::vector<double> work(matrix.cols);
        failed = svd_factor(u.a, u.rows, u.cols, w, v.a, work, limit);
    }
    std::vector<double> sorted() const {
        std::vector<double> values = w;
        std::sort(values.rbegin(), values.rend());
        return values;
    }

    Matrix u;
    std::vector<double> w;
    Matrix v;
    int failed = 0;
};

/// Largest difference of Q^T Q from the unit matrix.
double from_orthonormal(const Matrix& q) {
    double worst = 0.0;
    for (std::size_t j = 0; j < q.cols; ++j)
        for (std::size_t k = 0; k <= j; ++k) {
            double sum = j == k ? -1.0 : 0.0;
            for (std::size_t i = 0; i < q.rows; ++i) sum += q(i, j) * q(i, k);
            worst = std::max(worst, std::abs(sum));
        }
    return worst;
}

/// Factors are orthonormal and their product is the matrix, to `tolerance` of its largest value.
void expect_factors(const Matrix& a, const Svd& svd, double tolerance) {
    EXPECT_EQ(svd.failed, 0);
    EXPECT_LE(from_orthonormal(svd.u), tolerance);
    EXPECT_LE(from_orthonormal(svd.v), tolerance);
    const double largest = *std::max_element(svd.w.begin(), svd.w.end());
    const Matrix back = product(svd.u, svd.w, svd.v);
    for (std::size_t i = 0; i < a.a.size(); ++i)
        EXPECT_NEAR(back.a[i], a.a[i], tolerance * largest);
    for (const double w : svd.w) EXPECT_GE(w, 0.0);
}

TEST(Svd, FindsKnownSingularValues) {
    std::uniform_real_distribution<double> uniform(0.1, 10.0);
    for (std::size_t n = 1; n <= 12; ++n)
        for (const std::size_t rows : {n, n + 1, 5 * n, std::size_t{100}}) {
            SCOPED_TRACE(testing::Message() << rows << " by " << n);
            std::vector<double> w(n);
            for (double& value : w) value = uniform(generator());
            std::sort(w.rbegin(), w.rend());
            const Matrix a = with_values(rows, w);
            const Svd svd(a);
            expect_factors(a, svd, 1e-13);
            const std::vector<double> found = svd.sorted();
            for (std::size_t k = 0; k < n; ++k) EXPECT_NEAR(found[k], w[k], 1e-13 * w[0]);
        }
}

TEST(Svd, RandomElements) {
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (int trial = 0; trial < 50; ++trial) {
        Matrix a(20, 7);
        for (double& x : a.a) x = uniform(generator());
        expect_factors(a, Svd(a), 1e-13);
    }
}

TEST(Svd, ZeroMatrix) {
    const Svd svd{Matrix(4, 3)};
    expect_factors(Matrix(4, 3), svd, 0.0);
    EXPECT_EQ(svd.w, std::vector<double>(3, 0.0));
}

TEST(Svd, ZeroColumnAndEqualColumns) {
    Matrix a(5, 3);
    for (std::size_t i = 0; i < 5; ++i) a(i, 0) = a(i, 2) = 1.0 + static_cast<double>(i);
    const Svd svd(a);
    expect_factors(a, svd, 1e-14);
    EXPECT_NEAR(svd.sorted()[0], std::sqrt(110.0), 1e-13);
    EXPECT_NEAR(svd.sorted()[1], 0.0, 1e-14);
}

TEST(Svd, RankOne) {
    const std::vector<double> w{3.0, 0.0, 0.0, 0.0};
    for (const std::size_t rows : {4, 9}) {
        const Matrix a = with_values(rows, w);
        const Svd svd(a);
        expect_factors(a, svd, 1e-14);
        EXPECT_NEAR(svd.sorted()[0], 3.0, 1e-14 * 3.0);
        EXPECT_LE(svd.sorted()[1], 1e-15 * 3.0);
    }
}

/// Singular values over sixteen decades: each is found to digits of the largest.
TEST(Svd, GradedMatrix) {
    std::vector<double> w;
    for (int k = 0; k < 9; ++k) w.push_back(std::pow(10.0, -2 * k));
    const Matrix a = with_values(15, w);
    const Svd svd(a);
    expect_factors(a, svd, 1e-14);
    for (std::size_t k = 0; k < w.size(); ++k) EXPECT_NEAR(svd.sorted()[k], w[k], 2e-15);
}

/// A zero inside the bidiagonal must be rotated away.
TEST(Svd, ZeroOnTheDiagonal) {
    Matrix a(4, 4);
    for (std::size_t i = 0; i < 4; ++i) {
        a(i, i) = i == 1 ? 0.0 : 1.0 + static_cast<double>(i);
        if (i < 3) a(i, i + 1) = 1.0;
    }
    const Svd svd(a);
    expect_factors(a, svd, 1e-14);
    EXPECT_NEAR(svd.sorted()[3], 0.0, 1e-14);
}

/// Powers of two scale the values exactly, out to where squares of the elements do not exist.
TEST(Svd, HugeAndTinyElements) {
    const Matrix a = with_values(6, {2.0, 1.0, 0.5});
    const std::vector<double> w = Svd(a).sorted();
    for (const int exponent : {-1000, -600, 600, 1000}) {
        Matrix scaled = a;
        for (double& x : scaled.a) x = std::ldexp(x, exponent);
        const std::vector<double> found = Svd(scaled).sorted();
        for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(found[k], std::ldexp(w[k], exponent));
    }
}

/// Eigenvalues of the 8 by 8 second difference matrix, 2 - 2 cos(k pi / 9).
TEST(Svd, SecondDifferences) {
    constexpr std::size_t N = 8;
    Matrix a(N, N);
    for (std::size_t i = 0; i < N; ++i) {
        a(i, i) = 2.0;
        if (i + 1 < N) a(i, i + 1) = a(i + 1, i) = -1.0;
    }
    const std::vector<double> found = Svd(a).sorted();
    for (std::size_t k = 0; k < N; ++k)
        EXPECT_NEAR(found[k], 2.0 - 2.0 * std::cos(M_PI * static_cast<double>(N - k) / 9.0), 1e-14);
}

TEST(Svd, ReachingTheLimitIsTold) {
    const Matrix a = with_values(6, {3.0, 2.0, 1.0, 0.5});
    EXPECT_NE(Svd(a, 0).failed, 0);
    EXPECT_NE(Svd(a, 1).failed, 0);
    EXPECT_EQ(Svd(a, 6).failed, 0);
}

TEST(Svd, NotFinite) {
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        Matrix a = with_values(4, {2.0, 1.0});
        a(2, 1) = bad;
        const Svd svd(a);
        EXPECT_NE(svd.failed, 0);
        EXPECT_EQ(svd.w, std::vector<double>(2, 0.0));
        EXPECT_EQ(from_orthonormal(svd.v), 0.0);
    }
}

TEST(Svd, NoColumns) {
    EXPECT_EQ(svd_factor({}, 3, 0, {}, {}, {}), 0);
}

TEST(Svd, SolvesLeastSquares) {
    // A line through (0,1) (1,3) (2,4) (3,4): 1.5 + x.
    Matrix a(4, 2);
    const std::vector<double> b{1.0, 3.0, 4.0, 4.0};
    for (std::size_t i = 0; i < 4; ++i) {
        a(i, 0) = 1.0;
        a(i, 1) = static_cast<double>(i);
    }
    const Svd svd(a);
    std::vector<double> x(2);
    svd_solve(svd.u.a, 4, 2, svd.w, svd.v.a, b, x);
    EXPECT_NEAR(x[0], 1.5, 1e-14);
    EXPECT_NEAR(x[1], 1.0, 1e-14);
}

TEST(Svd, MinimumNormSolution) {
    // x + 2 y = 5 alone: the shortest solution lies along (1, 2).
    Matrix a(2, 2);
    a(0, 0) = 1.0;
    a(0, 1) = 2.0;
    Svd svd(a);
    for (double& w : svd.w)
        if (w < 1e-12) w = 0.0;
    std::vector<double> x(2);
    svd_solve(svd.u.a, 2, 2, svd.w, svd.v.a, std::vector<double>{5.0, 0.0}, x);
    EXPECT_NEAR(x[0], 1.0, 1e-14);
    EXPECT_NEAR(x[1], 2.0, 1e-14);
}

}  // namespace
}  // namespace kestrane
