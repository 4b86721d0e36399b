#include "equil/RachfordRice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "equil/Numerics.h"

namespace kestrane {
namespace {

constexpr double EPS = std::numeric_limits<double>::epsilon();
using Vector = std::vector<double>;

/// Owns the arrays of one solution.
struct Problem {
    Problem(Vector feed, Vector ln_k) : z(std::move(feed)), ln_K(std::move(ln_k)) {
        for (Vector* array : {&K, &xi, &x, &y, &a, &b, &c}) array->assign(z.size(), -7.0);
        state.z = z;
        state.ln_K = ln_K;
        state.K = K;
        state.xi = xi;
        state.x = x;
        state.y = y;
        state.work_a = a;
        state.work_b = b;
        state.work_c = c;
    }
    int solve(bool snap = false) { return rachford_rice(state, 0.0, 0.0, snap); }

    Vector z, ln_K, K, xi, x, y, a, b, c;
    RachfordRiceState state;
};

/// The root by bisection in extended precision, on the logarithm of the distance from the nearer
/// asymptote, so that roots at any distance are found to full relative precision.
struct ExactRoot {
    long double u = 0, w = 0, V = 0, L = 0;
    std::vector<long double> xi;
};

ExactRoot exact_root(const Vector& z, const Vector& ln_K) {
    const std::size_t n = z.size();
    std::vector<long double> a(n);
    for (std::size_t i = 0; i < n; ++i) a[i] = std::expm1(static_cast<long double>(ln_K[i]));
    const long double top = *std::max_element(ln_K.begin(), ln_K.end());
    const long double bottom = *std::min_element(ln_K.begin(), ln_K.end());
    const long double a_max = std::expm1(top);
    const long double a_min = std::expm1(bottom);
    const long double width = 1 / a_max - 1 / a_min;
    // Differences of K from the extreme K, with all their digits.
    auto denominator = [&](std::size_t i, bool left, long double d) {
        return left ? a[i] * d - std::exp(top) * std::expm1(ln_K[i] - top) / a_max
                    : -a[i] * d - std::exp(bottom) * std::expm1(ln_K[i] - bottom) / a_min;
    };
    auto g = [&](bool left, long double d) {
        long double sum = 0;
        for (std::size_t i = 0; i < n; ++i) sum += z[i] * a[i] / denominator(i, left, d);
        return sum;
    };
    const bool left = g(true, width / 2) < 0;
    long double low = -800, high = std::log(width / 2);
    for (int step = 0; step < 200; ++step) {
        const long double middle = (low + high) / 2;
        const bool raise = left ? g(true, std::exp(middle)) > 0 : g(false, std::exp(middle)) < 0;
        (raise ? low : high) = middle;
    }
    const long double d = std::exp((low + high) / 2);
    ExactRoot root;
    root.u = left ? d : width - d;
    root.w = left ? width - d : d;
    root.V = left ? d - 1 / a_max : -1 / a_min - d;
    root.L = left ? 1 + 1 / a_max - d : std::exp(bottom) / a_min + d;
    for (std::size_t i = 0; i < n; ++i) root.xi.push_back(1 / denominator(i, left, d));
    return root;
}

/// Solution against the exact root. The solver may stop at |g| (|L| + |V|) <= NUM_EPS, or at the
/// rounding of g; the slope D turns the error of g into one of V, and a_i xi_i turns that into a
/// relative error of xi_i. Where K_i is close to the extreme K of the nearer asymptote, 1 + a_i V
/// is a small difference of rounded K: its error is a few EPS (1 + |a_i/a_extreme|).
void expect_exact(const Problem& p) {
    const ExactRoot root = exact_root(p.z, p.ln_K);
    const std::size_t n = p.z.size();
    const long double spread = std::fabs(root.L) + std::fabs(root.V);
    const double ln_end = root.u < root.w ? *std::max_element(p.ln_K.begin(), p.ln_K.end())
                                          : *std::min_element(p.ln_K.begin(), p.ln_K.end());
    std::vector<long double> ar(n), rounding(n);
    long double slope = 0, g_error = NUM_EPS / spread;
    for (std::size_t i = 0; i < n; ++i) {
        const long double a = std::expm1(static_cast<long double>(p.ln_K[i]));
        ar[i] = a * root.xi[i];
        rounding[i] = 3 * EPS * (1 + std::fabs(a / std::expm1(ln_end))) * root.xi[i] + 4 * EPS;
        slope += p.z[i] * ar[i] * ar[i];
        g_error += p.z[i] * std::fabs(ar[i]) * (rounding[i] + static_cast<double>(n) * EPS);
    }
    const long double V_error = g_error / slope + 8 * EPS * spread;
    EXPECT_NEAR(static_cast<double>(p.state.V - root.V), 0.0, static_cast<double>(V_error));
    EXPECT_NEAR(static_cast<double>(p.state.L - root.L), 0.0, static_cast<double>(V_error));
    const long double distance_error =
        g_error / slope + 4 * EPS * std::min(std::fabs(root.u), std::fabs(root.w));
    for (std::size_t i = 0; i < n; ++i) {
        const long double relative = std::fabs(ar[i]) * distance_error + rounding[i];
        const long double xi = std::max<long double>(root.xi[i], DOUBLE_MIN);
        EXPECT_NEAR(static_cast<double>(p.xi[i] / xi), 1.0, static_cast<double>(relative))
            << "component " << i << " of " << n << ", u " << root.u << ", w " << root.w;
    }
}

TEST(RachfordRice, RootsComputedInSixtyDigits) {
    struct Case {
        Vector z, ln_K;
        double V, L;
    };
    // Bisection with 60 digits.
    const Case cases[] = {
        {{0.2, 0.3, 0.5}, {2.0, 0.25, -1.5}, 0.30684077440884440706, 0.69315922559115559294},
        {{0.4, 0.35, 0.25}, {1.0, 0.0, -1.0}, 0.74968693235445997252, 0.25031306764554002748},
        {{0.4, 0.35, 0.25}, {1e-3, 1e-9, -2e-3}, -76.42271965553304505, 77.42271965553304505},
        {{0.5, 0.5}, {1e-4, -0.9}, -4998.9074452914639224, 4999.9074452914639224},
        {{1e-12, 0.4, 0.6 - 1e-12},
         {3.0, -0.5, -2.0},
         -0.052395696489718725059,
         1.0523956964897187251},
        {{0.6 - 1e-12, 0.4, 1e-12},
         {2.0, 0.5, -3.0},
         1.0523956964897187251,
         -0.052395696489718725059},
        {{0.3, 0.3, 0.4}, {700.0, 0.5, -700.0}, 0.48146213213909332303, 0.51853786786090667697},
        {{1e-100, 0.5, 0.5}, {1.0, -0.5, -0.7}, -0.58197670686932642439, 1.5819767068693264244},
    };
    for (const Case& known : cases) {
        Problem p(known.z, known.ln_K);
        EXPECT_GT(p.solve(), 0);
        EXPECT_FALSE(p.state.trivial);
        const double tolerance = 1e-14 * (std::abs(known.V) + std::abs(known.L));
        EXPECT_NEAR(p.state.V, known.V, tolerance);
        EXPECT_NEAR(p.state.L, known.L, tolerance);
        expect_exact(p);
    }
}

TEST(RachfordRice, DistanceFromTheAsymptoteKeepsItsDigits) {
    // From the same computation: u = V - V_min, of which V itself has lost all digits.
    Problem p({1e-100, 0.5, 0.5}, {1.0, -0.5, -0.7});
    p.solve();
    const double u = 2.8188765312906935095e-100;
    EXPECT_NEAR(p.xi[0] * std::expm1(1.0) * u, 1.0, 1e-14);
    Problem q({0.6 - 1e-12, 0.4, 1e-12}, {2.0, 0.5, -3.0});
    q.solve();
    const double w = 1.5372269127820184701e-12;
    EXPECT_NEAR(q.xi[2] * -std::expm1(-3.0) * w, 1.0, 1e-14);
}

TEST(RachfordRice, RandomProblems) {
    std::mt19937 random(20240607);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    int most = 0;
    double evaluations = 0.0, problems = 0.0;
    for (std::size_t n = 2; n <= 48; ++n) {
        for (int repeat = 0; repeat < 60; ++repeat) {
            Vector z(n), ln_K(n);
            const double spread = std::exp(-6.0 + 12.0 * uniform(random));
            const double trace = 200.0 * uniform(random) * uniform(random) * uniform(random);
            double sum = 0.0;
            for (double& amount : z) sum += amount = std::exp(-trace * uniform(random));
            for (double& amount : z) amount /= sum;
            for (double& value : ln_K) value = spread * (uniform(random) - 0.5);
            ln_K[n - 1] = -0.5 * spread * std::max(1e-3, uniform(random));
            ln_K[0] = 0.5 * spread * std::max(1e-3, uniform(random));
            Problem p(z, ln_K);
            p.state.V = 3.0 * uniform(random) - 1.0;  // starts within and without the window
            p.state.L = 1.0 - p.state.V;
            const int count = p.solve();
            ASSERT_GT(count, 0);
            most = std::max(most, count);
            evaluations += count;
            problems += 1.0;
            expect_exact(p);
            if (HasFailure()) FAIL() << "n " << n << " repeat " << repeat;
        }
    }
    // Second order from either asymptote: a handful of evaluations, whatever the start.
    EXPECT_LE(most, 60);
    EXPECT_LE(evaluations / problems, 9.0);
}

TEST(RachfordRice, CompositionsCloseTheMaterialBalance) {
    Problem p({0.1, 0.2, 0.3, 0.4}, {3.0, 1.0, -0.5, -4.0});
    ASSERT_GT(p.solve(), 0);
    double sum_x = 0.0, sum_y = 0.0, slope = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(p.state.L * p.x[i] + p.state.V * p.y[i], p.z[i], 4.0 * EPS);
        EXPECT_NEAR(p.y[i] / p.x[i], std::exp(p.ln_K[i]), 4.0 * EPS * std::exp(p.ln_K[i]));
        EXPECT_DOUBLE_EQ(p.a[i], std::expm1(p.ln_K[i]));
        sum_x += p.x[i];
        sum_y += p.y[i];
        slope += p.z[i] * std::pow((p.K[i] - 1.0) * p.xi[i], 2);
    }
    EXPECT_NEAR(sum_x, 1.0, 8.0 * EPS);
    EXPECT_NEAR(sum_y, 1.0, 8.0 * EPS);
    EXPECT_NEAR(p.state.slope, slope, 1e-13 * slope);
}

TEST(RachfordRice, KAllAboveOneIsTrivialWithoutCompanion) {
    Problem above({0.5, 0.5}, {0.3, 0.2});
    EXPECT_EQ(above.solve(), 0);
    EXPECT_TRUE(above.state.trivial);
    EXPECT_TRUE(above.state.in_range);
    EXPECT_EQ(above.ln_K, (Vector{0.3, 0.2}));
    Problem below({0.5, 0.5}, {-0.3, 0.0});
    EXPECT_EQ(below.solve(), 0);
    EXPECT_TRUE(below.state.trivial);
    EXPECT_EQ(below.state.i_max, 1u);
    EXPECT_EQ(below.state.i_min, 0u);
}

TEST(RachfordRice, CompanionMovesAlongWhenKLieOnOneSide) {
    for (double side : {1.0, -1.0}) {
        const Vector start{0.3 * side, 0.8 * side, 0.5 * side};
        Problem p({0.3, 0.3, 0.4}, start);
        Vector companion{0.1, 0.2, 0.3};
        p.state.companion = companion;
        ASSERT_GT(p.solve(), 0);
        EXPECT_FALSE(p.state.trivial);
        // The nearer end comes to a tenth of the spread beyond 1.
        const double shift = side * (0.3 + 0.1 * 0.5);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(p.ln_K[i], start[i] - shift, 1e-15);
            EXPECT_NEAR(start[i] - p.ln_K[i], Vector({0.1, 0.2, 0.3})[i] - companion[i], 1e-15);
        }
        expect_exact(p);
    }
}

