#include "fluid/GammaDis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "frame/Errors.h"

namespace kestrane {
namespace {

struct ReferenceCut {
    double lower, fraction, mw;
};
struct ReferenceSplit {
    double alpha, average, bound, origin, beta;
    std::vector<ReferenceCut> cuts;
};
struct ReferenceIntegrals {
    double alpha, y, p0, q0, p1, q1;
};
struct Reference {
    std::vector<ReferenceSplit> splits;
    std::vector<ReferenceIntegrals> integrals;
};

const Reference& reference() {
    static const Reference table = [] {
        Reference read;
        std::ifstream file(KESTRANE_SOURCE_DIR "/tests/data/gamma-distribution.txt");
        for (std::string line; std::getline(file, line);) {
            std::istringstream fields(line);
            std::string kind;
            std::vector<double> v;
            fields >> kind;
            if (kind == "#") continue;
            // strtod reads the tiniest numbers too, which a stream refuses.
            for (std::string field; fields >> field;)
                v.push_back(std::strtod(field.c_str(), nullptr));
            if (kind == "G")
                read.splits.push_back({v.at(0), v.at(1), v.at(2), v.at(3), v.at(4), {}});
            if (kind == "C") read.splits.back().cuts.push_back({v.at(0), v.at(1), v.at(2)});
            if (kind == "I")
                read.integrals.push_back({v.at(0), v.at(1), v.at(2), v.at(3), v.at(4), v.at(5)});
        }
        return read;
    }();
    return table;
}

GammaDis distribution(double alpha, double average, double bound, double origin) {
    ErrorList errors;
    GammaDis made;
    made.set(alpha, average, bound, origin, errors);
    EXPECT_TRUE(errors.empty()) << "alpha " << alpha << ", " << errors.entries[0]->text;
    return made;
}

double relative(double value, double exact) {
    return exact == 0.0 ? std::abs(value) : std::abs(value / exact - 1.0);
}

/// Twelve digits are what is promised; most cases keep fourteen.
constexpr double PROMISED = 1e-12;

TEST(GammaDis, IntegralsAgreeWithHighPrecisionValues) {
    ASSERT_EQ(reference().integrals.size(), 120u);
    for (const ReferenceIntegrals& exact : reference().integrals) {
        SCOPED_TRACE(testing::Message() << "alpha " << exact.alpha << ", y " << exact.y);
        GammaDis gamma;  // beta 1, origin 0
        gamma.alpha = gamma.alpha_beta = exact.alpha;
        gamma.ln_gamma_alpha = std::lgamma(exact.alpha);
        ErrorList errors;
        GammaIntegrals got;
        gamma.integrate(exact.y, got, errors);
        EXPECT_TRUE(errors.empty());
        // Each on the side where it is worked out; its complement to the round-off of 1.
        const bool far = exact.y >= exact.alpha + 1.0;
        EXPECT_LT(relative(far ? got[Q0] : got[P0], far ? exact.q0 : exact.p0), PROMISED);
        EXPECT_LT(relative(far ? got[Q1] : got[P1], far ? exact.q1 : exact.p1), PROMISED);
        EXPECT_NEAR(got[P0], exact.p0, 1e-14);
        EXPECT_NEAR(got[Q0], exact.q0, 1e-14);
        EXPECT_NEAR(got[P1], exact.p1, 1e-14);
        EXPECT_NEAR(got[Q1], exact.q1, 1e-14);
    }
}

/// P(alpha + 1, y) = P(alpha, y) - y^alpha exp(-y)/Gamma(alpha + 1), and derivatives against
/// central differences: error of the step h^2/6 times the third derivative, about 1e-8 here.
TEST(GammaDis, DerivativesAreThoseOfTheIntegrals) {
    for (const double alpha : {0.3, 1.0, 2.5, 14.0}) {
        const GammaDis gamma = distribution(alpha, 200.0, 90.0, 80.0);
        ErrorList errors;
        for (const double x : {85.0, 95.0, 150.0, 400.0}) {
            const double h = 1e-3;
            GammaIntegrals below, at, above;
            gamma.integrate(x - h, below, errors);
            gamma.integrate(x, at, errors);
            gamma.integrate(x + h, above, errors);
            for (const GammaIntegral value : {P0, Q0, P1, Q1})
                EXPECT_NEAR(at[value + 1], (above[value] - below[value]) / (2.0 * h), 1e-8)
                    << alpha << " " << x << " " << value;
        }
    }
}

TEST(GammaDis, AtAndBelowTheOrigin) {
    for (const double alpha : {0.5, 1.0, 3.0}) {
        const GammaDis gamma = distribution(alpha, 143.0, 90.0, 90.0);
        ErrorList errors;
        for (const double x : {90.0, 50.0}) {
            GammaIntegrals at;
            gamma.integrate(x, at, errors);
            EXPECT_EQ(at[P0], 0.0);
            EXPECT_EQ(at[Q0], 1.0);
            EXPECT_EQ(at[P1], 0.0);
            EXPECT_EQ(at[Q1], 1.0);
            EXPECT_EQ(at[DP1], 0.0);
            EXPECT_EQ(at[DP0], alpha < 1.0    ? 4503599627370496.0
                               : alpha == 1.0 ? 1.0 / gamma.beta
                                              : 0.0);
        }
    }
}

TEST(GammaDis, SplitsAgreeWithDirectQuadrature) {
    ASSERT_EQ(reference().splits.size(), 48u);
    for (const ReferenceSplit& exact : reference().splits) {
        SCOPED_TRACE(testing::Message() << "alpha " << exact.alpha << ", bound " << exact.bound
                                        << ", origin " << exact.origin);
        const GammaDis gamma = distribution(exact.alpha, exact.average, exact.bound, exact.origin);
        EXPECT_LT(relative(gamma.beta, exact.beta), PROMISED);
        std::vector<double> bounds;
        for (const ReferenceCut& cut : exact.cuts) bounds.push_back(cut.lower);
        std::vector<double> z(bounds.size()), mw(bounds.size());
        ErrorList errors;
        gamma.split(bounds, z, mw, errors);
        EXPECT_TRUE(errors.empty());
        for (std::size_t k = 0; k < bounds.size(); ++k) {
            EXPECT_LT(relative(z[k], exact.cuts[k].fraction), PROMISED) << "cut " << k;
            // Of an amount below the least double nothing is known but where it begins.
            const bool vanishes = exact.cuts[k].fraction == 0.0;
            EXPECT_LT(relative(mw[k], vanishes ? bounds[k] : exact.cuts[k].mw), PROMISED)
                << "cut " << k;
        }
    }
}

TEST(GammaDis, MomentsAddUp) {
    for (const double alpha : {0.001, 0.2, 0.7, 1.0, 2.0, 9.0, 20.0, 300.0, 1000.0}) {
        for (const double bound : {100.0, 190.0, 199.9, 199.999999}) {
            for (const double origin : {1.0, 0.9, 0.0}) {
                SCOPED_TRACE(testing::Message() << alpha << " " << bound << " " << origin);
                const GammaDis gamma = distribution(alpha, 200.0, bound, origin * bound);
                std::vector<double> bounds;
                for (int k = 0; k < 30; ++k) bounds.push_back(bound + (200.0 - bound) * 0.2 * k);
                std::vector<double> z(30), mw(30);
                ErrorList errors;
                gamma.split(bounds, z, mw, errors);
                double moles = 0.0, mass = 0.0;
                for (std::size_t k = 0; k < 30; ++k) {
                    moles += z[k];
                    mass += z[k] * mw[k];
                    EXPECT_GE(mw[k], bounds[k]);
                    if (k + 1 < 30) {
                        EXPECT_LE(mw[k], bounds[k + 1]);
                    }
                }
                EXPECT_NEAR(moles, 1.0, 1e-12);
                EXPECT_NEAR(mass, 200.0, 200.0 * 1e-12);
            }
        }
    }
}

TEST(GammaDis, AnExponentialNeedsNoIteration) {
    const GammaDis gamma = distribution(1.0, 143.0, 90.0, 45.0);
    EXPECT_EQ(gamma.beta, 53.0);
    std::vector<double> z(2), mw(2);
    ErrorList errors;
    gamma.split(std::vector<double>{90.0, 143.0}, z, mw, errors);
    EXPECT_NEAR(z[1], std::exp(-1.0), 1e-15);
    EXPECT_NEAR(mw[1], 196.0, 1e-12);
}

TEST(GammaDis, WithTheOriginAtTheBoundTheMeanIsExact) {
    const GammaDis gamma = distribution(2.5, 143.0, 90.0, 90.0);
    EXPECT_DOUBLE_EQ(gamma.beta, 53.0 / 2.5);
    EXPECT_EQ(gamma.inv_tail, 1.0);
    EXPECT_DOUBLE_EQ(1.0 / gamma.inv_mass_tail, 143.0);
}

TEST(GammaDis, CutsBelowTheBoundAreEmpty) {
    const GammaDis gamma = distribution(0.8, 200.0, 150.0, 150.0);
    std::vector<double> z(4), mw(4);
    ErrorList errors;
    gamma.split(std::vector<double>{90.0, 103.0, 140.0, 170.0}, z, mw, errors);
    EXPECT_EQ(z[0], 0.0);
    EXPECT_EQ(mw[0], 96.5);
    EXPECT_EQ(z[1], 0.0);
    EXPECT_EQ(mw[1], 121.5);
    EXPECT_NEAR(z[2] + z[3], 1.0, 1e-14);
    EXPECT_GT(mw[2], 150.0);
}

TEST(GammaDis, WhatIsBelowTheFirstBoundaryBelongsToNoCut) {
    const GammaDis gamma = distribution(1.0, 190.0, 90.0, 90.0);
    std::vector<double> z(1), mw(1);
    ErrorList errors;
    gamma.split(std::vector<double>{140.0}, z, mw, errors);
    EXPECT_NEAR(z[0], std::exp(-0.5), 1e-15);
    EXPECT_NEAR(mw[0], 240.0, 1e-12);
}

TEST(GammaDis, RefusesWhatIsNoDistribution) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    GammaDis gamma;
    ErrorList errors;
    EXPECT_THROW(gamma.set(0.0, 143.0, 90.0, 90.0, errors), BadGamma);
    EXPECT_THROW(gamma.set(1.0, 0.0, -1.0, -1.0, errors), BadGamma);
    EXPECT_THROW(gamma.set(1.0, 90.0, 90.0, 80.0, errors), BadGamma);
    EXPECT_THROW(gamma.set(1.0, 90.0, 80.0, 90.0, errors), BadGamma);
    EXPECT_THROW(gamma.set(nan, 143.0, 90.0, 90.0, errors), BadGamma);
    EXPECT_THROW(gamma.set(1.0, nan, 90.0, 90.0, errors), BadGamma);
    EXPECT_THROW(gamma.set(1.0, infinite, 90.0, 90.0, errors), BadGamma);
}

TEST(GammaDis, SaysWhenASumDoesNotConverge) {
    // Ten thousand terms are too few for the peak of so large a shape.
    GammaDis gamma;
    gamma.alpha = 1e10;
    gamma.ln_gamma_alpha = std::lgamma(gamma.alpha);
    ErrorList errors;
    GammaIntegrals at;
    gamma.integrate(1e10, at, errors);
    ASSERT_EQ(errors.entries.size(), 1u);
    EXPECT_EQ(errors.entries[0]->text, "Gamma function integration failed to converge");
    EXPECT_EQ(errors.severity, WARNING);
}

/// Amounts made by a split give its boundaries back, by moles and by mass.
TEST(GammaDis, MatchedAmountsReturnTheBoundaries) {
    for (const double alpha : {0.2, 0.9, 1.0, 2.0, 7.0, 20.0}) {
        for (const double bound : {100.0, 190.0, 199.9}) {
            for (const double origin : {1.0, 0.5}) {
                const GammaDis gamma = distribution(alpha, 200.0, bound, origin * bound);
                std::vector<double> bounds;
                for (const double step : {0.0, 0.5, 0.8, 1.5, 2.0})
                    bounds.push_back(bound + (200.0 - bound) * step);
                const std::size_t n = bounds.size();
                std::vector<double> z(n), mw(n), masses(n), other(n), found(n), found_mw(n);
                ErrorList errors;
                gamma.split(bounds, z, mw, errors);
                for (std::size_t k = 0; k < n; ++k) masses[k] = z[k] * mw[k] / 200.0;
                for (const bool by_mole : {true, false}) {
                    SCOPED_TRACE(testing::Message()
                                 << alpha << " " << bound << " " << origin << " " << by_mole);
                    gamma.match_amounts(by_mole ? z : masses, other, found, found_mw, by_mole,
                                        errors);
                    EXPECT_TRUE(errors.empty());
                    const std::vector<double>& expected = by_mole ? masses : z;
                    for (std::size_t k = 0; k < n; ++k) {
                        // A boundary is as certain as its tail: 1e-13 of the distance to it.
                        EXPECT_NEAR(found[k], bounds[k], 1e-10) << k;
                        EXPECT_NEAR(found_mw[k], mw[k], 1e-9) << k;
                        EXPECT_NEAR(other[k], expected[k], 1e-11) << k;
                    }
                }
            }
        }
    }
}

TEST(GammaDis, MatchedAmountsOfNothing) {
    const GammaDis gamma = distribution(0.7, 200.0, 90.0, 80.0);
    ErrorList errors;
    std::vector<double> other(3), bounds(3), mw(3);
    gamma.match_amounts(std::vector<double>{0.6, 0.4, 0.0}, other, bounds, mw, true, errors);
    EXPECT_EQ(bounds[0], 90.0);
    EXPECT_NEAR(other[0] + other[1], 1.0, 1e-12);
    EXPECT_EQ(other[2], 0.0);
    EXPECT_EQ(mw[2], bounds[2]);
    // All in the heaviest cut: the others end where they begin.
    gamma.match_amounts(std::vector<double>{0.0, 0.0, 1.0}, other, bounds, mw, true, errors);
    EXPECT_EQ(bounds[1], 90.0);
    EXPECT_EQ(bounds[2], 90.0);
    EXPECT_NEAR(mw[2], 200.0, 1e-11);
    EXPECT_TRUE(errors.empty());
}

}  // namespace
}  // namespace kestrane
