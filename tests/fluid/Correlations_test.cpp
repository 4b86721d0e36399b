#include "fluid/Correlations.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kestrane {
namespace {

class Correlations : public ::testing::Test {
protected:
    void TearDown() override { correlation_state() = CorrelationState{}; }
    static Soreide jacoby(double a) { return {0.0, -1.0, -15.8 - 1.77 * a, 0.8468 + 0.2456 * a}; }
};

TEST_F(Correlations, SoreideForm) {
    double sg = UNSET, slope = UNSET;
    ASSERT_TRUE(Soreide{}.sg_from_mw(200.0, sg, &slope));
    // 0.2855 + 0.29 * 134^0.13 and 0.0377 * 134^-0.87 (mpmath).
    EXPECT_NEAR(sg, 0.83367802480487082, 1e-13);
    EXPECT_NEAR(slope, 5.3181450167637e-4, 1e-13);
}

TEST_F(Correlations, JacobyForm) {
    double sg = UNSET;
    ASSERT_TRUE(jacoby(0.3).sg_from_mw(150.0, sg));
    EXPECT_NEAR(sg, 0.8468 - 15.8 / 150.0 + 0.3 * (0.2456 - 1.77 / 150.0), 1e-15);
}

TEST_F(Correlations, SoreideInverseAndSlopes) {
    for (const Soreide& form :
         {Soreide{}, jacoby(0.0), jacoby(0.5), Soreide{10.0, 1.0, 1e-3, 0.6}}) {
        for (double mw = 80.0; mw < 600.0; mw += 40.0) {
            double sg = UNSET, slope = UNSET, back = UNSET, inverse_slope = UNSET;
            ASSERT_TRUE(form.sg_from_mw(mw, sg, &slope));
            ASSERT_TRUE(form.mw_from_sg(sg, back, &inverse_slope));
            // The Soreide exponent of 1/0.13 magnifies round-off of the gravity.
            EXPECT_NEAR(back, mw, 1e-11 * mw);
            double high = UNSET, low = UNSET;
            const double h = 1e-4 * mw;
            ASSERT_TRUE(form.sg_from_mw(mw + h, high));
            ASSERT_TRUE(form.sg_from_mw(mw - h, low));
            // Central difference: error of order (h/(mw - mw0))^2, up to some 3e-7 at 80 kg/kmol.
            EXPECT_NEAR(slope, (high - low) / (2.0 * h), 1e-6 * slope);
            EXPECT_NEAR(slope * inverse_slope, 1.0, 1e-10);
        }
    }
}

TEST_F(Correlations, SoreideFailures) {
    double value = 7.0;
    const Soreide form;
    EXPECT_FALSE(form.sg_from_mw(65.9, value));
    EXPECT_FALSE(form.sg_from_mw(UNSET, value));
    EXPECT_FALSE(form.mw_from_sg(0.28, value));
    EXPECT_FALSE(form.mw_from_sg(UNSET, value));
    EXPECT_FALSE((Soreide{66.0, 0.13, 0.0, 0.2855}.sg_from_mw(200.0, value)));
    EXPECT_FALSE((Soreide{66.0, 0.0, 0.29, 0.2855}.sg_from_mw(200.0, value)));
    EXPECT_FALSE((Soreide{66.0, 0.0, 0.29, 0.2855}.mw_from_sg(0.8, value)));
    EXPECT_FALSE(jacoby(0.0).sg_from_mw(0.0, value));     // 1/0
    EXPECT_FALSE(jacoby(0.0).mw_from_sg(0.8468, value));  // at infinite MW
    EXPECT_FALSE(jacoby(0.0).mw_from_sg(0.9, value));     // beyond
    EXPECT_EQ(value, 7.0);
    ASSERT_TRUE(form.sg_from_mw(66.0, value));
    EXPECT_EQ(value, 0.2855);
    ASSERT_TRUE(form.mw_from_sg(0.2855, value));
    EXPECT_EQ(value, 66.0);
}

TEST_F(Correlations, InactiveOrTooLightFallsBackToParaffin) {
    double sg = UNSET;
    ASSERT_TRUE(sg_of_mw(50.0, sg));  // below mw0
    EXPECT_EQ(sg, twu_paraffin_sg_of_ln_mw(std::log(50.0)));
    for (const Soreide& off : {Soreide{66, 0.13, 0, 0.2855}, Soreide{66, 0, 0.29, 0.2855}}) {
        correlation_state().soreide = off;
        ASSERT_TRUE(sg_of_mw(200.0, sg));
        EXPECT_EQ(sg, twu_paraffin_sg_of_ln_mw(std::log(200.0)));
        double mw = UNSET;
        ASSERT_TRUE(mw_of_sg(sg, mw));
        EXPECT_NEAR(mw, 200.0, 1e-9);
        EXPECT_FALSE(mw_of_sg(1.2, mw));  // no paraffin is denser than water
    }
    EXPECT_FALSE(sg_of_mw(0.0, sg));
    EXPECT_FALSE(sg_of_mw(UNSET, sg));
}

/// Twu's molecular weight of a boiling point and gravity.
double twu_mw(double tb, double sg) {
    TwuProps twu;
    return twu.set_tb_sg(tb, sg) ? std::exp(twu.ln_mw()) : UNSET;
}

struct Triple {
    double mw, tb, sg;
};
Triple filled(double mw, double tb, double sg) {
    fill_triple(mw, tb, sg);
    return {mw, tb, sg};
}

TEST_F(Correlations, TripleLeftAloneIfNoneOrAllAreGiven) {
    const Triple none = filled(UNSET, 0.0, -1.0);
    EXPECT_EQ(none.mw, UNSET);
    EXPECT_EQ(none.tb, 0.0);
    EXPECT_EQ(none.sg, -1.0);
    const Triple all = filled(1.0, 2.0, 3.0);
    EXPECT_EQ(all.mw, 1.0);
    EXPECT_EQ(all.tb, 2.0);
    EXPECT_EQ(all.sg, 3.0);
}

// Whatever is given, the three satisfy Twu's equation, and with one given the gravity form too.
TEST_F(Correlations, TripleFromEachCombination) {
    for (double tb = 380.0; tb < 800.0; tb += 60.0) {
        const Triple one = filled(UNSET, tb, UNSET);
        ASSERT_GT(one.mw, 0.0) << tb;
        EXPECT_EQ(one.tb, tb);
        EXPECT_NEAR(one.mw, twu_mw(tb, one.sg), 1e-12 * one.mw);
        double sg = UNSET;
        ASSERT_TRUE(sg_of_mw(one.mw, sg));
        EXPECT_NEAR(sg, one.sg, 1e-12);
        // The same point from the others; the inverse forms magnify round-off.
        for (const Triple& t : {filled(one.mw, UNSET, UNSET), filled(one.mw, tb, UNSET),
                                filled(one.mw, UNSET, one.sg), filled(UNSET, tb, one.sg)}) {
            EXPECT_NEAR(t.mw, twu_mw(t.tb, t.sg), 1e-9 * t.mw);
            EXPECT_NEAR(t.mw, one.mw, 1e-9 * one.mw);
            EXPECT_GT(t.tb, 0.0);
            EXPECT_GT(t.sg, 0.0);
        }
        const Triple gravity = filled(UNSET, UNSET, one.sg);
        EXPECT_NEAR(gravity.mw, one.mw, 1e-9 * one.mw);
        EXPECT_NEAR(gravity.mw, twu_mw(gravity.tb, gravity.sg), 1e-9 * one.mw);
    }
}

TEST_F(Correlations, LightMolecularWeightKeepsItsBoilingPoint) {
    // 10 kg/kmol lies below methane: the paraffin curve gives 130 R, and no gravity.
    const Triple t = filled(10.0, UNSET, UNSET);
    EXPECT_EQ(t.mw, 10.0);
    EXPECT_EQ(t.sg, UNSET);
    EXPECT_NEAR(t.tb * 1.8, 130.25, 0.5);
}

TEST_F(Correlations, AnyBoilingPointEndsWithNumbers) {
    for (const bool active : {true, false}) {
        correlation_state().soreide.sg1 = active ? 0.29 : 0.0;
        for (double tb = 1e-300; tb<1e300; tb *= tb> 1.0 && tb < 1e5 ? 1.05 : 1e3) {
            const Triple t = filled(UNSET, tb, UNSET);
            EXPECT_TRUE(t.mw == UNSET || t.mw > 1.0) << tb;
            EXPECT_TRUE(t.sg == UNSET || (t.sg > 0.0 && std::isfinite(t.sg))) << tb;
            EXPECT_EQ(t.tb, tb);
        }
    }
}

TEST_F(Correlations, AnyTripleEndsWithNumbers) {
    for (const double mw : {UNSET, 0.0, 1e-300, 0.5, 1.0, 2.0, 16.0, 66.0, 500.0, 1e6, 1e300})
        for (const double tb : {UNSET, 1e-300, 1.0, 90.0, 400.0, 1e4, 1e300})
            for (const double sg : {UNSET, -1.0, 1e-300, 0.1, 0.2855, 0.8, 5.0, 1e300}) {
                const Triple t = filled(mw, tb, sg);
                for (const double value : {t.mw, t.tb, t.sg})
                    EXPECT_TRUE(std::isfinite(value)) << mw << ' ' << tb << ' ' << sg;
            }
}

}  // namespace
}  // namespace kestrane