TEST(RachfordRice, CompanionStaysWhenKStraddleOne) {
    Problem p({0.5, 0.5}, {0.5, -0.5});
    Vector companion{0.25, 0.5};
    p.state.companion = companion;
    ASSERT_GT(p.solve(), 0);
    EXPECT_EQ(companion, (Vector{0.25, 0.5}));
    EXPECT_NEAR(p.state.V,
                0.5 - 1.0 / std::expm1(0.5) + 1.0 / -std::expm1(-0.5) - 0.5 -
                    (1.0 / -std::expm1(-0.5) - 1.0 / std::expm1(0.5)) / 2.0,
                1e-14);
}

TEST(RachfordRice, SpreadWithinTheToleranceIsTrivial) {
    Problem p({0.5, 0.5}, {1e-3, -1e-3});
    EXPECT_EQ(rachford_rice(p.state, 0.0, 2e-3, false), 0);
    EXPECT_TRUE(p.state.trivial);
    EXPECT_GT(rachford_rice(p.state, 0.0, 1.9e-3, false), 0);
    EXPECT_FALSE(p.state.trivial);
    // Without a trivial tolerance: the cube root of the tolerance, NUM_EPS at least.
    Problem narrow({0.5, 0.5}, {0.45e-5, -0.45e-5});
    EXPECT_EQ(narrow.solve(), 0);
    EXPECT_TRUE(narrow.state.trivial);
    Problem wide({0.5, 0.5}, {0.55e-5, -0.55e-5});
    EXPECT_GT(wide.solve(), 0);
    expect_exact(wide);
}

