// Components built of lumps: what they keep of the fluid they stand for.

#include "fluid/Lump.h"

#include <cmath>

#include "equil/EosFluids.h"
#include "fluid/CharzScript.h"
#include "input/Units.h"

namespace kestrane {
namespace {

using testing_eos::Phase;

constexpr double T_LUMP = 380.0;  // K

// Two light components and four cuts, on both sides of the acentric factor 0.49 at which the later
// Peng-Robinson equation changes its form.
const std::string COMPONENTS =
    "NAME   MW      TC(K)   PC(bar)  AF     VTRAN\n"
    "C1     16.04   190.6   46.0     0.008  -0.15\n"
    "C3     44.10   369.8   42.5     0.152  -0.08\n"
    "XA     96.0    540.0   30.0     0.28    0.01\n"
    "XB    134.0    610.0   25.0     0.40    0.05\n"
    "XC    206.0    700.0   18.0     0.60    0.08\n"
    "XD    350.0    800.0   12.0     0.95    0.10\n";
const std::string ALL_BIPS =
    "BIPS   C1     C3     XA     XB     XC\n"
    "C3     0.010\n"
    "XA     0.030  0.010\n"
    "XB     0.040  0.015  0.002\n"
    "XC     0.050  0.020  0.008  0.004\n"
    "XD     0.060  0.030  0.012  0.009  0.003\n";
const std::string BIPS_WITHIN_LUMPS =
    "BIPS   C1     C3     XA     XB     XC\n"
    "XB     0      0      0.05\n"
    "XD     0      0      0      0     -0.04\n";
const std::string BIPS_BETWEEN_LUMPS =
    "BIPS   C1     C3     XA     XB     XC\n"
    "XC     0      0      0.05   0.02\n"
    "XD     0      0      0.03   0.01\n";
const std::vector<double> FEED{0.42, 0.08, 0.2, 0.14, 0.11, 0.05};

const std::vector<std::string> EQUATIONS{"RK", "SRK", "PR77", "PR"};

std::string fine(const std::string& equation, const std::string& bips = "") {
    return "CHAR Fine\nEOS " + equation + "\n" + COMPONENTS + bips + "END\n" +
           (bips.empty() ? "END\n" : "");
}

std::string based(const std::string& name, const std::string& base, const std::string& rows) {
    return "CHAR " + name + "\nBASE " + base + "\nNAME\n" + rows + "END\nEND\n";
}

/// L1 with properties of its own.
const std::string TYPED =
    "CHAR Coarse\nBASE Fine\n"
    "NAME   MW      TC(K)   PC(bar)  AF\n"
    "C1\n"
    "L1    150     600      24       0.5\n"
    "END\nEND\n";

const std::string TWO_LUMPS = "LUMP L1 XA XB\nLUMP L2 XC XD\n";
const std::string COARSE = based("Coarse", "Fine", "C1\nC3\nL1\nL2\n");

/// A script whose lumps are formed in the feed at T_LUMP.
class LumpScript : public CharzScript {
public:
    explicit LumpScript(const std::string& text, double T = T_LUMP,
                        const std::vector<double>& feed = FEED)
        : CharzScript(text, Mode::Deferred) {
        user.temperature = T;
        user.mixtures["Fine"] = feed;
        run_pass();
        EXPECT_EQ(counts.errors, 0) << report();
        EXPECT_FALSE(fatal) << report();
    }
    const Charzation& named(const std::string& name) {
        const Charzation* found = user.find_charzation(name);
        if (!found) throw BadComponent{};
        return *found;
    }
};

/// Attraction and covolume of a mixture, Pa (m3/kmol)^2 and m3/kmol.
struct Ab {
    double a, b;
};

/// The slope m of the square root of alpha in 1 - sqrt(Tr), as the authors of each equation print
/// it.
double slope(const std::string& equation, double omega) {
    if (equation == "SRK") return 0.480 + omega * (1.574 - omega * 0.176);
    if (equation == "PR" && omega > 0.49)
        return 0.379642 + omega * (1.48503 - omega * (0.164423 - omega * 0.016666));
    return 0.37464 + omega * (1.54226 - omega * 0.26992);
}

/// Textbook mixing of the components' stored properties, apart from the equations' code.
Ab textbook(const std::string& equation, const Charzation& charz, double T,
            const std::vector<double>& x) {
    const double RT = 8314.472 * T;
    std::vector<double> root_a(charz.size());
    Ab mix{0.0, 0.0};
    for (std::size_t i = 0; i < charz.size(); ++i) {
        const Compnent& c = charz.comps[i];
        const double Tr = T / c.tc;
        const double root_alpha = equation == "RK"
                                      ? std::pow(Tr, -0.25)
                                      : 1.0 + slope(equation, c.acentric) * (1.0 - std::sqrt(Tr));
        root_a[i] = std::sqrt(c.omega_a / c.pc) * (RT / Tr) * root_alpha;
        mix.b += x[i] * c.omega_b * (RT / Tr) / c.pc;
    }
    for (std::size_t i = 0; i < x.size(); ++i)
        for (std::size_t j = 0; j < x.size(); ++j)
            mix.a += x[i] * x[j] * root_a[i] * root_a[j] *
                     (1.0 - (charz.has_bips() ? charz.bip(i, j) : 0.0));
    return mix;
}

/// The two lumps of four cuts and the two light components, by moles.
std::vector<double> lumped(const std::vector<double>& x) {
    return {x[0], x[1], x[2] + x[3], x[4] + x[5]};
}

/// Both fluids have the same a, b and volume translation at T, by the equation's own code and by
/// the textbook's formulas. Only roundings are lost: of a square root and a power each way.
void expect_same(const std::string& equation, const Charzation& fine_fluid,
                 const std::vector<double>& x_fine, const Charzation& coarse,
                 const std::vector<double>& x_coarse, double T = T_LUMP) {
    const Phase full(fine_fluid.eos(), fine_fluid, T, x_fine);
    const Phase part(coarse.eos(), coarse, T, x_coarse);
    EXPECT_NEAR(part.state().a / full.state().a, 1.0, 1e-12);
    EXPECT_NEAR(part.state().b / full.state().b, 1.0, 1e-12);
    EXPECT_NEAR(part.state().c / full.state().c, 1.0, 1e-12);
    const Ab by_hand = textbook(equation, fine_fluid, T, x_fine);
    const Ab lumped_by_hand = textbook(equation, coarse, T, x_coarse);
    EXPECT_NEAR(lumped_by_hand.a / by_hand.a, 1.0, 1e-12);
    EXPECT_NEAR(lumped_by_hand.b / by_hand.b, 1.0, 1e-12);
}

// What the based fluid keeps -------------------------------------------------------------------

TEST(Lump, ABasedFluidKeepsAAndBOfTheMixture) {
    for (const std::string& equation : EQUATIONS)
        for (const std::string& bips :
             {std::string(), ALL_BIPS, BIPS_WITHIN_LUMPS, BIPS_BETWEEN_LUMPS}) {
            SCOPED_TRACE(equation + "\n" + bips);
            LumpScript script(fine(equation, bips) + TWO_LUMPS + COARSE);
            const Charzation& whole = script.named("Fine");
            expect_same(equation, whole, FEED, script.charz(), lumped(FEED));
            EXPECT_EQ(script.charz().has_bips(), !bips.empty());
            // Any other amounts of the light components and of the lumps: the cuts of each lump
            // stand in the proportions of the feed.
            const std::vector<double> other{0.1,
                                            0.3,
                                            0.1 * 0.2 / 0.34,
                                            0.1 * 0.14 / 0.34,
                                            0.5 * 0.11 / 0.16,
                                            0.5 * 0.05 / 0.16};
            expect_same(equation, whole, other, script.charz(), lumped(other));
        }
}

TEST(Lump, AtAnotherTemperatureTheAttractionsDiffer) {
    LumpScript script(fine("PR", ALL_BIPS) + TWO_LUMPS + COARSE);
    const Ab full = textbook("PR", script.named("Fine"), 500.0, FEED);
    const Ab part = textbook("PR", script.charz(), 500.0, lumped(FEED));
    // The slope of the logarithm is kept, so they part with the square of the distance.
    EXPECT_GT(std::abs(part.a / full.a - 1.0), 1e-6);
    EXPECT_LT(std::abs(part.a / full.a - 1.0), 1e-2);
    EXPECT_NEAR(part.b / full.b, 1.0, 1e-12);
}

TEST(Lump, OneLumpOfEverythingIsTheWholeFluid) {
    for (const std::string& equation : EQUATIONS) {
        SCOPED_TRACE(equation);
        LumpScript script(fine(equation, ALL_BIPS) + "LUMP All C1 C3 XA XB XC XD\n" +
                          based("One", "Fine", "All\n"));
        expect_same(equation, script.named("Fine"), FEED, script.charz(), {1.0});
    }
}

TEST(Lump, FactorsWeighTheAmounts) {
    for (const std::string& equation : EQUATIONS) {
        SCOPED_TRACE(equation);
        LumpScript script(fine(equation, ALL_BIPS) + "LUMP L1 XA 0.5 XB\nLUMP L2 3 XC XD\n" +
                          COARSE);
        std::vector<double> x = FEED;
        x[3] *= 0.5;
        x[4] *= 3.0;
        const std::vector<double> coarse_x = lumped(x);
        double sum = 0.0;
        for (const double amount : x) sum += amount;
        std::vector<double> full_x = x, part_x = coarse_x;
        for (double& amount : full_x) amount /= sum;
        for (double& amount : part_x) amount /= sum;
        expect_same(equation, script.named("Fine"), full_x, script.charz(), part_x);
    }
}

TEST(Lump, PlainPropertiesAreMeansOfTheConstituents) {
    LumpScript script(fine("PR", ALL_BIPS) + TWO_LUMPS + COARSE);
    const Compnent& l1 = script.component("L1");
    EXPECT_NEAR(l1.mw, (0.2 * 96.0 + 0.14 * 134.0) / 0.34, 1e-12 * l1.mw);
    EXPECT_GT(l1.tc, 540.0);
    EXPECT_LT(l1.tc, 610.0);
    EXPECT_GT(l1.pc, 25e5);
    EXPECT_LT(l1.pc, 30e5);
    EXPECT_GT(l1.acentric, 0.28);
    EXPECT_LT(l1.acentric, 0.40);
}

TEST(Lump, BoilingPointsAndGravitiesOfTheBaseLeaveTheirAAndB) {
    const std::string cuts =
        "NAME   MW   SG     TB(K)   TC(K)  PC(bar)  AF  VTRAN\n"
        "C1\nC3\nC7\nC9\nC15\nC25\n";
    for (const std::string& equation : EQUATIONS) {
        SCOPED_TRACE(equation);
        LumpScript script("CHAR Fine\nEOS " + equation + "\n" + cuts +
                          "END\nEND\nLUMP L1 C7 C9\nLUMP L2 C15 C25\n" + COARSE);
        expect_same(equation, script.named("Fine"), FEED, script.charz(), lumped(FEED));
    }
}

TEST(Lump, ModifiersOfTheEquationsConstantsAreAveraged) {
    const std::string modified =
        "CHAR Fine\nEOS PR\n"
        "NAME   MW      TC(K)   PC(bar)  AF     VTRAN  AMOD  BMOD\n"
        "C1     16.04   190.6   46.0     0.008  -0.15  1.0   1.0\n"
        "C3     44.10   369.8   42.5     0.152  -0.08  1.0   1.0\n"
        "XA     96.0    540.0   30.0     0.28    0.01  1.1   0.9\n"
        "XB    134.0    610.0   25.0     0.40    0.05  0.9   1.1\n"
        "XC    206.0    700.0   18.0     0.60    0.08  1.0   1.05\n"
        "XD    350.0    800.0   12.0     0.95    0.10  0.95  1.0\n" +
        ALL_BIPS + "END\n";
    LumpScript script(modified + TWO_LUMPS + COARSE);
    expect_same("PR", script.named("Fine"), FEED, script.charz(), lumped(FEED));
    EXPECT_NEAR(script.component("L1").a_mod, (0.2 * 1.1 + 0.14 * 0.9) / 0.34, 1e-14);
    EXPECT_NEAR(script.component("L1").b_mod, (0.2 * 0.9 + 0.14 * 1.1) / 0.34, 1e-14);
}

TEST(Lump, UnderAnotherEquationTheLumpsKeepThatEquationsAAndB) {
    LumpScript script(fine("PR", ALL_BIPS) + TWO_LUMPS +
                      "CHAR Coarse\nBASE Fine\nEOS SRK\nNAME\nC1\nC3\nL1\nL2\nEND\nEND\n" +
                      "CHAR Same\nBASE Fine\nEOS SRK\nNAME\nC1\nC3\nXA\nXB\nXC\nXD\nEND\nEND\n");
    const Charzation& same = script.named("Same");
    const Charzation& coarse = script.named("Coarse");
    const Ab full = textbook("SRK", same, T_LUMP, FEED);
    const Ab part = textbook("SRK", coarse, T_LUMP, lumped(FEED));
    EXPECT_NEAR(part.a / full.a, 1.0, 1e-12);
    EXPECT_NEAR(part.b / full.b, 1.0, 1e-12);
}

// Where composition and temperature come from ---------------------------------------------------

TEST(Lump, WithoutAMixtureAmountsAreEqualAndTheTemperatureIsTheStandardOne) {
    LumpScript script(fine("PR", ALL_BIPS) + TWO_LUMPS + COARSE, 0.0, {1, 1, 1, 1, 1, 1});
    const std::vector<double> even(6, 1.0 / 6.0);
    const double T = standard_conditions().temperature.value;
    expect_same("PR", script.named("Fine"), even, script.charz(), lumped(even), T);
}

TEST(Lump, ALumpOfAbsentComponentsTakesItsFactors) {
    LumpScript script(fine("PR", ALL_BIPS) + "LUMP L1 XA 3 XB\nLUMP L2 XC XD\n" + COARSE, T_LUMP,
                      {0.6, 0.4, 0.0, 0.0, 0.0, 0.0});
    const std::vector<double> x{0.3, 0.2, 0.1, 0.3, 0.05, 0.05};
    expect_same("PR", script.named("Fine"), x, script.charz(), lumped(x));
}

// Amounts a > b > 0 with a negative factor: the positive part is normalized, and what is negative
// is no constituent of the pseudo-component.
TEST(Lump, PositiveAndNegativeFactorsAreNormalizedApart) {
    for (const char* lump : {"LUMP L1 XB -0.25 XA\n", "LUMP L1 -5 XB 0.25 XA\n"}) {
        SCOPED_TRACE(lump);
        LumpScript script(fine("PR", ALL_BIPS) + lump + "LUMP L2 XC XD\n" + COARSE);
        const Compnent& l1 = script.component("L1");
        const Compnent& xb = script.named("Fine").comps[3];
        EXPECT_NEAR(l1.tc, xb.tc, 1e-10 * xb.tc);
        EXPECT_NEAR(l1.pc, xb.pc, 1e-10 * xb.pc);
        EXPECT_NEAR(l1.acentric, xb.acentric, 1e-10);
        EXPECT_NEAR(l1.mw, xb.mw, 1e-10 * xb.mw);
    }
}

TEST(Lump, ALumpOfNothingLeavesTheComponentAsItWasTyped) {
    for (const char* lump : {"LUMP L1\n", "LUMP L1 0 0 0\n"}) {
        LumpScript script(fine("PR", ALL_BIPS) + lump + TYPED);
        EXPECT_EQ(script.component("L1").tc, 600.0);
        EXPECT_EQ(script.component("L1").mw, 150.0);
        EXPECT_FALSE(script.charz().has_bips());
    }
}

// Factors that cancel, of amounts that do not exist, decide nothing either.
TEST(Lump, FactorsThatCancelLeaveTheComponentAsItWasTyped) {
    LumpScript script(fine("PR") + "LUMP L1 XA -1 XB\n" + TYPED, T_LUMP,
                      {0.6, 0.4, 0.0, 0.0, 0.0, 0.0});
    EXPECT_EQ(script.component("L1").tc, 600.0);
}

TEST(Lump, TypedPropertiesWin) {
    LumpScript script(fine("PR", ALL_BIPS) + TWO_LUMPS +
                      "CHAR Coarse\nBASE Fine\nNAME  MW   TC(K)\nC1\nL1    100  555\nEND\nEND\n");
    EXPECT_EQ(script.component("L1").mw, 100.0);
    EXPECT_EQ(script.component("L1").tc, 555.0);
    EXPECT_GT(script.component("L1").pc, 0.0);
}

// Interaction parameters ------------------------------------------------------------------------

TEST(Lump, AnInteractionParameterGivenIsKept) {
    LumpScript script(fine("PR", ALL_BIPS) + TWO_LUMPS +
                      "CHAR Coarse\nBASE Fine\nNAME\nC1\nC3\nL1\nL2\nBIPS  C1\nL1  0.07\nEND\n");
    LumpScript plain(fine("PR", ALL_BIPS) + TWO_LUMPS + COARSE);
    EXPECT_EQ(script.charz().bip(0, 2), 0.07);
    EXPECT_EQ(script.charz().bip(2, 0), 0.07);
    EXPECT_NE(plain.charz().bip(0, 2), 0.07);
    EXPECT_EQ(script.charz().bip(0, 3), plain.charz().bip(0, 3));
    EXPECT_EQ(script.charz().bip(2, 3), plain.charz().bip(2, 3));
    EXPECT_EQ(script.charz().bip(0, 1), 0.010);
}

// k of two lumps from the attractions themselves: 1 - sum w w a_ij / sqrt(a_1 a_2).
TEST(Lump, InteractionParametersKeepTheAttractionBetweenLumps) {
    LumpScript script(fine("PR", ALL_BIPS) + TWO_LUMPS + COARSE);
    const Charzation& whole = script.named("Fine");
    const std::vector<double> l1{0, 0, 0.2 / 0.34, 0.14 / 0.34, 0, 0};
    const std::vector<double> l2{0, 0, 0, 0, 0.11 / 0.16, 0.05 / 0.16};
    std::vector<double> both(6);
    for (std::size_t i = 0; i < 6; ++i) both[i] = l1[i] + l2[i];
    const double a1 = textbook("PR", whole, T_LUMP, l1).a;
    const double a2 = textbook("PR", whole, T_LUMP, l2).a;
    const double a12 = 0.5 * (textbook("PR", whole, T_LUMP, both).a - a1 - a2);
    EXPECT_NEAR(script.charz().bip(2, 3), 1.0 - a12 / std::sqrt(a1 * a2), 1e-13);
}

// An equation without a lump operation leaves the parameters to the weighted means.
TEST(Lump, WeightedMeansFillWhatTheEquationLeft) {
    LumpScript script(fine("SW", ALL_BIPS) + TWO_LUMPS + COARSE);
    const double a = 0.2 / 0.34, b = 0.14 / 0.34, c = 0.11 / 0.16, d = 0.05 / 0.16;
    const Charzation& coarse = script.charz();
    EXPECT_NEAR(coarse.bip(0, 2), a * 0.030 + b * 0.040, 1e-15);
    EXPECT_NEAR(coarse.bip(1, 2), a * 0.010 + b * 0.015, 1e-15);
    EXPECT_NEAR(coarse.bip(0, 3), c * 0.050 + d * 0.060, 1e-15);
    EXPECT_NEAR(coarse.bip(2, 3), a * (c * 0.008 + d * 0.012) + b * (c * 0.004 + d * 0.009), 1e-15);
    EXPECT_EQ(coarse.bip(0, 1), 0.010);
}

// Lumps of lumps --------------------------------------------------------------------------------

TEST(Lump, ALumpOfLumpsIsTheLumpOfTheirComponents) {
    LumpScript nested(fine("PR", ALL_BIPS) + "LUMP H XA XB\nLUMP L1 H XC\nLUMP L2 XD\n" + COARSE);
    LumpScript direct(fine("PR", ALL_BIPS) + "LUMP L1 XA XB XC\nLUMP L2 XD\n" + COARSE);
    for (const char* name : {"L1", "L2"}) {
        EXPECT_EQ(nested.component(name).tc, direct.component(name).tc);
        EXPECT_EQ(nested.component(name).pc, direct.component(name).pc);
        EXPECT_EQ(nested.component(name).acentric, direct.component(name).acentric);
    }
    EXPECT_EQ(nested.charz().bips, direct.charz().bips);
}

TEST(Lump, LumpingInTwoStepsKeepsAAndBThroughBoth) {
    const std::string steps = TWO_LUMPS + based("Middle", "Fine", "C1\nC3\nL1\nL2\n") +
                              "LUMP Heavy L1 L2\n" + based("Coarse", "Middle", "C1\nC3\nHeavy\n");
    for (const std::string& equation : EQUATIONS) {
        SCOPED_TRACE(equation);
        CharzScript script(fine(equation, ALL_BIPS) + steps, CharzScript::Mode::Deferred);
        script.user.temperature = T_LUMP;
        script.user.mixtures["Fine"] = FEED;
        script.user.mixtures["Middle"] = lumped(FEED);
        script.run_pass();
        ASSERT_EQ(script.counts.errors, 0) << script.report();
        expect_same(equation, *script.user.find_charzation("Fine"), FEED, script.charz(),
                    {FEED[0], FEED[1], FEED[2] + FEED[3] + FEED[4] + FEED[5]});
    }
}

// The list of a characterization ----------------------------------------------------------------

Lump make_lump(const std::string& name, std::vector<double> fractions) {
    Lump lump;
    lump.name = UserWord(name);
    lump.fractions = std::move(fractions);
    return lump;
}

TEST(Lump, OneOfTheSameNameTakesItsPlace) {
    Charzation charz("Any");
    charz.add_lump(make_lump("First", {1.0}));
    charz.add_lump(make_lump("Second", {2.0}));
    const PtrTo<const Lump> reported = charz.lumps[0];
    charz.add_lump(make_lump("FIRST", {3.0}));
    ASSERT_EQ(charz.lumps.size(), 2U);
    EXPECT_EQ(charz.find_lump("first")->fractions, std::vector<double>{3.0});
    EXPECT_EQ(charz.lumps[0]->fractions, std::vector<double>{3.0});
    EXPECT_EQ(reported->fractions, std::vector<double>{1.0});  // who holds the old one keeps it
    EXPECT_EQ(charz.find_lump("Third"), nullptr);
}

TEST(Lump, ACopyHasLumpsOfItsOwn) {
    Charzation charz("Any");
    charz.add_lump(make_lump("First", {1.0}));
    Charzation copy(charz);
    copy.add_lump(make_lump("First", {2.0}));
    EXPECT_EQ(charz.find_lump("First")->fractions, std::vector<double>{1.0});
    charz = copy;
    EXPECT_EQ(charz.find_lump("First")->fractions, std::vector<double>{2.0});
}

TEST(Lump, FitsItsOwnComponentsOnly) {
    const Charzation three = testing_eos::make_fluid(3);
    const Charzation four = testing_eos::make_fluid(4);
    Lump lump = make_lump("L", {1.0, 2.0, 3.0});
    EXPECT_TRUE(lump.fits(three));
    EXPECT_FALSE(lump.fits(four));
    for (const char* name : {"X0", "X1", "X9"}) lump.components.push_back(UserWord(name));
    EXPECT_FALSE(lump.fits(three));
    lump.components.back() = UserWord("X2");
    EXPECT_TRUE(lump.fits(three));
}

}  // namespace
}  // namespace kestrane
