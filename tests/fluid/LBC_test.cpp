#include "fluid/LBC.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "equil/Tank.h"
#include "fluid/Sugden.h"

namespace kestrane {
namespace {

/// Methane and decane with round viscosity volumes and parachors.
class Transport : public testing::Test {
protected:
    Transport() {
        Compnent methane, decane;
        methane.name = UserWord("C1");
        methane.mw = 16.0, methane.tc = 190.0, methane.pc = 46e5;
        methane.visc_vc = 0.1, methane.parachor = 70.0;
        decane.name = UserWord("C10");
        decane.mw = 142.0, decane.tc = 618.0, decane.pc = 21e5;
        decane.visc_vc = 0.6, decane.parachor = 430.0;
        charz_.add_component(methane);
        charz_.add_component(decane);
        liquid_ = Tank("liquid", &charz_);
        vapor_ = Tank("vapor", &charz_);
        liquid_.assign_moles(std::array{0.4, 0.6}, 1.0);
        vapor_.assign_moles(std::array{0.99, 0.01}, 1.0);
    }
    Charzation charz_;
    Tank liquid_, vapor_;
    const double T_ = 400.0, P_ = 1e7;
};

// By hand for the liquid at 400 K, 100 bar, Z = 0.5, with p in atm and T in K:
//   methane  Tr 2.10526: h = 0.0001778 (4.58 Tr - 1.67)^0.625, decane Tr 0.647249: 0.00034 Tr^0.94
//   dilute   D = sum x h mw (pc^4/tc)^(1/6) / sum x sqrt(mw)
//   dense    Tpc 446.8, Ppc 31e5 Pa, Vpc 0.4, M 91.6, r = Vpc P/(Z R T)
// evaluated below step by step in the units of the publication.
TEST_F(Transport, LiquidViscosityIsTheHandCalculation) {
    const double atm = 101325.0;
    const auto reduced = [&](double pc, double tc) {
        return std::pow(pc / atm, 4.0 / 6.0) / std::pow(tc, 1.0 / 6.0);
    };
    const double h1 = 0.0001778 * std::pow(4.58 * 400.0 / 190.0 - 1.67, 0.625);
    const double h10 = 0.00034 * std::pow(400.0 / 618.0, 0.94);
    const double D =
        (0.4 * h1 * 16.0 * reduced(46e5, 190.0) + 0.6 * h10 * 142.0 * reduced(21e5, 618.0)) /
        (0.4 * 4.0 + 0.6 * std::sqrt(142.0));
    const double r = 0.4 * 1e7 / (0.5 * 8314.472 * 400.0);
    const double q =
        0.1023 + 0.023364 * r + 0.058533 * r * r - 0.040758 * r * r * r + 0.0093324 * r * r * r * r;
    const double centipoise = D + (q * q * q * q - 1e-4) * reduced(31e5, 446.8) * std::sqrt(91.6);
    LBC model;
    const double found = model.viscosity(liquid_, T_, P_, 0.5).value;
    EXPECT_NEAR(found, centipoise * 1e-3, 1e-12 * found);
    EXPECT_GT(centipoise, 0.1);  // an oil of this kind: a few tenths of a centipoise
    EXPECT_LT(centipoise, 1.0);
}

// The same equations in 40 digits, apart from this code:
//   liquid  D 0.0082126763901333583, r 2.4054443866068705, q 0.24234624886516101
//   vapor   D 0.013615510288018603,  r 0.35079397304683529, q 0.11608071191379179 (Z 0.9)
TEST_F(Transport, ViscositiesAreThoseOfHighPrecision) {
    LBC model;
    const auto centipoise = [&](const Tank& phase, double P, double Z) {
        return model.viscosity(phase, T_, P, Z).value * 1e3;
    };
    EXPECT_NEAR(centipoise(liquid_, P_, 0.5), 0.12162519041026396569, 1e-14);
    EXPECT_NEAR(centipoise(vapor_, P_, 0.9), 0.015400986003830529719, 1e-15);
    // At no pressure the reduced density is 0 and the polynomial P0.
    EXPECT_NEAR(centipoise(liquid_, 0.0, 1.0), 0.0085351052336992620988, 1e-15);
}

// (P0^4 - F0^4) is what is left of the residual at no pressure.
TEST_F(Transport, TheResidualAtNoPressureHasTheSignOfP0LessF0) {
    LBC model;
    const double dilute = 0.0082126763901333582569e-3;  // Pa s
    for (const double F0 : {0.05, 0.1023, 0.2}) {
        lbc_coefficients()[5] = F0;
        const double residual = model.viscosity(liquid_, T_, 0.0, 1.0).value - dilute;
        if (F0 < 0.1023)
            EXPECT_GT(residual, 1e-6);
        else if (F0 > 0.1023)
            EXPECT_LT(residual, -1e-6);
        else
            EXPECT_NEAR(residual, 0.0, 1e-15);
    }
    lbc_coefficients() = LBC_DEFAULTS;
}

TEST_F(Transport, ACacheServesOneTemperatureAndOneFluid) {
    LBC kept;
    const double first = kept.viscosity(liquid_, T_, P_, 0.5).value;
    const double warmer = kept.viscosity(liquid_, 450.0, P_, 0.5).value;
    EXPECT_NE(first, warmer);
    EXPECT_EQ(LBC().viscosity(liquid_, 450.0, P_, 0.5).value, warmer);
    EXPECT_EQ(kept.viscosity(liquid_, T_, P_, 0.5).value, first);
    Charzation other(charz_);
    other.comps[0].mw = 17.0;
    Tank there("there", &other);
    there.assign_moles(std::array{0.4, 0.6}, 1.0);
    EXPECT_EQ(kept.viscosity(there, T_, P_, 0.5).value, LBC().viscosity(there, T_, P_, 0.5).value);
}

TEST_F(Transport, InvalidInputHasNoViscosity) {
    LBC model;
    EXPECT_EQ(model.viscosity(liquid_, 0.0, P_, 0.5).value, UNSET);
    EXPECT_EQ(model.viscosity(liquid_, T_, -1.0, 0.5).value, UNSET);
    EXPECT_EQ(model.viscosity(liquid_, T_, P_, 0.0).value, UNSET);
    EXPECT_EQ(model.viscosity(Tank("empty", &charz_), T_, P_, 0.5).value, UNSET);
    EXPECT_EQ(model.viscosity(Tank("nothing"), T_, P_, 0.5).value, UNSET);
    EXPECT_NE(model.viscosity(liquid_, T_, 0.0, 1.0).value, UNSET);
}

// Parachor densities P sum(x parachor)/(Z R T) in mol/cm3 (1 kmol/m3 = 1e-3 mol/cm3).
TEST_F(Transport, TensionIsTheFourthPowerOfTheParachorDensityDifference) {
    const double dense = (0.4 * 70.0 + 0.6 * 430.0) / 0.5;
    const double light = (0.99 * 70.0 + 0.01 * 430.0) / 0.9;
    const double difference = (dense - light) * 1e7 / (8314.472 * 400.0) * 1e-3;
    const double expected = std::pow(difference, 4.0) * 1e-3;  // dyn/cm to N/m
    const Sugden model;
    const double found = model.tension(liquid_, vapor_, T_, P_, 0.5, 0.9).value;
    EXPECT_NEAR(found, expected, 1e-12 * expected);
    EXPECT_NEAR(found * 1e3, 4.7205577121712135635, 1e-12);  // in 40 digits
    EXPECT_EQ(model.tension(vapor_, liquid_, T_, P_, 0.9, 0.5).value, found);
    EXPECT_EQ(model.tension(liquid_, liquid_, T_, P_, 0.5, 0.5).value, 0.0);
    EXPECT_EQ(model.tension(liquid_, vapor_, T_, 0.0, 0.5, 0.9).value, UNSET);
    EXPECT_EQ(model.tension(Tank("nothing"), vapor_, T_, P_, 0.5, 0.9).value, UNSET);
}

// A phase that shares no characterization with the other is summed over its own components.
TEST_F(Transport, TensionNeedsNoCommonCharacterization) {
    Charzation other("other");
    other.add_component(charz_.comps[1]);
    other.add_component(charz_.comps[0]);
    Tank there("there", &other);
    there.assign_moles(std::array{0.6, 0.4}, 1.0);
    const Sugden model;
    const double alone = model.tension(liquid_, vapor_, T_, P_, 0.5, 0.9).value;
    EXPECT_NEAR(model.tension(there, vapor_, T_, P_, 0.5, 0.9).value, alone, 1e-14 * alone);
    EXPECT_LT(model.tension(liquid_, there, T_, P_, 0.5, 0.5).value, 1e-60);
}

// Surface tensions of normal paraffins at 20 C, mN/m (J.J. Jasper, J. Phys. Chem. Ref. Data 1
// (1972) 841), from their parachors (C.F. Weinaug and D.L. Katz, Ind. Eng. Chem. 35 (1943) 239) and
// liquid densities. The rule is good to a few percent; the vapor counts for nothing here.
TEST(Sugden, SurfaceTensionsOfParaffinsAreAsMeasured) {
    struct Paraffin {
        double mw, parachor, density, tension;  // kg/kmol, -, kg/m3, mN/m
    };
    const double T = 293.15, P = 1e4;
    for (const Paraffin& p :
         {Paraffin{86.177, 271.0, 659.4, 18.40}, Paraffin{100.204, 312.5, 683.8, 20.14},
          Paraffin{114.231, 351.5, 702.5, 21.62}}) {
        Compnent paraffin;
        paraffin.mw = p.mw, paraffin.parachor = p.parachor;
        Charzation charz;
        charz.add_component(paraffin);
        Tank phase("phase", &charz);
        phase.assign_moles(std::array{1.0}, 1.0);
        const double Z = P * p.mw / (p.density * GAS_CONSTANT * T);
        const double found = Sugden().tension(phase, phase, T, P, Z, 1.0).value;
        EXPECT_NEAR(found * 1e3, p.tension, 0.04 * p.tension);
    }
}

TEST(LBC, OnlyAPolynomialThatNeverFallsPassesTheCheck) {
    struct Case {
        double p1, p2, p3, p4;
        bool falls;
    };
    // dq/dr = p1 + 2 p2 r + 3 p3 r^2 + 4 p4 r^3 for r >= 0
    const Case cases[]{{0.023364, 0.058533, -0.040758, 0.0093324, false},
                       {0.023364, 0.058533, -0.040758, 0.0, true},  // P4 alone set to 0
                       {0.01, -0.1, 0.0, 0.1, true},                // larger root, b = 0
                       {0.1, -0.1, 0.1, 0.1, false},                // larger root, b > 0
                       {0.01, -0.1, 0.1, 0.1, true},
                       {0.1, 0.1, -0.05, 0.01, false},  // no root: the slope has no minimum
                       {-0.01, 0.0, 0.0, 0.01, true},
                       {0.01, 0.0, 0.0, -0.01, true},
                       {0.01, -0.01, 0.0, 0.0, true},
                       {0.01, 0.01, -0.01, 0.0, true},
                       {0.1, -0.1, 0.1, 0.0, false},  // minimum 0.1 - 0.1/3 > 0
                       {0.01, -0.1, 0.1, 0.0, true},  // minimum 0.01 - 0.1/3 < 0
                       {0.001, 0.0, -0.1, 0.01, true}};
    for (const Case& c : cases) {
        lbc_coefficients() = {0.1, c.p1, c.p2, c.p3, c.p4, 0.1};
        ErrorList errors;
        LBC().check(errors);
        EXPECT_EQ(!errors.empty(), c.falls) << c.p1 << ' ' << c.p2 << ' ' << c.p3 << ' ' << c.p4;
    }
    lbc_coefficients() = LBC_DEFAULTS;
}

}  // namespace
}  // namespace kestrane