TEST(RachfordRice, KOfExactlyOneKeepsItsMoles) {
    Problem p({0.4, 0.35, 0.25}, {1.0, 0.0, -1.0});
    ASSERT_GT(p.solve(), 0);
    EXPECT_EQ(p.K[1], 1.0);
    EXPECT_EQ(p.a[1], 0.0);
    EXPECT_NEAR(p.x[1], 0.35, EPS);
    EXPECT_NEAR(p.y[1], 0.35, EPS);
}

TEST(RachfordRice, KNearOneKeepsItsDigits) {
    Problem p({0.4, 0.35, 0.25}, {1.0, 1e-13, -1.0});
    ASSERT_GT(p.solve(), 0);
    EXPECT_DOUBLE_EQ(p.a[1], 1e-13 + 0.5e-26);  // K - 1 from K would hold three digits
}

TEST(RachfordRice, SingleNonzeroComponentEndsAtItsAsymptote) {
    // The light component alone: the tie-line point is at the heavy one's asymptote.
    for (double trace : {0.0, TINY_AMOUNT}) {
        Problem light({1.0, trace}, {std::log(2.0), std::log(0.5)});
        ASSERT_GT(light.solve(), 0);
        EXPECT_NEAR(light.state.V, 2.0, 4.0 * EPS);
        EXPECT_NEAR(light.state.L, -1.0, 4.0 * EPS);
        EXPECT_NEAR(light.x[0], 1.0 / 3.0, 4.0 * EPS);
        EXPECT_NEAR(light.y[0], 2.0 / 3.0, 4.0 * EPS);
        Problem heavy({trace, 1.0}, {std::log(2.0), std::log(0.5)});
        ASSERT_GT(heavy.solve(), 0);
        EXPECT_NEAR(heavy.state.V, -1.0, 4.0 * EPS);
        EXPECT_NEAR(heavy.x[1], 2.0 / 3.0, 4.0 * EPS);
        for (double amount : {light.x[1], light.y[1], heavy.x[0], heavy.y[0]})
            EXPECT_GT(amount, 0.0);
    }
}

