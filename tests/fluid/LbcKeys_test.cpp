#include "fluid/CharzScript.h"
#include "fluid/LBC.h"

namespace kestrane {
namespace {

using Coefficients = std::array<double, LBC_COUNT>;

/// The coefficients and the model are the run's: each test begins and ends with the defaults.
struct LbcKeys : testing::Test {
    LbcKeys() { reset(); }
    ~LbcKeys() override { reset(); }
    static void reset() {
        lbc_coefficients() = LBC_DEFAULTS;
        viscometer() = make_dyn<LBC>();
    }
};

TEST_F(LbcKeys, EachKeywordSetsItsCoefficient) {
    CharzScript script("LBC\nP0 0.11\nP1 0.02\nP2 0.06\nP3 -0.04\nP4 0.01\nF0 0.12\nEND\n");
    EXPECT_EQ(lbc_coefficients(), (Coefficients{0.11, 0.02, 0.06, -0.04, 0.01, 0.12}));
    EXPECT_TRUE(
        script.prints("NOTE: Modified LBC correlation now used for viscosities  ======\n"
                      "P0 = 0.11, P1 = 0.02, P2 = 0.06, P3 = -0.04, P4 = 0.01, F0 = 0.12\n"));
    EXPECT_EQ(script.counts.errors, 0);
}

TEST_F(LbcKeys, ACoefficientWithoutANumberGoesBackToItsDefault) {
    CharzScript script("LBC\nP1 0.05\nP3 -0.03\nEND\nLBC\nP1\nEND\n");
    EXPECT_EQ(lbc_coefficients()[1], LBC_DEFAULTS[1]);
    EXPECT_EQ(lbc_coefficients()[3], -0.03);
}

TEST_F(LbcKeys, DefaultsAreStandardAndNotChecked) {
    for (const char* word : {"DEFAULTS", "STANDARD", "DEF", "STAN"}) {
        CharzScript script(std::string("LBC\nP4 -1\nP0 3\n") + word + "\nEND\n");
        EXPECT_EQ(lbc_coefficients(), LBC_DEFAULTS) << word;
        EXPECT_TRUE(script.prints("NOTE: Standard LBC correlation now used for viscosities"));
        EXPECT_EQ(script.counts.warnings, 0);
    }
    // In the order of the block: what stands behind the defaults holds.
    CharzScript script("LBC\nP0 3\nDEF\nP1 0.03\nEND\n");
    EXPECT_EQ(lbc_coefficients()[0], LBC_DEFAULTS[0]);
    EXPECT_EQ(lbc_coefficients()[1], 0.03);
}

TEST_F(LbcKeys, WhatFallsWithDensityIsWarnedOf) {
    CharzScript quadratic("LBC\nP4 0\nEND\n");
    EXPECT_EQ(quadratic.counts.warnings, 1);
    EXPECT_TRUE(quadratic.prints(
        "WARNING: Physically inconsistent viscosities may be predicted  ######\n"));
    EXPECT_TRUE(
        quadratic.prints("With its current parameters, the modified LBC viscosity correlation is "
                         "not a\nmonotonically increasing function of reduced density.\n"));
    CharzScript rising("LBC\nDEF\nP0 0.2\nEND\n");
    EXPECT_EQ(rising.counts.warnings, 0);
}

TEST_F(LbcKeys, ACommandBringsTheCorrelationBack) {
    class NoViscosity final : public Viscometer {
    public:
        PropertyValue viscosity(const Tank&, double, double, double) override {
            return {UNSET, UnitKind::Viscosity};
        }
        void check(ErrorList&) const override {}
    };
    viscometer() = make_dyn<NoViscosity>();
    CharzScript script("LBC\nEND\n");
    EXPECT_NE(dynamic_cast<const LBC*>(viscometer().get()), nullptr);
}

// Commands after the block keep what it set; a pass over the script begins with the defaults.
TEST_F(LbcKeys, AReplayBeginsFromTheDefaults) {
    CharzScript script("LBC\nP1 0.05\nEND\nLBC\nP2 0.07\nEND\n", CharzScript::Mode::Deferred);
    EXPECT_EQ(lbc_coefficients(), LBC_DEFAULTS);  // nothing has run
    lbc_coefficients()[0] = 7.0;
    for (int pass = 0; pass < 2; ++pass) {
        script.run_pass();
        EXPECT_EQ(lbc_coefficients()[0], LBC_DEFAULTS[0]);
        EXPECT_EQ(lbc_coefficients()[1], 0.05);
        EXPECT_EQ(lbc_coefficients()[2], 0.07);
    }
}

}  // namespace
}  // namespace kestrane