TEST(RachfordRice, AmountsAtTheFloor) {
    Problem p({TINY_AMOUNT, 0.5, 0.5, TINY_AMOUNT}, {5.0, 0.5, -0.5, -5.0});
    ASSERT_GT(p.solve(), 0);
    expect_exact(p);
    Problem at_left({TINY_AMOUNT, 0.5, 0.5}, {5.0, -0.5, -0.6});
    ASSERT_GT(at_left.solve(), 0);
    expect_exact(at_left);
}

TEST(RachfordRice, PhaseFractionOfAMillion) {
    // Nearly equal phases: the window is 2e6 wide and the feed far outside the tie-line.
    Problem p({0.999, 0.001}, {1e-6, -5e-6});
    ASSERT_GT(rachford_rice(p.state, 0.0, 1e-9, false), 0);
    EXPECT_GT(std::abs(p.state.V), 1e5);
    expect_exact(p);
}

TEST(RachfordRice, LargePhaseFractionWithOrdinaryKs) {
    // |V| = 900 with a K of 0.1 beside it: |g| (|L| + |V|) cannot fall below 1e-15 in doubles.
    Problem p({0.9, 0.0999, 0.0001}, {1e-3, 0.5e-3, -2.3});
    p.state.V = -1e9;
    p.state.L = 1e9;
    const int count = p.solve();
    EXPECT_GT(count, 0);
    EXPECT_LT(count, 100);
    expect_exact(p);
    Problem q({0.0001, 0.4999, 0.5}, {1e-3, -1.0, -2.3});
    EXPECT_GT(q.solve(), 0);
    EXPECT_LT(q.state.V, -900.0);
    expect_exact(q);
}

TEST(RachfordRice, KAtTheLimitsOfTheRange) {
    const double top = 709.0, bottom = -707.0;
    ASSERT_LT(top, LN_MAX);
    ASSERT_GT(bottom, LN_MIN);
    const Vector feeds[] = {
        {0.3, 0.3, 0.4}, {1e-3, 0.9, 0.099}, {TINY_AMOUNT, 0.5, 0.5}, {0.5, 0.5, TINY_AMOUNT}};
    const Vector sets[] = {{top, 0.0, bottom},           {top, -1e-9, -2e-9},
                           {1e-9, 2e-9, bottom},         {top, top - 1e-3, bottom},
                           {top, bottom + 1e-3, bottom}, {top, -1e-13, -2e-13}};
    for (const Vector& z : feeds)
        for (const Vector& ln_K : sets) {
            Problem p(z, ln_K);
            const int count = p.solve(true);
            EXPECT_GT(count, 0) << ln_K[0] << ' ' << ln_K[1] << ' ' << ln_K[2] << " z " << z[0];
            EXPECT_TRUE(p.state.in_range);
            for (std::size_t i = 0; i < 3; ++i) {
                EXPECT_TRUE(std::isfinite(p.x[i]) && p.x[i] > 0.0);
                EXPECT_TRUE(std::isfinite(p.y[i]) && p.y[i] > 0.0);
                EXPECT_TRUE(std::isfinite(p.xi[i]) && p.xi[i] > 0.0);
            }
            if (!HasFailure() && p.state.V != 0.0 && p.state.L != 0.0) expect_exact(p);
        }
}

TEST(RachfordRice, OutsideTheRangeIsRefused) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Vector& ln_K :
         {Vector{LN_MAX, 0.0, -1.0}, Vector{1.0, 0.0, LN_MIN}, Vector{1.0, nan, -1.0},
          Vector{nan, 1.0, -1.0}, Vector{std::numeric_limits<double>::infinity(), 0.0, -1.0}}) {
        Problem p({0.3, 0.3, 0.4}, ln_K);
        EXPECT_EQ(p.solve(), 0);
        EXPECT_FALSE(p.state.in_range);
    }
}

TEST(RachfordRice, FirstOfEqualExtremesIsNamed) {
    Problem p({0.25, 0.25, 0.25, 0.25}, {-1.0, 1.0, 1.0, -1.0});
    p.solve();
    EXPECT_EQ(p.state.i_min, 0u);
    EXPECT_EQ(p.state.i_max, 1u);
    EXPECT_NEAR(p.state.V, 0.5 + (1.0 / -std::expm1(-1.0) - 1.0 / std::expm1(1.0) - 1.0) / 2.0,
                1e-14);
}

TEST(RachfordRice, SnapsToABubblePoint) {
    // sum z K = 1 within rounding: the bubble point of K = (2, 1/2), z = (1/3, 2/3).
    Problem p({1.0 / 3.0, 2.0 / 3.0}, {std::log(2.0), std::log(0.5)});
    ASSERT_GT(p.solve(true), 0);
    EXPECT_EQ(p.state.V, 0.0);
    EXPECT_EQ(p.state.L, 1.0);
    EXPECT_EQ(p.xi, (Vector{1.0, 1.0}));
    EXPECT_NEAR(p.state.slope, 1.0 / 3.0 + 2.0 / 3.0 * 0.25, 1e-15);
}

TEST(RachfordRice, SnapsToADewPoint) {
    Problem p({2.0 / 3.0, 1.0 / 3.0}, {std::log(2.0), std::log(0.5)});
    ASSERT_GT(p.solve(true), 0);
    EXPECT_EQ(p.state.V, 1.0);
    EXPECT_EQ(p.state.L, 0.0);
    EXPECT_NEAR(p.x[0], 1.0 / 3.0, EPS);
    EXPECT_NEAR(p.x[1], 2.0 / 3.0, EPS);
    EXPECT_NEAR(p.state.slope, 2.0 / 3.0 * 0.25 + 1.0 / 3.0, 1e-15);
}

TEST(RachfordRice, SmallPhaseFractionIsNotSnapped) {
    // V = 1e-12: far above rounding.
    const double V = 1e-12;
    const Vector K{2.0, 0.5}, x{1.0 / 3.0, 2.0 / 3.0};
    Vector z(2);
    for (std::size_t i = 0; i < 2; ++i) z[i] = x[i] * (1.0 + (K[i] - 1.0) * V);
    Problem p(z, {std::log(2.0), std::log(0.5)});
    ASSERT_GT(p.solve(true), 0);
    EXPECT_NEAR(p.state.V, V, 1e-15);
    EXPECT_NE(p.state.V, 0.0);
}

TEST(RachfordRice, StartsThatAreNoNumbersAreReplaced) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Problem p({0.2, 0.3, 0.5}, {2.0, 0.25, -1.5});
    p.state.V = nan;
    p.state.L = nan;
    ASSERT_GT(p.solve(), 0);
    expect_exact(p);
}

TEST(RachfordRice, SecondSolutionFromTheFirstIsImmediate) {
    Problem p({0.2, 0.3, 0.5}, {2.0, 0.25, -1.5});
    ASSERT_GT(p.solve(), 1);
    const double V = p.state.V;
    EXPECT_LE(p.solve(), 2);
    EXPECT_NEAR(p.state.V, V, 2.0 * EPS);
}

}  // namespace
}  // namespace kestrane
